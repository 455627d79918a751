#include <kiln_prefab/reports/source_excerpt.h>

#include <core/printable_text.h>
#include <kiln_prefab/reports/text_columns.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::Finding;

namespace {

constexpr std::size_t MAX_WIDTH = 120;
constexpr std::size_t MAX_WIDTH_BEFORE = 40; ///< Of what precedes the range in a line that is shortened.
constexpr std::size_t TAB_WIDTH = 8;
constexpr std::string_view ELLIPSIS = "…";

/// A character of the line, as it is shown.
struct Cell {
    std::size_t offset; ///< Of its first byte, in the line.
    std::string text;
    std::size_t width; ///< In columns of a terminal.

    [[nodiscard]] bool isTab() const { return text == "\t"; }
};

[[nodiscard]] Cell makeCell(std::size_t offset, std::string_view bytes, const Utf8Character& character) {
    if (bytes == "\t") {
        return {offset, std::string(bytes), TAB_WIDTH};
    }
    std::string text = printableText(bytes);
    const std::size_t width = text == bytes ? displayWidth(character.codePoint) : text.size();
    return {offset, std::move(text), width};
}

[[nodiscard]] std::vector<Cell> cellsOf(std::string_view line) {
    std::vector<Cell> cells;
    for (std::size_t offset = 0; offset < line.size();) {
        const Utf8Character character = firstCharacter(line.substr(offset));
        cells.push_back(makeCell(offset, line.substr(offset, character.size), character));
        offset += character.size;
    }
    return cells;
}

/// A half-open range of cells.
struct CellRange {
    std::size_t begin;
    std::size_t end;
};

/// The cells whose bytes are in a half-open range of offsets.
[[nodiscard]] CellRange cellsWithin(const std::vector<Cell>& cells, std::size_t begin, std::size_t end) {
    CellRange range{0, 0};
    for (const Cell& cell : cells) {
        range.begin += cell.offset < begin ? 1 : 0;
        range.end += cell.offset < end ? 1 : 0;
    }
    return range;
}

/// The part of a line that is shown, so that it contains the cell `mark`.
[[nodiscard]] CellRange windowAround(const std::vector<Cell>& cells, std::size_t mark) {
    std::size_t width = 0;
    for (const Cell& cell : cells) {
        width += cell.width;
    }
    if (width <= MAX_WIDTH) {
        return {0, cells.size()};
    }
    CellRange window{mark, mark};
    width = 0;
    while (window.begin > 0 && width + cells[window.begin - 1].width <= MAX_WIDTH_BEFORE) {
        width += cells[--window.begin].width;
    }
    while (window.end < cells.size() && width + cells[window.end].width <= MAX_WIDTH) {
        width += cells[window.end++].width;
    }
    return window;
}

/// What stands below a cell in the line of the marker.
[[nodiscard]] std::string markerBelow(const Cell& cell, std::size_t index, const CellRange& marked) {
    if (index < marked.begin) {
        return cell.isTab() ? "\t" : std::string(cell.width, ' ');
    }
    const std::size_t width = cell.isTab() ? 1 : cell.width;
    return index > marked.begin ? std::string(width, '~') : "^" + std::string(width > 1 ? width - 1 : 0, '~');
}

} // namespace

std::optional<SourceExcerpt> sourceExcerpt(const Finding& finding) {
    const PrefabInspection::SourceRange& range = finding.range;
    if (finding.sourceLine.empty() || range.line == 0 || range.column == 0) {
        return std::nullopt;
    }
    const std::vector<Cell> cells = cellsOf(finding.sourceLine);
    const std::size_t end = range.endLine == range.line ? range.endColumn : finding.sourceLine.size() + 1;
    const CellRange marked = cellsWithin(cells, range.column - 1, end == 0 ? 0 : end - 1);
    const CellRange window = windowAround(cells, marked.begin);

    SourceExcerpt excerpt;
    if (window.begin > 0) {
        excerpt.line += ELLIPSIS;
        excerpt.marker += ' ';
    }
    for (std::size_t i = window.begin; i < window.end; ++i) {
        excerpt.line += cells[i].text;
        if (i < marked.end || i <= marked.begin) {
            excerpt.marker += markerBelow(cells[i], i, marked);
        }
    }
    if (marked.begin >= window.end) { // The range begins behind the line.
        excerpt.marker += '^';
    }
    if (window.end < cells.size()) {
        excerpt.line += ELLIPSIS;
    }
    return excerpt;
}

} // namespace Kiln::PrefabTool
