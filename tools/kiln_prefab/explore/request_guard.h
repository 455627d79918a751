#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// The parts of an HTTP request that decide whether it is answered, decoded.
struct RequestFacts {
    std::string method;
    std::vector<std::string> hosts;   ///< All values of the header Host.
    std::vector<std::string> origins; ///< All values of the header Origin.
    std::vector<std::string> tokens;  ///< All values of the parameter "token".
    std::string path;                 ///< Without parameters.
};

/// An answer to a request that is refused.
struct Refusal {
    int status;
    std::string_view message; ///< One line with its end.
};

/// Refuses all requests that do not come from the page of this server, opened with the address that the program has
/// printed. Other pages in the same browser can send requests to this computer, too, and with a name of their own that
/// leads to 127.0.0.1 they could even read the answers; the token and the names of host and origin keep them out.
/// Immutable; any thread.
class RequestGuard {
public:
    RequestGuard(int port, std::string token);

    [[nodiscard]] std::optional<Refusal> refusal(const RequestFacts& request) const;

private:
    [[nodiscard]] bool isHost(std::string_view host) const;
    [[nodiscard]] bool isToken(std::string_view token) const;

    std::string m_port;
    std::string m_token;
};

/// A token of 256 random bits as hexadecimal digits.
[[nodiscard]] std::string makeToken();

} // namespace Kiln::PrefabTool
