#pragma once

#include <common/uuid.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabEditingTests {

/// A random number below `limit`, the same on every platform.
[[nodiscard]] inline std::size_t below(std::mt19937& random, std::size_t limit) {
    return random() % limit;
}

/// A part of a document, without the white space that has no meaning.
struct DocumentPart {
    enum class Kind {
        LIST,         ///< An element whose text nobody reads.
        VALUE,        ///< An element whose text is kept as it is. It may have child elements.
        NUMBER,       ///< An element with a number of the format.
        UUID,         ///< An element with a UUID of the format.
        TEXT,         ///< Also references, and sections of characters.
        COMMENT,      ///< On a line of its own.
        LINE_COMMENT, ///< On the line of what precedes it.
        INSTRUCTION,
    };

    Kind kind = Kind::VALUE;
    std::string text;                    ///< The name of an element, or the whole text of a part without children.
    std::vector<std::string> attributes; ///< Without white space.
    std::vector<DocumentPart> children;

    [[nodiscard]] bool isElement() const { return kind <= Kind::UUID; }
    [[nodiscard]] bool hasElements() const {
        return std::any_of(children.begin(), children.end(), [](const DocumentPart& part) { return part.isElement(); });
    }
};

/// Makes random documents that look like prefabs, with everything that XML allows in them.
class RandomDocument {
public:
    explicit RandomDocument(std::mt19937& random) : m_random(random) {}

    /// The parts at the top level, with one element.
    [[nodiscard]] std::vector<DocumentPart> make() {
        std::vector<DocumentPart> parts;
        if (chance(2)) {
            parts.push_back({Kind::INSTRUCTION, "<?xml version=\"1.0\" encoding=\"utf-8\"?>", {}, {}});
        }
        addNotes(parts);
        if (chance(10)) {
            parts.push_back({Kind::INSTRUCTION, "<!DOCTYPE prefab [<!ENTITY a \"<b> ]>\"> <!-- > --> ]>", {}, {}});
        }
        DocumentPart root{Kind::LIST, chance(2) ? "prefab" : "root", attributes(), {}};
        for (std::size_t count = below(m_random, 4); count > 0; --count) {
            addNotes(root.children);
            root.children.push_back(makeSection());
        }
        addNotes(root.children);
        parts.push_back(std::move(root));
        addNotes(parts);
        return parts;
    }

private:
    using Kind = DocumentPart::Kind;

    [[nodiscard]] bool chance(std::size_t of) { return below(m_random, of) == 0; }

    [[nodiscard]] std::string pick(const std::vector<std::string>& texts) {
        return texts[below(m_random, texts.size())];
    }

    [[nodiscard]] std::vector<std::string> attributes() {
        if (!chance(8)) {
            return {};
        }
        return chance(2) ? std::vector<std::string>{"a=\"1 > 0\""}
                         : std::vector<std::string>{"b='/\">'", "c-d=\"x\n  y\""};
    }

    void addNotes(std::vector<DocumentPart>& parts) {
        while (chance(6)) {
            const std::string comment = pick({"<!---->", "<!-- <a> -->", "<!-- two\n lines -->", "<!-- \r\n -->"});
            const bool isFirst = parts.empty();
            parts.push_back({chance(2) && !isFirst ? Kind::LINE_COMMENT : Kind::COMMENT, comment, {}, {}});
        }
        if (chance(20)) {
            parts.push_back({Kind::INSTRUCTION, pick({"<?pi?>", "<?pi <a> ?>"}), {}, {}});
        }
    }

    [[nodiscard]] DocumentPart makeSection() {
        switch (below(m_random, 4)) {
        case 0:
            return {Kind::NUMBER, "formatVersion", {}, {{Kind::TEXT, "1", {}, {}}}};
        case 1:
            return makeList("gameObjects", [this] { return makeObject(); });
        case 2:
            return makeList("components", [this] { return makePool(); });
        default:
            return makeValue(0);
        }
    }

    template <class Make>
    [[nodiscard]] DocumentPart makeList(const std::string& name, const Make& makeChild) {
        DocumentPart list{Kind::LIST, name, attributes(), {}};
        for (std::size_t count = below(m_random, 4); count > 0; --count) {
            addNotes(list.children);
            list.children.push_back(chance(10) ? makeValue(0) : makeChild());
        }
        addNotes(list.children);
        return list;
    }

    [[nodiscard]] DocumentPart makeNumber(const std::string& name) {
        return {Kind::NUMBER, name, {}, {{Kind::TEXT, std::to_string(below(m_random, 70)), {}, {}}}};
    }

    [[nodiscard]] DocumentPart makeObject() {
        const Uuid uuid(random64(), random64());
        DocumentPart object{Kind::LIST, "gameObject", attributes(), {}};
        object.children.push_back({Kind::UUID, "uuid", {}, {{Kind::TEXT, uuid.toString(), {}, {}}}});
        addNotes(object.children);
        object.children.push_back(
            {Kind::VALUE, "name", {}, {{Kind::TEXT, pick({"a", " ", " b ", "&amp;", "x\ny"}), {}, {}}}});
        object.children.push_back(makeNumber("flags"));
        return object;
    }

    [[nodiscard]] DocumentPart makePool() {
        DocumentPart pool = makeList("pool", [this] { return makeItem(); });
        pool.children.insert(pool.children.begin(), makeNumber("version"));
        pool.children.insert(pool.children.begin(), {Kind::VALUE, "type", {}, {{Kind::TEXT, "A", {}, {}}}});
        return pool;
    }

    [[nodiscard]] DocumentPart makeItem() {
        DocumentPart item{Kind::LIST, "item", {}, {makeNumber("gameObject"), makeNumber("options")}};
        item.children.push_back(makeList("properties", [this] { return makeValue(0); }));
        addNotes(item.children);
        return item;
    }

    /// An element of any content.
    [[nodiscard]] DocumentPart makeValue(std::size_t depth) {
        DocumentPart value{
            Kind::VALUE, pick({"value", "a", "b-c", "n:s", "\xC3\xA9t\xC3\xA9", "overridesData"}), attributes(), {}};
        const bool hasElements = depth < 4 && chance(3);
        for (std::size_t count = below(m_random, 4); count > 0; --count) {
            if (hasElements && chance(2)) {
                value.children.push_back(makeValue(depth + 1));
            } else if (hasElements && !chance(4)) {
                addNotes(value.children);
            } else {
                addText(value.children);
            }
        }
        if (hasElements && !value.hasElements()) {
            value.children.push_back(makeValue(depth + 1));
        }
        if (hasElements) { // White space around it would be no part of a value.
            std::erase_if(value.children, [](const DocumentPart& part) {
                return part.kind == Kind::TEXT && std::all_of(part.text.begin(), part.text.end(), isSpace);
            });
        } else {
            for (DocumentPart& part : value.children) {
                part.kind = part.kind == Kind::LINE_COMMENT ? Kind::COMMENT : part.kind;
            }
        }
        return value;
    }

    [[nodiscard]] static bool isSpace(char character) {
        return character == ' ' || character == '\n' || character == '\r' || character == '\t';
    }

    /// Texts never touch, so that they stay what they are when white space ones are left out.
    void addText(std::vector<DocumentPart>& parts) {
        if (!parts.empty() && parts.back().kind == Kind::TEXT) {
            return;
        }
        if (chance(5)) {
            parts.push_back({Kind::TEXT,
                             pick({"<![CDATA[]]>", "<![CDATA[ <a>&x;]] ]]>", "<![CDATA[<overrides>\n</overrides>]]>"}),
                             {},
                             {}});
            return;
        }
        std::string text;
        for (std::size_t count = 1 + below(m_random, 3); count > 0; --count) {
            text += pick({"x", "1.50", "&amp;", "&lt;a&gt;", "&#10;", "&unknown;", "&", " ", "\n", "\r\n", "\t", "]]",
                          "\xC3\xA9", "\xFF", ">", "'", "\""});
        }
        parts.push_back({Kind::TEXT, text, {}, {}});
    }

    [[nodiscard]] std::uint64_t random64() { return (std::uint64_t{m_random()} << 32U) | m_random(); }

    std::mt19937& m_random;
};

/// Writes a document with random white space wherever it has no meaning, and in random spellings.
class RandomLayout {
public:
    RandomLayout(std::mt19937& random, std::string lineEnd) : m_random(random), m_lineEnd(std::move(lineEnd)) {}

    [[nodiscard]] std::string write(const std::vector<DocumentPart>& parts, bool hasByteOrderMark) {
        m_text = hasByteOrderMark ? "\xEF\xBB\xBF" : "";
        m_text += m_lineEnd; // The kind of the line ends shows, whatever follows.
        writeParts(parts);
        m_text += space();
        return m_text;
    }

private:
    using Kind = DocumentPart::Kind;

    [[nodiscard]] std::string space() {
        std::string text;
        for (std::size_t count = below(m_random, 4); count > 0; --count) {
            text += std::array<std::string, 3>{" ", "\t", m_lineEnd}[below(m_random, 3)];
        }
        return text;
    }

    void writeParts(const std::vector<DocumentPart>& parts) {
        bool isText = false;
        for (const DocumentPart& part : parts) {
            if (!isText && part.kind != Kind::TEXT) {
                if (part.kind == Kind::LINE_COMMENT) {
                    m_text += std::string(below(m_random, 3), ' ');
                } else {
                    m_text += space();
                    m_text += part.kind == Kind::COMMENT ? m_lineEnd + space() : "";
                }
            }
            isText = part.kind == Kind::TEXT;
            write(part);
        }
        if (!isText) {
            m_text += space();
        }
    }

    void write(const DocumentPart& part) {
        if (!part.isElement()) {
            m_text += part.text;
            return;
        }
        m_text += "<" + part.text;
        for (const std::string& attribute : part.attributes) {
            m_text += " " + space() + attribute;
        }
        m_text += below(m_random, 10) == 0 ? " " : "";
        if (part.children.empty() && below(m_random, 2) == 0) {
            m_text += "/>";
            return;
        }
        m_text += ">";
        if (part.kind == Kind::NUMBER) {
            m_text += space() + std::string(below(m_random, 3) / 2, '0') + part.children.front().text + space();
        } else if (part.kind == Kind::UUID) {
            m_text += space() + spelled(part.children.front().text) + space();
        } else if (part.kind == Kind::LIST || part.hasElements()) {
            writeParts(part.children);
        } else {
            for (const DocumentPart& child : part.children) {
                m_text += child.text;
            }
        }
        m_text += "</" + part.text + (below(m_random, 10) == 0 ? " \t" : "") + ">";
    }

    [[nodiscard]] std::string spelled(std::string text) {
        if (below(m_random, 2) == 0) {
            std::transform(text.begin(), text.end(), text.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
        }
        return text;
    }

    std::mt19937& m_random;
    std::string m_lineEnd;
    std::string m_text;
};

} // namespace Kiln::PrefabEditingTests
