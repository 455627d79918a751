#include "request_guard.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/random.h>

namespace Kiln::PrefabTool {

namespace {

constexpr std::size_t TOKEN_BYTES = 32;
constexpr std::string_view SCHEME = "http://";

/// Whether a path has the component "..".
[[nodiscard]] bool leadsUp(std::string_view path) {
    while (true) {
        const std::size_t end = path.find_first_of("/\\");
        if (path.substr(0, end) == "..") {
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        path.remove_prefix(end + 1);
    }
}

} // namespace

RequestGuard::RequestGuard(int port, std::string token) : m_port(std::to_string(port)), m_token(std::move(token)) {}

std::optional<Refusal> RequestGuard::refusal(const RequestFacts& request) const {
    if (request.hosts.size() != 1 || !isHost(request.hosts.front())) {
        return Refusal{403, "The request names another host than this server.\n"};
    }
    const auto isOrigin = [this](std::string_view origin) {
        return origin.starts_with(SCHEME) && isHost(origin.substr(SCHEME.size()));
    };
    if (!std::all_of(request.origins.begin(), request.origins.end(), isOrigin)) {
        return Refusal{403, "The request comes from a page of another server.\n"};
    }
    if (request.tokens.size() != 1 || !isToken(request.tokens.front())) {
        return Refusal{403, "The address does not have the token that kiln-prefab has printed.\n"};
    }
    if (leadsUp(request.path)) {
        return Refusal{403, "The address leads upwards.\n"};
    }
    if (request.method != "GET") {
        return Refusal{405, "Only GET is answered.\n"};
    }
    return std::nullopt;
}

bool RequestGuard::isHost(std::string_view host) const {
    for (const std::string_view name : {"127.0.0.1:", "localhost:"}) {
        if (host.starts_with(name) && host.substr(name.size()) == m_port) {
            return true;
        }
    }
    return false;
}

/// Takes the same time wherever the token differs, so that it can't be guessed digit by digit.
bool RequestGuard::isToken(std::string_view token) const {
    unsigned difference = token.size() == m_token.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(token.size(), m_token.size()); ++i) {
        difference |= static_cast<unsigned char>(token[i]) ^ static_cast<unsigned char>(m_token[i]);
    }
    return difference == 0;
}

std::string makeToken() {
    std::array<unsigned char, TOKEN_BYTES> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token += DIGITS[byte >> 4U];
        token += DIGITS[byte & 0xFU];
    }
    return token;
}

} // namespace Kiln::PrefabTool
