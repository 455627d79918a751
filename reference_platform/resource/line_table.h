#pragma once

#include <resource/data_section.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Kiln {

/// Where the lines of a text start, so that byte offsets can be told as lines and columns after the text itself is
/// gone. Immutable; any thread.
class LineTable {
public:
    /// A text without lines: every offset has the position 0, 0.
    LineTable() = default;

    /// A byte order mark is no part of the first line.
    explicit LineTable(std::string_view text);

    [[nodiscard]] DataPosition positionAt(std::size_t offset) const;

private:
    std::vector<std::size_t> m_lineStarts;
};

} // namespace Kiln
