#include "canonical_form.h"

#include "markup_reader.h"
#include "strict_markup.h"

#include <common/uuid.h>
#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <resource/data_section.h>
#include <resource/resource_limits.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Kiln::PrefabEditing {

namespace {

namespace ElementName = PrefabInspection::ElementName;

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// Deeper elements are indented as those at this depth, so that a text of deeply nested small elements does not become
/// many times as large.
constexpr std::size_t MAX_INDENTATION = 50;

[[nodiscard]] bool isAllWhiteSpace(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) { return isWhiteSpace(character); });
}

/// The changes of a text, which are added in order. They stop when the new text becomes too large to be loaded.
class Changes {
public:
    explicit Changes(std::string_view text) : m_text(text), m_newSize(text.size()) {}

    void visitSpace(std::string_view /*space*/) {}
    [[nodiscard]] bool isComplete() const { return m_newSize > m_maxSize + m_text.size(); }
    [[nodiscard]] std::size_t newSize() const { return m_newSize; }

protected:
    void count(std::size_t begin, std::size_t end, std::string_view replacement) {
        m_newSize += replacement.size();
        m_newSize -= end - begin;
    }

    [[nodiscard]] std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
    std::size_t m_newSize;
    std::size_t m_maxSize = resourceLimits().fileSize;
};

/// Makes the new text.
class NewText : public Changes {
public:
    explicit NewText(std::string_view text) : Changes(text) { m_result.reserve(text.size() + text.size() / 8); }

    void replace(std::size_t begin, std::size_t end, std::string_view replacement) {
        count(begin, end, replacement);
        m_result.append(text(), m_position, begin - m_position).append(replacement);
        m_position = end;
    }

    [[nodiscard]] std::string take() {
        m_result.append(text(), m_position, std::string_view::npos);
        return std::move(m_result);
    }

private:
    std::string m_result;
    std::size_t m_position = 0; ///< Up to where the text is part of the result.
};

/// Collects the changes, and joins those that touch.
class NewEdits : public Changes {
public:
    explicit NewEdits(std::string_view text) : Changes(text) {}

    void replace(std::size_t begin, std::size_t end, std::string_view replacement) {
        count(begin, end, replacement);
        if (m_edits.empty() || m_edits.back().end() < begin) {
            m_edits.push_back({begin, end - begin, std::string(replacement)});
        } else {
            m_edits.back().size = end - m_edits.back().offset;
            m_edits.back().text += replacement;
        }
    }

    [[nodiscard]] std::vector<TextEdit> take() { return std::move(m_edits); }

private:
    std::vector<TextEdit> m_edits;
};

/// What an element is in the format. The children of an OTHER one are OTHER.
enum class Role : std::uint8_t { ROOT, OBJECTS, OBJECT, COMPONENTS, POOL, ITEM, PROPERTIES, NUMBER, UUID, OTHER };

[[nodiscard]] bool isList(Role role) {
    return role < Role::NUMBER;
}

[[nodiscard]] Role roleOfChild(Role parent, std::string_view name) {
    const auto choose = [name](const char* wanted, Role role) { return name == wanted ? role : Role::OTHER; };
    switch (parent) {
    case Role::ROOT:
        return name == ElementName::GAME_OBJECTS ? Role::OBJECTS
               : name == ElementName::COMPONENTS ? Role::COMPONENTS
                                                 : choose(ElementName::FORMAT_VERSION, Role::NUMBER);
    case Role::OBJECTS:
        return choose(ElementName::GAME_OBJECT, Role::OBJECT);
    case Role::OBJECT:
        return name == ElementName::UUID ? Role::UUID : choose(ElementName::FLAGS, Role::NUMBER);
    case Role::COMPONENTS:
        return choose(ElementName::POOL, Role::POOL);
    case Role::POOL:
        return name == ElementName::ITEM ? Role::ITEM : choose(ElementName::VERSION, Role::NUMBER);
    case Role::ITEM:
        return name == ElementName::PROPERTIES    ? Role::PROPERTIES
               : name == ElementName::GAME_OBJECT ? Role::NUMBER
                                                  : choose(ElementName::OPTIONS, Role::NUMBER);
    default:
        return Role::OTHER;
    }
}

/// The spelling that the platform writes; the text itself if it can't be read.
[[nodiscard]] std::string canonicalValue(Role role, std::string_view text) {
    const std::string_view value = trimWhiteSpace(text);
    if (role == Role::UUID) {
        const std::optional<Uuid> uuid = Uuid::fromString(value);
        return uuid ? uuid->toString() : std::string(text);
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    const bool isNumber = error == std::errc() && end == value.data() + value.size();
    return isNumber ? std::to_string(number) : std::string(text);
}

/// Passes the changes that make a text canonical to `Changes`. The text must be a document that the parser accepts.
template <class Changes>
class Canonicalizer {
public:
    Canonicalizer(std::string_view text, std::string_view lineEnd, Changes& changes)
        : m_text(text),
          m_breaks(std::string(lineEnd) + std::string(MAX_INDENTATION, '\t')),
          m_lineEndSize(lineEnd.size()),
          m_changes(changes),
          m_reader(text, beginOf(text)),
          m_previousEnd(m_reader.position()) {}

    /// Ends early if Changes::isComplete().
    void run() {
        for (Markup markup = m_reader.next(); markup.kind != Markup::Kind::END; markup = m_reader.next()) {
            readPiece(markup);
            if (m_changes.isComplete()) {
                return;
            }
        }
        setSpace(m_text.size(), lineBreak(0));
    }

private:
    /// What precedes the white space in front of the present piece.
    enum class Previous { NOTHING, START_TAG, VALUE, OTHER };

    [[nodiscard]] static std::size_t beginOf(std::string_view text) {
        return text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
    }

    [[nodiscard]] std::string_view textOf(const Markup& markup) const {
        return m_text.substr(markup.begin, markup.end - markup.begin);
    }

    [[nodiscard]] std::string_view lineBreak(std::size_t depth) const {
        return std::string_view(m_breaks).substr(0, m_lineEndSize + std::min(depth, MAX_INDENTATION));
    }

    /// Reads a piece that is not inside of an element without children.
    void readPiece(const Markup& markup) {
        switch (markup.kind) {
        case Markup::Kind::TEXT:
            if (isAllWhiteSpace(textOf(markup))) {
                return;
            }
            [[fallthrough]];
        case Markup::Kind::CDATA: // White space beside it could belong to the value.
            pass(markup, Previous::VALUE);
            return;
        case Markup::Kind::COMMENT:
            placeComment(markup);
            pass(markup, Previous::OTHER);
            return;
        case Markup::Kind::START_TAG:
        case Markup::Kind::EMPTY_TAG:
            beginLine(markup.begin, m_parents.size());
            readElement(markup);
            return;
        case Markup::Kind::END_TAG:
            leaveElement(markup);
            return;
        default:
            beginLine(markup.begin, m_parents.size());
            pass(markup, Previous::OTHER);
            return;
        }
    }

    void pass(const Markup& markup, Previous previous) {
        m_previous = previous;
        m_previousEnd = markup.end;
    }

    /// Replaces the white space between the previous piece and an offset.
    void setSpace(std::size_t end, std::string_view space) {
        const std::string_view old = m_text.substr(m_previousEnd, end - m_previousEnd);
        m_changes.visitSpace(old);
        if (old != space) {
            m_changes.replace(m_previousEnd, end, space);
        }
    }

    void beginLine(std::size_t offset, std::size_t depth) {
        if (m_previous == Previous::NOTHING) {
            setSpace(offset, {});
        } else if (m_previous != Previous::VALUE) {
            setSpace(offset, lineBreak(depth));
        }
    }

    void placeComment(const Markup& comment) {
        const std::string_view space = m_text.substr(m_previousEnd, comment.begin - m_previousEnd);
        const bool isOnSameLine = space.find('\n') == std::string_view::npos;
        if (isOnSameLine && (m_previous == Previous::START_TAG || m_previous == Previous::OTHER)) {
            setSpace(comment.begin, " ");
        } else {
            beginLine(comment.begin, m_parents.size());
        }
    }

    void readElement(const Markup& tag) {
        const std::string_view name = tagName(m_text, tag);
        const Role role = m_parents.empty() ? Role::ROOT : roleOfChild(m_parents.back(), name);
        setTag(tag, name);
        pass(tag, Previous::OTHER);
        if (tag.kind == Markup::Kind::EMPTY_TAG || readLeaf(tag, role)) {
            return;
        }
        m_parents.push_back(role);
        m_previous = Previous::START_TAG;
    }

    /// Reads the rest of an element if it has no child elements. A list of the format counts as an element with
    /// children unless it has a text.
    [[nodiscard]] bool readLeaf(const Markup& tag, Role role) {
        MarkupReader reader = m_reader;
        Markup markup = reader.next();
        const bool isText = markup.kind == Markup::Kind::TEXT;
        std::size_t piecesCount = 0;
        bool isEmpty = true;
        while (markup.kind != Markup::Kind::END_TAG) {
            if (markup.kind == Markup::Kind::START_TAG || markup.kind == Markup::Kind::EMPTY_TAG ||
                markup.kind == Markup::Kind::END) {
                return false;
            }
            ++piecesCount;
            isEmpty = isEmpty && markup.kind != Markup::Kind::CDATA &&
                      (markup.kind != Markup::Kind::TEXT || isAllWhiteSpace(textOf(markup)));
            markup = reader.next();
        }
        if (isEmpty && isList(role)) {
            return false;
        }
        if (role != Role::OTHER && isText && piecesCount == 1) {
            const std::string_view text = m_text.substr(tag.end, markup.begin - tag.end);
            if (const std::string value = canonicalValue(role, text); value != text) {
                m_changes.replace(tag.end, markup.begin, value);
            }
        }
        setTag(markup, tagName(m_text, markup));
        m_previousEnd = markup.end;
        m_reader = reader;
        return true;
    }

    void leaveElement(const Markup& tag) {
        if (!m_parents.empty()) {
            m_parents.pop_back();
        }
        if (m_previous == Previous::START_TAG) {
            setSpace(tag.begin, {});
        } else {
            beginLine(tag.begin, m_parents.size());
        }
        setTag(tag, tagName(m_text, tag));
        pass(tag, Previous::OTHER);
    }

    /// Changes the white space in a tag, and gives an empty one an end tag.
    void setTag(const Markup& tag, std::string_view name) {
        const std::size_t bracketsSize = tag.kind == Markup::Kind::END_TAG ? 3 : 2;
        if (tag.kind != Markup::Kind::EMPTY_TAG && tag.end - tag.begin == name.size() + bracketsSize) {
            return;
        }
        std::string text = tag.kind == Markup::Kind::END_TAG ? "</" : "<";
        text.append(name);
        if (tag.kind != Markup::Kind::END_TAG) {
            appendAttributes({name.data() + name.size(), m_text.data() + tag.end}, text);
        }
        text += '>';
        if (tag.kind == Markup::Kind::EMPTY_TAG) {
            text.append("</").append(name).append(">");
        }
        if (text != textOf(tag)) {
            m_changes.replace(tag.begin, tag.end, text);
        }
    }

    /// Appends what a start tag has after its name, without the '/' and '>' at its end.
    static void appendAttributes(std::string_view tag, std::string& text) {
        std::size_t position = 0;
        bool isSpace = false;
        while (position < tag.size() && tag[position] != '>' && tag[position] != '/') {
            const char character = tag[position];
            if (isWhiteSpace(character)) {
                isSpace = true;
                ++position;
                continue;
            }
            if (isSpace && character != '=' && !text.ends_with('=')) {
                text += ' ';
            }
            isSpace = false;
            std::size_t end = position + 1;
            if (character == '"' || character == '\'') {
                end = std::min(tag.find(character, end), tag.size() - 1) + 1;
            }
            text.append(tag.substr(position, end - position));
            position = end;
        }
    }

    std::string_view m_text;
    std::string m_breaks;
    std::size_t m_lineEndSize;
    Changes& m_changes;
    MarkupReader m_reader;
    std::vector<Role> m_parents; ///< Of the present piece, outermost first.
    Previous m_previous = Previous::NOTHING;
    std::size_t m_previousEnd;
};

/// Finds out what the line ends of a text are: those of the first white space that is not part of a value. Only such
/// white space is made anew, so that the answer is the same for the canonical form.
class LineEndProbe {
public:
    void replace(std::size_t /*begin*/, std::size_t /*end*/, std::string_view /*replacement*/) {}

    void visitSpace(std::string_view space) {
        const std::size_t end = space.find('\n');
        if (end != std::string_view::npos && m_lineEnd.empty()) {
            m_lineEnd = end > 0 && space[end - 1] == '\r' ? "\r\n" : "\n";
        }
    }

    [[nodiscard]] bool isComplete() const { return !m_lineEnd.empty(); }
    [[nodiscard]] std::string_view lineEnd() const { return m_lineEnd.empty() ? "\n" : m_lineEnd; }

private:
    std::string_view m_lineEnd;
};

/// Makes the changes of a text that the loader accepts. Returns false and sets `problem` for any other text.
template <class Changes>
[[nodiscard]] bool canonicalize(std::string_view text, Changes& changes, XmlProblem& problem) {
    if (!isCertainlyAccepted(text, resourceLimits().elementDepth) &&
        !parseXml(FileContent::copyOf(text), {}, problem)) {
        return false;
    }
    LineEndProbe probe;
    Canonicalizer(text, "\n", probe).run();
    Canonicalizer(text, probe.lineEnd(), changes).run();
    const std::size_t limit = resourceLimits().fileSize;
    if (changes.newSize() > limit) {
        problem = {{}, "The canonical form is larger than the limit of " + std::to_string(limit) + " bytes"};
        return false;
    }
    return true;
}

} // namespace

std::optional<std::string> canonicalForm(std::string_view text, XmlProblem& problem) {
    NewText result(text);
    return canonicalize(text, result, problem) ? std::optional(result.take()) : std::nullopt;
}

std::optional<std::vector<TextEdit>> canonicalEdits(std::string_view text, XmlProblem& problem) {
    NewEdits result(text);
    return canonicalize(text, result, problem) ? std::optional(result.take()) : std::nullopt;
}

} // namespace Kiln::PrefabEditing
