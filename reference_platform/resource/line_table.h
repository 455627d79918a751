#pragma once

#include <resource/data_section.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

namespace Kiln {

/// The line starts of a text, which convert byte offsets to lines and columns after the text itself has changed.
/// Immutable; any thread.
///
/// Every document has one, but few are queried: the constructor records one bit per byte of the text, and the first
/// query builds the list of lines.
class LineTable {
public:
    /// A text without lines: every offset has the position 0, 0.
    LineTable() = default;

    /// A byte order mark is not part of the first line.
    explicit LineTable(std::string_view text);

    [[nodiscard]] DataPosition positionAt(std::size_t offset) const;

private:
    void listLines() const;

    std::vector<std::uint64_t> m_lineEnds; ///< Bit i of word w is set if byte 64 w + i ends a line.
    std::size_t m_textStart = 0;
    mutable std::once_flag m_areLinesListed;
    mutable std::vector<std::size_t> m_lineStarts;
};

} // namespace Kiln
