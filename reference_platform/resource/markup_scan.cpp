#include <resource/markup_scan.h>

#include <cstdint>

namespace Kiln {

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::uint32_t MAX_CODE_POINT = 0x10FFFF;

bool startsWith(std::string_view xml, std::size_t position, std::string_view start) {
    return xml.substr(position, start.size()) == start;
}

/// The offset after the next occurrence of `end`; NONE if there is none.
std::size_t endAfter(std::string_view xml, std::string_view end, std::size_t position) {
    const std::size_t found = xml.find(end, position);
    return found == NONE ? NONE : found + end.size();
}

constexpr bool isAllowed(std::uint32_t codePoint) {
    if (codePoint < 0x20) {
        return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
    }
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return !isSurrogate && codePoint != 0xFFFE && codePoint != 0xFFFF && codePoint <= MAX_CODE_POINT;
}

/// The value of a digit in the given base; the base itself for any other character.
std::uint32_t digitValue(char character, std::uint32_t base) {
    std::uint32_t value = base;
    if (character >= '0' && character <= '9') {
        value = static_cast<std::uint32_t>(character - '0');
    } else if (character >= 'a' && character <= 'f') {
        value = static_cast<std::uint32_t>(character - 'a') + 10;
    } else if (character >= 'A' && character <= 'F') {
        value = static_cast<std::uint32_t>(character - 'A') + 10;
    }
    return value < base ? value : base;
}

/// Whether the "&#" in front of `position` begins a complete reference that XML does not allow. Anything incomplete,
/// such as "&#;" or "&#1 ", is plain text for the parser.
bool isForbiddenReference(std::string_view xml, std::size_t position) {
    const bool isHexadecimal = startsWith(xml, position, "x");
    const std::uint32_t base = isHexadecimal ? 16 : 10;
    const std::size_t firstDigit = position + (isHexadecimal ? 1 : 0);
    std::uint32_t codePoint = 0;
    std::size_t index = firstDigit;
    for (; index < xml.size(); ++index) {
        const std::uint32_t digit = digitValue(xml[index], base);
        if (digit == base) {
            break;
        }
        // Saturating: once above the largest code point, the number stays there.
        if (codePoint <= MAX_CODE_POINT) {
            codePoint = codePoint * base + digit;
        }
    }
    const bool isComplete = index > firstDigit && index < xml.size() && xml[index] == ';';
    return isComplete && !isAllowed(codePoint);
}

/// Splits a document into texts, tags and everything else, in order.
class MarkupWalk {
public:
    explicit MarkupWalk(std::string_view xml) : m_xml(xml) {}

    /// Whether the byte at `position`, which must not decrease between calls, is in a text or a tag.
    [[nodiscard]] bool isContent(std::size_t position) {
        while (m_end <= position) {
            advance();
        }
        return m_isContent;
    }

private:
    void advance() {
        const std::size_t begin = m_end;
        m_isContent = true;
        if (m_xml[begin] != '<') {
            m_end = m_xml.find('<', begin);
        } else if (startsWith(m_xml, begin, "<!D")) {
            m_end = endOfDoctype(begin);
            m_isContent = false;
        } else if (startsWith(m_xml, begin, "<!") || startsWith(m_xml, begin, "<?")) {
            m_end = endOfMark(m_xml, begin);
            m_isContent = false;
        } else {
            m_end = endOfTag(begin);
        }
        if (m_end == NONE) {
            m_end = m_xml.size(); // Not well formed, which the parser reports.
        }
    }

    /// A '>' in a quoted attribute value does not end the tag.
    [[nodiscard]] std::size_t endOfTag(std::size_t position) const {
        while ((position = m_xml.find_first_of("\"'>", position)) != NONE && m_xml[position] != '>') {
            position = endAfter(m_xml, m_xml.substr(position, 1), position + 1);
            if (position == NONE) {
                return NONE;
            }
        }
        return position == NONE ? NONE : position + 1;
    }

    /// Declarations in the document type are nested; their quoted texts, comments and instructions are opaque.
    [[nodiscard]] std::size_t endOfDoctype(std::size_t position) const {
        std::size_t depth = 0;
        while ((position = m_xml.find_first_of("\"'<>", position)) != NONE) {
            const char character = m_xml[position];
            if (character == '>') {
                ++position;
                if (--depth == 0) {
                    return position;
                }
            } else if (character != '<') {
                position = endAfter(m_xml, m_xml.substr(position, 1), position + 1);
            } else if (const std::size_t end = endOfMark(m_xml, position); end != NONE) {
                position = end;
            } else {
                ++depth;
                ++position;
            }
        }
        return NONE;
    }

    std::string_view m_xml;
    std::size_t m_end = 0; ///< Of the current piece.
    bool m_isContent = false;
};

} // namespace

std::size_t endOfMark(std::string_view xml, std::size_t mark) {
    struct Kind {
        std::string_view start;
        std::string_view end;
    };
    for (const Kind& kind : {Kind{"<!--", "-->"}, Kind{"<![CDATA[", "]]>"}, Kind{"<?", "?>"}}) {
        if (startsWith(xml, mark, kind.start)) {
            return endAfter(xml, kind.end, mark + kind.start.size());
        }
    }
    return NONE;
}

std::size_t findForbiddenReference(std::string_view xml) {
    MarkupWalk markup(xml);
    // '#' is much rarer than '&' in documents with escaped texts.
    for (std::size_t hash = xml.find('#'); hash != NONE; hash = xml.find('#', hash + 1)) {
        if (hash > 0 && xml[hash - 1] == '&' && isForbiddenReference(xml, hash + 1) && markup.isContent(hash)) {
            return hash - 1;
        }
    }
    return NONE;
}

} // namespace Kiln
