#include "markup_reader.h"

#include <common/white_space.h>

#include <algorithm>

namespace Kiln::PrefabEditing {

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::string_view COMMENT_BEGIN = "<!--";
constexpr std::string_view CDATA_BEGIN = "<![CDATA[";
constexpr std::string_view IGNORED_BEGIN = "<![";
constexpr std::string_view SECTION_END = "]]>";

} // namespace

Markup MarkupReader::next() {
    if (m_position >= m_text.size()) {
        return {Markup::Kind::END, m_text.size(), m_text.size()};
    }
    if (m_text[m_position] != '<') {
        return piece(Markup::Kind::TEXT, std::min(m_text.find('<', m_position), m_text.size()));
    }
    switch (m_position + 1 < m_text.size() ? m_text[m_position + 1] : '\0') {
    case '/':
        return piece(Markup::Kind::END_TAG, after(">", m_position));
    case '?':
        return piece(Markup::Kind::INSTRUCTION, after("?>", m_position + 2));
    case '!':
        if (isAt(m_position, COMMENT_BEGIN)) {
            return piece(Markup::Kind::COMMENT, after("-->", m_position + COMMENT_BEGIN.size()));
        }
        if (isAt(m_position, CDATA_BEGIN)) {
            return piece(Markup::Kind::CDATA, after(SECTION_END, m_position + CDATA_BEGIN.size()));
        }
        return piece(Markup::Kind::DOCTYPE, endOfDoctype());
    default:
        break;
    }
    const std::size_t end = endOfTag();
    const bool isEmpty = end - m_position > 2 && m_text[end - 2] == '/'; // The text can end after '<'.
    return piece(isEmpty ? Markup::Kind::EMPTY_TAG : Markup::Kind::START_TAG, end);
}

Markup MarkupReader::piece(Markup::Kind kind, std::size_t end) {
    const Markup markup{kind, m_position, end};
    m_position = end;
    return markup;
}

bool MarkupReader::isAt(std::size_t position, std::string_view part) const {
    return position < m_text.size() && m_text.substr(position, part.size()) == part;
}

/// Offset after the next occurrence of a part; that of the end of the text if there is none.
std::size_t MarkupReader::after(std::string_view part, std::size_t position) const {
    const std::size_t found = position < m_text.size() ? m_text.find(part, position) : NONE;
    return found == NONE ? m_text.size() : found + part.size();
}

std::size_t MarkupReader::endOfTag() const {
    std::size_t position = m_position + 1;
    while (position < m_text.size() && m_text[position] != '>') {
        const char character = m_text[position];
        ++position;
        if (character == '"' || character == '\'') {
            position = after({&character, 1}, position);
        }
    }
    return std::min(position + 1, m_text.size());
}

/// A document type has texts in quotes, instructions, comments, declarations, and sections that are ignored. All but
/// the declarations may contain anything.
std::size_t MarkupReader::endOfDoctype() const {
    std::size_t depth = 0;
    std::size_t position = m_position + 2;
    while (position < m_text.size()) {
        const char character = m_text[position];
        if (character == '>') {
            ++position;
            if (depth == 0) {
                return position;
            }
            --depth;
        } else if (isAt(position, IGNORED_BEGIN)) {
            position = endOfIgnoredSection(position);
        } else if (isAt(position, "<!") && !isAt(position, COMMENT_BEGIN)) {
            position += 2;
            ++depth;
        } else if (character == '<' || character == '"' || character == '\'') {
            position = endOfDoctypePiece(position);
        } else {
            ++position;
        }
    }
    return m_text.size();
}

/// Of a text in quotes, a comment or an instruction.
std::size_t MarkupReader::endOfDoctypePiece(std::size_t position) const {
    if (isAt(position, COMMENT_BEGIN)) {
        return after("-->", position + COMMENT_BEGIN.size());
    }
    if (m_text[position] == '<') {
        return after("?>", position + 2);
    }
    return after(m_text.substr(position, 1), position + 1);
}

std::size_t MarkupReader::endOfIgnoredSection(std::size_t position) const {
    std::size_t depth = 0;
    while (position < m_text.size()) {
        if (isAt(position, IGNORED_BEGIN)) {
            ++depth;
            position += IGNORED_BEGIN.size();
        } else if (isAt(position, SECTION_END)) {
            position += SECTION_END.size();
            if (--depth == 0) {
                return position;
            }
        } else {
            ++position;
        }
    }
    return m_text.size();
}

std::string_view tagName(std::string_view text, const Markup& tag) {
    const std::size_t begin = tag.begin + (tag.kind == Markup::Kind::END_TAG ? 2 : 1);
    std::size_t end = begin;
    while (end < tag.end && text[end] != '>' && text[end] != '/' && !isWhiteSpace(text[end])) {
        ++end;
    }
    return text.substr(begin, end - begin);
}

} // namespace Kiln::PrefabEditing
