#pragma once

#include <common/export.h>

#include <cstddef>
#include <string_view>

/// Floats as files have them: the shortest text that reads back to the same value, as std::to_chars writes it, with
/// "inf", "-inf" and "nan". Most floats in files are small whole numbers, which need no search for digits.
namespace Kiln::FloatText {

/// Of the longest texts: a sign, nine digits with a point, and an exponent of a sign and two digits.
inline constexpr std::size_t MAX_LENGTH = 15;

/// Writes up to MAX_LENGTH characters and returns their end.
[[nodiscard]] KILN_COMMON_EXPORT char* write(char* text, float value) noexcept;

/// Reads any text that std::from_chars reads wholly as a float; false, with the value unchanged, for others.
[[nodiscard]] KILN_COMMON_EXPORT bool read(std::string_view text, float& value) noexcept;

} // namespace Kiln::FloatText
