#pragma once

#include <common/export.h>

#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace Kiln {

#ifdef __cpp_lib_to_chars

/// std::from_chars.
template <class Number>
[[nodiscard]] std::from_chars_result numberFromChars(const char* begin, const char* end, Number& number) noexcept {
    return std::from_chars(begin, end, number);
}

#else

/// std::from_chars, for standard libraries that have it for whole numbers only, such as libc++ before version 20.
template <class Number>
    requires std::is_integral_v<Number>
[[nodiscard]] std::from_chars_result numberFromChars(const char* begin, const char* end, Number& number) noexcept {
    return std::from_chars(begin, end, number);
}

/// @{
/// Reads a decimal number as std::from_chars does, whatever the locale of the process is; refuses "0x".
[[nodiscard]] KILN_COMMON_EXPORT std::from_chars_result numberFromChars(const char* begin, const char* end,
                                                                        float& number) noexcept;
[[nodiscard]] KILN_COMMON_EXPORT std::from_chars_result numberFromChars(const char* begin, const char* end,
                                                                        double& number) noexcept;
/// @}

#endif

/// Reads a text if std::from_chars accepts all of it as a number; otherwise returns false and leaves the value
/// unchanged.
template <class Number>
[[nodiscard]] bool readNumber(std::string_view text, Number& value) noexcept {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [position, error] = numberFromChars(text.data(), end, number);
    if (error != std::errc() || position != end) {
        return false;
    }
    value = number;
    return true;
}

/// Appends the shortest text that reads back to the same number, without the sign of a NaN.
template <class Number>
void appendNumber(Number value, std::string& text) {
    if constexpr (std::is_floating_point_v<Number>) {
        value = std::isnan(value) ? std::abs(value) : value;
    }
    // The longest text is that of the double -2.2250738585072014e-308.
    std::array<char, 32> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    text.append(buffer.data(), end);
}

} // namespace Kiln
