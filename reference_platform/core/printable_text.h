#pragma once

#include <core/export.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace Kiln {

/// Texts of files, paths and arguments on terminals and in log files, where they must not move the cursor, change the
/// order of other text or start a line.
///
/// Each byte of the following becomes `\xNN`, in lower-case digits; all other text stays the same:
/// - control characters: U+0000 to U+001F, which include line breaks and tabs, and U+007F to U+009F;
/// - line and paragraph separators: U+0085, U+2028, U+2029;
/// - controls of the direction of writing: U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069;
/// - bytes that are not part of well-formed UTF-8.
/// A backslash stays the same as well, so the original text cannot always be restored.
///
/// Any thread.
[[nodiscard]] KILN_CORE_EXPORT std::string printableText(std::string_view text);

/// What copyPrintable() has done, in bytes.
struct PrintableCopy {
    std::size_t readCount = 0;    ///< Of the text.
    std::size_t writtenCount = 0; ///< To the destination.
};

/// As printableText(), but into a buffer and without allocating. Stops before the first character or escape that does
/// not fit.
[[nodiscard]] KILN_CORE_EXPORT PrintableCopy copyPrintable(std::string_view text, std::span<char> destination) noexcept;

/// A value from a file as messages quote it. The text itself if it has at most `maxSize` bytes. Otherwise its
/// beginning, cut between two characters, followed by "… (N bytes in all)", where N is the size of the text.
[[nodiscard]] KILN_CORE_EXPORT std::string shortenedText(std::string_view text, std::size_t maxSize = 256);

} // namespace Kiln
