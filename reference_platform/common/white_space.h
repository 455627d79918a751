#pragma once

#include <string_view>

namespace Kiln {

/// White space as XML defines it: space, LF, tab and CR.
inline constexpr char WHITE_SPACE[] = " \n\t\r";

/// Whether the character is one of WHITE_SPACE.
[[nodiscard]] constexpr bool isWhiteSpace(char character) noexcept {
    return character == ' ' || character == '\n' || character == '\t' || character == '\r';
}

/// Removes white space from both ends.
[[nodiscard]] constexpr std::string_view trimWhiteSpace(std::string_view text) noexcept {
    while (!text.empty() && isWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isWhiteSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace Kiln
