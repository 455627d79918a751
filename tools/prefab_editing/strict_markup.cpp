#include "strict_markup.h"

#include "markup_reader.h"

#include <common/white_space.h>

#include <algorithm>
#include <array>
#include <vector>

namespace Kiln::PrefabEditing {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

[[nodiscard]] constexpr bool beginsName(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_' ||
           character == ':' || static_cast<unsigned char>(character) >= 0x80;
}

[[nodiscard]] constexpr bool continuesName(char character) {
    return beginsName(character) || (character >= '0' && character <= '9') || character == '-' || character == '.';
}

/// By character, because names are most of the bytes of a usual document.
[[nodiscard]] constexpr std::array<bool, 256> nameCharacters() {
    std::array<bool, 256> result{};
    for (std::size_t code = 0; code < result.size(); ++code) {
        result[code] = continuesName(static_cast<char>(code));
    }
    return result;
}

constexpr std::array<bool, 256> NAME_CHARACTERS = nameCharacters();

/// Removes a name from the beginning of a text and returns it; empty if there is none.
std::string_view takeName(std::string_view& text) {
    if (text.empty() || !beginsName(text.front())) {
        return {};
    }
    std::size_t size = 1;
    while (size < text.size() && NAME_CHARACTERS[static_cast<unsigned char>(text[size])]) {
        ++size;
    }
    const std::string_view name = text.substr(0, size);
    text.remove_prefix(size);
    return name;
}

void skipSpace(std::string_view& text) {
    while (!text.empty() && isWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
}

[[nodiscard]] bool takeAttribute(std::string_view& text) {
    if (takeName(text).empty()) {
        return false;
    }
    skipSpace(text);
    if (!text.starts_with('=')) {
        return false;
    }
    text.remove_prefix(1);
    skipSpace(text);
    if (text.empty() || (text.front() != '"' && text.front() != '\'')) {
        return false;
    }
    const std::size_t end = text.find(text.front(), 1);
    if (end == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(end + 1);
    return true;
}

/// Checks what a start tag has after its name. White space has to precede each attribute.
[[nodiscard]] bool isEndOfStartTag(std::string_view rest, std::string_view end) {
    while (rest != end) {
        if (rest.empty() || !isWhiteSpace(rest.front())) {
            return false;
        }
        skipSpace(rest);
        if (rest != end && !takeAttribute(rest)) {
            return false;
        }
    }
    return true;
}

class StrictReader {
public:
    StrictReader(std::string_view text, std::size_t maxDepth) : m_text(text), m_maxDepth(maxDepth) {}

    [[nodiscard]] bool isAccepted() {
        MarkupReader reader(m_text, m_text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0);
        for (Markup markup = reader.next(); markup.kind != Markup::Kind::END; markup = reader.next()) {
            if (!accept(markup.kind, m_text.substr(markup.begin, markup.end - markup.begin))) {
                return false;
            }
        }
        return m_hasRoot && m_open.empty();
    }

private:
    [[nodiscard]] bool accept(Markup::Kind kind, std::string_view piece) {
        switch (kind) {
        case Markup::Kind::TEXT:
            return !m_open.empty() || trimWhiteSpace(piece).empty();
        case Markup::Kind::START_TAG:
            return acceptStart(piece, ">");
        case Markup::Kind::EMPTY_TAG:
            if (!acceptStart(piece, "/>")) {
                return false;
            }
            m_open.pop_back();
            return true;
        case Markup::Kind::END_TAG:
            return acceptEnd(piece);
        case Markup::Kind::COMMENT:
            return piece.size() >= 7 && piece.ends_with("-->");
        case Markup::Kind::CDATA:
            return !m_open.empty() && piece.size() >= 12 && piece.ends_with("]]>");
        case Markup::Kind::INSTRUCTION:
            return acceptInstruction(piece);
        case Markup::Kind::DOCTYPE:
        case Markup::Kind::END:
            break;
        }
        return false;
    }

    [[nodiscard]] bool acceptStart(std::string_view piece, std::string_view end) {
        if (m_open.empty()) {
            if (m_hasRoot) {
                return false;
            }
            m_hasRoot = true;
        }
        piece.remove_prefix(1);
        m_open.push_back(takeName(piece));
        return !m_open.back().empty() && m_open.size() <= m_maxDepth && isEndOfStartTag(piece, end);
    }

    [[nodiscard]] bool acceptEnd(std::string_view piece) {
        if (m_open.empty() || !piece.substr(2).starts_with(m_open.back())) {
            return false;
        }
        piece.remove_prefix(2 + m_open.back().size());
        skipSpace(piece);
        m_open.pop_back();
        return piece == ">";
    }

    /// A declaration inside of an element is refused; so its name is not accepted there.
    [[nodiscard]] bool acceptInstruction(std::string_view piece) {
        if (!piece.ends_with("?>")) {
            return false;
        }
        piece.remove_prefix(2);
        const std::string_view name = takeName(piece);
        const bool isEnd = piece == "?>" || (!piece.empty() && isWhiteSpace(piece.front()));
        const bool isDeclaration =
            name.size() == 3 && (name[0] | 0x20) == 'x' && (name[1] | 0x20) == 'm' && (name[2] | 0x20) == 'l';
        return !name.empty() && isEnd && (!isDeclaration || m_open.empty());
    }

    std::string_view m_text;
    std::size_t m_maxDepth;
    std::vector<std::string_view> m_open; ///< Names of the elements that have not ended, outermost first.
    bool m_hasRoot = false;
};

} // namespace

bool isCertainlyAccepted(std::string_view text, std::size_t maxDepth) {
    const bool isRare = text.find('\0') != std::string_view::npos || text.find("&#") != std::string_view::npos;
    return !isRare && StrictReader(text, maxDepth).isAccepted();
}

} // namespace Kiln::PrefabEditing
