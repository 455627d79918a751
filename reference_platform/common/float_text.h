#pragma once

#include <common/export.h>

#include <cstddef>
#include <string_view>

/// Floats as text in files: the shortest text that reads back to the same value, as std::to_chars writes it, with
/// "inf", "-inf" and "nan". Small whole numbers, which are most floats in files, are converted as integers, which is
/// faster.
namespace Kiln::FloatText {

/// Length of the longest texts: a sign, nine digits with a point, and an exponent of a sign and two digits.
inline constexpr std::size_t MAX_LENGTH = 15;

/// Writes up to MAX_LENGTH characters and returns their end.
[[nodiscard]] KILN_COMMON_EXPORT char* write(char* text, float value) noexcept;

/// Reads a text if std::from_chars accepts all of it as a float; otherwise returns false and leaves the value
/// unchanged.
[[nodiscard]] KILN_COMMON_EXPORT bool read(std::string_view text, float& value) noexcept;

} // namespace Kiln::FloatText
