#include <resource/line_table.h>

#include <algorithm>
#include <cstring>

namespace Kiln {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

// A typical line of an indented file; an estimate for the first allocation only.
constexpr std::size_t EXPECTED_LINE_LENGTH = 32;

} // namespace

LineTable::LineTable(std::string_view text) {
    m_lineStarts.reserve(text.size() / EXPECTED_LINE_LENGTH + 1);
    m_lineStarts.push_back(text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0);
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        const void* newline = std::memchr(position, '\n', static_cast<std::size_t>(end - position));
        if (!newline) {
            break;
        }
        position = static_cast<const char*>(newline) + 1;
        m_lineStarts.push_back(static_cast<std::size_t>(position - text.data()));
    }
    m_lineStarts.shrink_to_fit();
}

DataPosition LineTable::positionAt(std::size_t offset) const {
    if (m_lineStarts.empty()) {
        return {};
    }
    auto next = std::upper_bound(m_lineStarts.begin() + 1, m_lineStarts.end(), offset);
    const std::size_t lineStart = *(next - 1);
    const std::size_t column = offset < lineStart ? 0 : offset - lineStart;
    return {static_cast<std::size_t>(next - m_lineStarts.begin()), column + 1};
}

} // namespace Kiln
