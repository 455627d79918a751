#pragma once

#include <cstddef>
#include <string_view>

/// Positions in lines of UTF-8. A byte that is not part of well-formed UTF-8 counts as a character.
namespace Kiln::PrefabTool {

/// The character at the beginning of a text.
struct Utf8Character {
    std::size_t size = 1; ///< In bytes.
    char32_t codePoint = 0;
    bool isValid = false;
};

/// `text` is not empty.
[[nodiscard]] Utf8Character firstCharacter(std::string_view text) noexcept;

/// Number of columns of a terminal that a character takes: 0 for combining marks, 2 for wide ones, otherwise 1.
[[nodiscard]] std::size_t displayWidth(char32_t codePoint) noexcept;

/// Converts a column in bytes to a column in characters. Both count from 1; a column behind the line stays as far
/// behind it.
[[nodiscard]] std::size_t characterColumn(std::string_view line, std::size_t byteColumn) noexcept;

} // namespace Kiln::PrefabTool
