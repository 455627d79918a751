#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

namespace Kiln {

/// Reads a text if std::from_chars accepts all of it as a number; otherwise returns false and leaves the value
/// unchanged.
template <class Number>
[[nodiscard]] bool readNumber(std::string_view text, Number& value) noexcept {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [position, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || position != end) {
        return false;
    }
    value = number;
    return true;
}

} // namespace Kiln
