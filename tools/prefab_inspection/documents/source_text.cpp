#include <prefab_inspection/documents/source_text.h>

#include <common/white_space.h>
#include <prefab_inspection/documents/character_reference.h>

#include <algorithm>
#include <optional>

namespace Kiln::PrefabInspection {

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// Longer lines are not shown.
constexpr std::size_t MAX_LINE_SIZE = 4096;

/// Offset after the next occurrence of `end`; that of the end of the text if there is none.
[[nodiscard]] std::size_t endAfter(std::string_view xml, std::string_view end, std::size_t position) {
    const std::size_t found = xml.find(end, position);
    return found == NONE ? xml.size() : found + end.size();
}

[[nodiscard]] bool startsWith(std::string_view xml, std::size_t position, std::string_view start) {
    return position <= xml.size() && xml.substr(position, start.size()) == start;
}

/// Offset after the '>' of the tag in which `position` is.
[[nodiscard]] std::size_t endOfTag(std::string_view xml, std::size_t position) {
    while (position < xml.size() && xml[position] != '>') {
        const char character = xml[position];
        ++position;
        if (character == '"' || character == '\'') {
            position = endAfter(xml, std::string_view(&character, 1), position);
        }
    }
    return std::min(position + 1, xml.size());
}

/// Walks the content of an element, whose name is at an offset of a well-formed text, and calls `onText` with the range
/// of each piece of its own text and whether it is a CDATA section's. Returns the range of the content.
template <class OnText>
TextRange walkContent(std::string_view xml, std::size_t nameOffset, const OnText& onText) {
    const std::size_t begin = nameOffset < xml.size() ? endOfTag(xml, nameOffset) : xml.size();
    if (nameOffset >= xml.size() || xml[begin - 2] == '/') {
        return {begin, begin};
    }
    std::size_t depth = 0;
    std::size_t position = begin;
    while (position < xml.size()) {
        if (startsWith(xml, position, "</")) {
            if (depth == 0) {
                break;
            }
            --depth;
            position = endOfTag(xml, position);
        } else if (startsWith(xml, position, "<!--")) {
            position = endAfter(xml, "-->", position);
        } else if (startsWith(xml, position, "<![CDATA[")) {
            const std::size_t end = endAfter(xml, "]]>", position);
            if (depth == 0) {
                onText(TextRange{position + 9, end - 3}, true);
            }
            position = end;
        } else if (startsWith(xml, position, "<?")) {
            position = endAfter(xml, "?>", position);
        } else if (xml[position] == '<') {
            const std::size_t end = endOfTag(xml, position);
            depth += xml[end - 2] == '/' ? 0 : 1;
            position = end;
        } else {
            const std::size_t end = std::min(xml.find('<', position), xml.size());
            if (depth == 0) {
                onText(TextRange{position, end}, false);
            }
            position = end;
        }
    }
    return {begin, position};
}

[[nodiscard]] bool isAllWhiteSpace(std::string_view text) {
    return trimWhiteSpace(text).empty();
}

} // namespace

SourceText::SourceText(std::string text) : m_text(std::move(text)) {
    m_textStart = m_text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
    constexpr std::size_t TYPICAL_LINE_SIZE = 24;
    m_lineStarts.reserve(m_text.size() / TYPICAL_LINE_SIZE + 1);
    m_lineStarts.push_back(m_textStart);
    for (std::size_t end = m_text.find('\n'); end != NONE; end = m_text.find('\n', end + 1)) {
        m_lineStarts.push_back(end + 1);
    }
}

SourceText::SourceText(std::shared_ptr<const SourceText> outer, DataNode element)
    : SourceText(std::move(outer), offsetOf(element)) {
    std::string value = element.text();
    if (m_text != value) { // The positions inside of the value are not known; it is still known where the value is.
        const TextRange range = m_outer->valueRange(element);
        m_text = std::move(value);
        m_pieces = {{0, range.begin, range.end - range.begin, true}};
    }
}

SourceText::SourceText(std::shared_ptr<const SourceText> outer, std::size_t nameOffset) : m_outer(std::move(outer)) {
    struct Part {
        TextRange range;
        bool isCdata;
    };
    const std::string_view xml = m_outer->m_text;
    std::vector<Part> parts;
    walkContent(xml, nameOffset, [&parts](TextRange range, bool isCdata) { parts.push_back({range, isCdata}); });
    for (const Part& part : parts) {
        // White space between elements and CDATA sections is no part of the value.
        if (parts.size() == 1 || !isAllWhiteSpace(xml.substr(part.range.begin, part.range.end - part.range.begin))) {
            append(part.range, part.isCdata);
        }
    }
}

void SourceText::append(TextRange range, bool isCdata) {
    const std::string_view xml = m_outer->m_text;
    for (std::size_t position = range.begin; position < range.end;) {
        const std::size_t plainEnd = isCdata ? range.end : std::min(xml.find('&', position), range.end);
        if (plainEnd > position) {
            m_pieces.push_back({m_text.size(), position, plainEnd - position, false});
            m_text.append(xml.substr(position, plainEnd - position));
            position = plainEnd;
            continue;
        }
        std::string decoded;
        const std::size_t size = appendReference(xml.substr(position), decoded);
        m_pieces.push_back({m_text.size(), position, std::max<std::size_t>(size, 1), size != 0});
        m_text.append(size == 0 ? "&" : decoded);
        position += std::max<std::size_t>(size, 1);
    }
}

TextRange SourceText::nameRange(std::size_t nameOffset) const {
    const std::size_t begin = std::min(nameOffset, m_text.size());
    return {begin, std::min(m_text.find_first_of(" \t\r\n/>", begin), m_text.size())};
}

TextRange SourceText::valueRange(std::size_t nameOffset) const {
    std::optional<TextRange> value;
    const auto onText = [this, &value](TextRange range, bool /*isCdata*/) {
        while (range.begin < range.end && isWhiteSpace(m_text[range.begin])) {
            ++range.begin;
        }
        while (range.begin < range.end && isWhiteSpace(m_text[range.end - 1])) {
            --range.end;
        }
        if (range.begin < range.end) {
            value = value ? TextRange{value->begin, range.end} : range;
        }
    };
    const TextRange content = walkContent(m_text, nameOffset, onText);
    return value.value_or(TextRange{content.begin, content.begin});
}

std::size_t SourceText::valueBegin(DataNode element) const {
    // Nearly every value follows a start tag without attributes.
    std::size_t position = offsetOf(element) + element.name().size();
    if (position < m_text.size() && m_text[position] == '>') {
        do {
            ++position;
        } while (position < m_text.size() && isWhiteSpace(m_text[position]));
        if (position < m_text.size() && m_text[position] != '<') {
            return position;
        }
    }
    return valueRange(element).begin;
}

TextRange SourceText::elementRange(std::size_t nameOffset) const {
    const TextRange content = walkContent(m_text, nameOffset, [](TextRange /*range*/, bool /*isCdata*/) {});
    const bool hasEndTag = startsWith(m_text, content.end, "</");
    return {std::min(nameOffset, m_text.size()) - (nameOffset == 0 ? 0 : 1),
            hasEndTag ? endOfTag(m_text, content.end) : content.end};
}

std::size_t SourceText::offsetAt(std::size_t line, std::size_t column) const {
    std::size_t begin = m_text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
    for (std::size_t i = 1; i < line && begin < m_text.size(); ++i) {
        begin = endAfter(m_text, "\n", begin);
    }
    return std::min(begin + (column == 0 ? 0 : column - 1), m_text.size());
}

const SourceText& SourceText::file() const {
    return m_outer ? m_outer->file() : *this;
}

std::size_t SourceText::outerOffset(std::size_t offset, bool isEnd) const {
    // The last piece that begins before the end of a range, or at its begin or before.
    const auto next =
        std::upper_bound(m_pieces.begin(), m_pieces.end(), offset, [isEnd](std::size_t wanted, const Piece& piece) {
            return isEnd ? wanted <= piece.begin : wanted < piece.begin;
        });
    if (next == m_pieces.begin()) {
        return m_pieces.empty() ? 0 : m_pieces.front().outerBegin;
    }
    const Piece& piece = *(next - 1);
    if (piece.isReference) {
        return piece.outerBegin + (isEnd ? piece.outerSize : 0);
    }
    return piece.outerBegin + std::min(offset - piece.begin, piece.outerSize);
}

TextRange SourceText::inFile(TextRange range) const {
    if (!m_outer) {
        return range;
    }
    const std::size_t begin = outerOffset(range.begin, false);
    return m_outer->inFile({begin, range.end > range.begin ? std::max(begin, outerOffset(range.end, true)) : begin});
}

SourceRange SourceText::sourceRange(TextRange range) const {
    const TextRange inside = inFile(range);
    const SourceText& source = file();
    const auto position = [&source](std::size_t offset) {
        const auto next = std::upper_bound(source.m_lineStarts.begin(), source.m_lineStarts.end(), offset);
        const auto line = static_cast<std::size_t>(next - source.m_lineStarts.begin());
        return line == 0 ? std::pair<std::size_t, std::size_t>(1, 1)
                         : std::pair<std::size_t, std::size_t>(line, offset - source.m_lineStarts[line - 1] + 1);
    };
    const auto [line, column] = position(inside.begin);
    const auto [endLine, endColumn] = position(inside.end);
    return {line, column, endLine, endColumn};
}

std::size_t SourceText::lineAt(std::size_t offset, std::size_t near) const {
    if (m_outer) {
        return sourceRange({offset, offset}).line;
    }
    constexpr std::size_t STEPS = 16;
    std::size_t line = std::min(near, m_lineStarts.size());
    if (line > 0 && m_lineStarts[line - 1] <= offset) {
        const std::size_t last = std::min(m_lineStarts.size(), line + STEPS);
        while (line < last && m_lineStarts[line] <= offset) {
            ++line;
        }
        if (line < last || line == m_lineStarts.size()) {
            return line;
        }
    }
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    return std::max<std::size_t>(1, static_cast<std::size_t>(next - m_lineStarts.begin()));
}

std::string SourceText::sourceLine(const SourceRange& range) const {
    const SourceText& source = file();
    if (range.line == 0 || range.line > source.m_lineStarts.size()) {
        return {};
    }
    const std::size_t begin = source.m_lineStarts[range.line - 1];
    std::size_t end = std::min(source.m_text.find('\n', begin), source.m_text.size());
    if (end > begin && source.m_text[end - 1] == '\r') {
        --end;
    }
    return end - begin <= MAX_LINE_SIZE ? source.m_text.substr(begin, end - begin) : std::string();
}

} // namespace Kiln::PrefabInspection
