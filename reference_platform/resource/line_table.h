#pragma once

#include <resource/data_section.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

namespace Kiln {

/// Where the lines of a text start, so that byte offsets can be told as lines and columns after the text itself is
/// gone. Immutable; any thread.
///
/// Made for every document and asked about few: it notes one bit per byte of the text, and makes the list of lines when
/// the first position is asked for.
class LineTable {
public:
    /// A text without lines: every offset has the position 0, 0.
    LineTable() = default;

    /// A byte order mark is no part of the first line.
    explicit LineTable(std::string_view text);

    [[nodiscard]] DataPosition positionAt(std::size_t offset) const;

private:
    void listLines() const;

    std::vector<std::uint64_t> m_lineEnds; ///< Bit i of word w stands for byte 64 w + i.
    std::size_t m_textStart = 0;
    mutable std::once_flag m_areLinesListed;
    mutable std::vector<std::size_t> m_lineStarts;
};

} // namespace Kiln
