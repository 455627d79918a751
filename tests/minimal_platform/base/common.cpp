#include <common/uuid.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace Kiln {

Uuid Uuid::generate() {
    thread_local std::random_device device;
    std::uniform_int_distribution<std::uint64_t> half;
    return {half(device), half(device)};
}

std::optional<Uuid> Uuid::fromString(std::string_view text) {
    constexpr std::string_view DASHED = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != DASHED.size()) {
        return std::nullopt;
    }
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (DASHED[i] != '-') {
            digits += text[i];
        } else if (text[i] != '-') {
            return std::nullopt;
        }
    }
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return std::nullopt;
    }
    return Uuid(std::strtoull(digits.substr(0, 16).c_str(), nullptr, 16),
                std::strtoull(digits.substr(16).c_str(), nullptr, 16));
}

std::string Uuid::toString() const {
    std::array<char, 37> text;
    std::snprintf(text.data(), text.size(), "%08llx-%04llx-%04llx-%04llx-%012llx",
                  static_cast<unsigned long long>(m_high >> 32), static_cast<unsigned long long>(m_high >> 16 & 0xFFFF),
                  static_cast<unsigned long long>(m_high & 0xFFFF), static_cast<unsigned long long>(m_low >> 48),
                  static_cast<unsigned long long>(m_low & 0xFFFFFFFFFFFF));
    return text.data();
}

} // namespace Kiln
