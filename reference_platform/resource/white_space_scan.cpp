#include <resource/white_space_scan.h>

#include <common/white_space.h>
#include <resource/markup_scan.h>

#include <algorithm>
#include <cstddef>

namespace Kiln {

namespace {

constexpr std::size_t NONE = std::string_view::npos;

/// Finds the positions of "<!" and "<?", in order.
class MarkFinder {
public:
    explicit MarkFinder(std::string_view xml) : m_xml(xml), m_next{find('!', 0), find('?', 0)} {}

    /// The first of them at or after `position`, which must not decrease between calls; NONE if there is none.
    std::size_t next(std::size_t position) {
        if (m_next[0] < position) {
            m_next[0] = find('!', position);
        }
        if (m_next[1] < position) {
            m_next[1] = find('?', position);
        }
        return std::min(m_next[0], m_next[1]);
    }

private:
    [[nodiscard]] std::size_t find(char second, std::size_t position) const {
        // Searching for a single character is much faster than searching for a pair.
        for (std::size_t found = position; (found = m_xml.find(second, found)) != NONE; ++found) {
            if (found > position && m_xml[found - 1] == '<') {
                return found - 1;
            }
        }
        return NONE;
    }

    std::string_view m_xml;
    std::size_t m_next[2];
};

/// Whether the '>' at `close` ends an end tag, or an empty element's tag.
bool endsElement(std::string_view xml, std::size_t close) {
    const std::size_t open = xml.rfind('<', close);
    // Text may contain '>' too.
    if (open == NONE || xml.find('>', open) != close) {
        return false;
    }
    return xml[open + 1] == '/' || xml[close - 1] == '/';
}

/// Whether a start tag begins at `position`.
bool startsElement(std::string_view xml, std::size_t position) {
    return position + 1 < xml.size() && xml[position] == '<' && xml[position + 1] != '/' && xml[position + 1] != '!' &&
           xml[position + 1] != '?';
}

} // namespace

bool mayHaveWhiteSpacePieces(std::string_view xml) {
    MarkFinder marks(xml);
    std::size_t previousEnd = NONE;
    bool isAfterElement = false;
    for (std::size_t mark = marks.next(0); mark != NONE; mark = marks.next(previousEnd)) {
        const std::size_t end = endOfMark(xml, mark);
        if (end == NONE) {
            return true;
        }
        const std::size_t before = mark == 0 ? NONE : xml.find_last_not_of(WHITE_SPACE, mark - 1);
        const std::size_t after = xml.find_first_not_of(WHITE_SPACE, end);
        const bool isAfterTag = before != NONE && xml[before] == '>';
        const bool isSpaceBefore = isAfterTag && before + 1 < mark;
        const bool isSpaceAfter = after != NONE && after > end && xml[after] == '<';
        // In a row of marks, what precedes the first one holds for all of them.
        if (before == NONE || before + 1 != previousEnd) {
            isAfterElement = isAfterTag && endsElement(xml, before);
        }
        // White space next to an element is not a value but the space between elements.
        const bool isBesideElement = isAfterElement || (after != NONE && startsElement(xml, after));
        if ((isSpaceBefore || isSpaceAfter) && !isBesideElement) {
            return true;
        }
        previousEnd = end;
    }
    return false;
}

} // namespace Kiln
