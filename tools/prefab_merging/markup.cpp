#include "markup.h"

#include <common/white_space.h>
#include <prefab_inspection/documents/character_reference.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <algorithm>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr const char* NOT_WELL_FORMED = "is not well-formed XML";

/// Deeper elements are refused by the loader, too.
constexpr std::size_t MAX_DEPTH = 10'000;

[[nodiscard]] bool isBlankText(std::string_view text) {
    return trimWhiteSpace(text).empty();
}

void appendDecoded(std::string_view text, std::string& result) {
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('&'), text.size());
        result.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) {
            return;
        }
        std::size_t size = PrefabInspection::appendReference(text, result);
        if (size == 0) { // The loader takes it for the character itself.
            result.push_back('&');
            size = 1;
        }
        text.remove_prefix(size);
    }
}

[[nodiscard]] std::string_view cdataContent(std::string_view token) {
    return token.substr(9, token.size() - 12);
}

/// Writes one form of all texts that mean the same.
class CanonicalWriter {
public:
    explicit CanonicalWriter(std::string_view xml) : m_scanner(xml) {}

    [[nodiscard]] std::string write() {
        using Token = MarkupScanner::Token;
        for (Token token = m_scanner.next(); token != Token::END_OF_TEXT; token = m_scanner.next()) {
            if (token == Token::TEXT) {
                appendDecoded(m_scanner.token(), m_text);
            } else if (token == Token::CDATA) {
                m_text += cdataContent(m_scanner.token());
            } else if (token == Token::START) {
                writeText(false);
                writeStart();
            } else if (token == Token::END) {
                writeText(std::exchange(m_isLeaf, false));
                m_result.append("</>");
            } else {
                writeText(false);
                m_result.append(m_scanner.token());
            }
        }
        writeText(false);
        return std::move(m_result);
    }

private:
    void writeText(bool isValue) {
        if (isValue || !isBlankText(m_text)) {
            m_result.append("T").append(std::to_string(m_text.size())).append(":").append(m_text);
        }
        m_text.clear();
    }

    void writeStart() {
        std::string_view tag = m_scanner.token();
        tag.remove_suffix(m_scanner.isEmptyElement() ? 2 : 1);
        m_result.append(trimWhiteSpace(tag)).append(">");
        m_isLeaf = !m_scanner.isEmptyElement();
        if (m_scanner.isEmptyElement()) {
            m_result.append("T0:</>");
        }
    }

    MarkupScanner m_scanner;
    std::string m_result;
    std::string m_text;    ///< Since the last tag or comment.
    bool m_isLeaf = false; ///< Whether an element has begun and no other one in it.
};

[[nodiscard]] std::string canonicalText(std::string_view xml) {
    return CanonicalWriter(xml).write();
}

[[nodiscard]] bool isContainer(std::string_view name) {
    namespace ElementName = PrefabInspection::ElementName;
    return name == ElementName::GAME_OBJECT || name == ElementName::POOL || name == ElementName::ITEM ||
           name == ElementName::PROPERTIES;
}

[[nodiscard]] std::string joinedSorted(std::vector<std::string> parts) {
    std::sort(parts.begin(), parts.end());
    std::string result;
    for (const std::string& part : parts) {
        result.append(part).append("\n");
    }
    return result;
}

/// One form of all elements that mean the same, where the parts of containers may have any order.
[[nodiscard]] std::string unorderedText(const MarkupTree& tree, const MarkupNode& node) {
    if (node.hasText || !isContainer(node.name)) {
        return canonicalText(tree.raw(node));
    }
    std::string_view tag = part(tree.text(), {node.range.begin, node.content.begin});
    tag = tag.substr(0, tag.find_last_not_of(" \t\r\n/>") + 1);
    std::vector<std::string> parts;
    for (const std::uint32_t index : tree.children(node)) {
        parts.push_back(unorderedText(tree, tree.node(index)));
    }
    std::string result(tag);
    return result.append(">").append(joinedSorted(std::move(parts))).append("</>");
}

/// Appends white space with the line ends and the indentation of another place.
class Indentation {
public:
    Indentation(std::string_view from, std::string_view to)
        : m_from(from.substr(std::min(from.size(), from.rfind('\n') + 1))),
          m_to(to.substr(std::min(to.size(), to.rfind('\n') + 1))),
          m_lineEnd(to.find("\r\n") != NONE ? "\r\n" : "\n"),
          m_hasLines(to.find('\n') != NONE) {}

    void append(std::string_view blank, std::string& result) const {
        if (blank.find('\n') == NONE || !m_hasLines) {
            result.append(blank);
            return;
        }
        while (!blank.empty()) {
            const std::size_t end = blank.find('\n');
            if (end == NONE) {
                result.append(blank);
                return;
            }
            blank.remove_prefix(end + 1);
            result.append(m_lineEnd);
            if (blank.starts_with(m_from)) {
                result.append(m_to);
                blank.remove_prefix(m_from.size());
            }
        }
    }

private:
    std::string_view m_from;
    std::string_view m_to;
    std::string_view m_lineEnd;
    bool m_hasLines;
};

} // namespace

MarkupScanner::Token MarkupScanner::next() {
    m_range = {m_position, m_position};
    if (m_position >= m_text.size()) {
        return Token::END_OF_TEXT;
    }
    if (m_text[m_position] != '<') {
        m_position = std::min(m_text.find('<', m_position), m_text.size());
        m_range.end = m_position;
        return Token::TEXT;
    }
    const char following = m_position + 1 < m_text.size() ? m_text[m_position + 1] : '\0';
    if (following == '?') {
        moveBehind("?>", 2);
        return Token::INSTRUCTION;
    }
    if (following == '!') {
        return readDeclaration();
    }
    readTag();
    return following == '/' ? Token::END : Token::START;
}

MarkupScanner::Token MarkupScanner::readDeclaration() {
    const std::string_view markup = m_text.substr(m_position);
    if (markup.starts_with("<!--")) {
        moveBehind("-->", 4);
        return Token::COMMENT;
    }
    if (markup.starts_with("<![CDATA[")) {
        moveBehind("]]>", 9);
        return Token::CDATA;
    }
    throw IrregularText("has a document type or other declaration");
}

void MarkupScanner::moveBehind(std::string_view end, std::size_t beginSize) {
    const std::size_t found = m_text.find(end, m_position + beginSize);
    if (found == NONE) {
        throw IrregularText(NOT_WELL_FORMED);
    }
    m_position = found + end.size();
    m_range.end = m_position;
}

void MarkupScanner::readTag() {
    const bool isEnd = m_text[m_position + 1 < m_text.size() ? m_position + 1 : m_position] == '/';
    const std::size_t nameBegin = m_position + (isEnd ? 2 : 1);
    std::size_t position = nameBegin;
    while (position < m_text.size() && m_text[position] != '>' && m_text[position] != '/' &&
           !isWhiteSpace(m_text[position])) {
        ++position;
    }
    m_name = m_text.substr(nameBegin, position - nameBegin);
    while (position < m_text.size() && m_text[position] != '>') {
        if (m_text[position] == '"' || m_text[position] == '\'') {
            position = m_text.find(m_text[position], position + 1);
        }
        position = position == NONE ? m_text.size() : position + 1;
    }
    if (m_name.empty() || m_name.find('<') != NONE || position >= m_text.size()) {
        throw IrregularText(NOT_WELL_FORMED);
    }
    m_isEmptyElement = !isEnd && m_text[position - 1] == '/';
    m_position = position + 1;
    m_range.end = m_position;
}

bool MarkupScanner::isBlank() const {
    return isBlankText(token());
}

Range MarkupScanner::skipElement() {
    Range element = m_range;
    if (m_isEmptyElement) {
        return element;
    }
    m_open.assign(1, m_name);
    while (!m_open.empty()) {
        const Token token = next();
        if (token == Token::START) {
            if (!m_isEmptyElement) {
                m_open.push_back(m_name);
            }
        } else if (token == Token::END) {
            if (m_name != m_open.back()) {
                throw IrregularText(NOT_WELL_FORMED);
            }
            m_open.pop_back();
        } else if (token == Token::END_OF_TEXT) {
            throw IrregularText(NOT_WELL_FORMED);
        }
        if (m_open.size() > MAX_DEPTH) {
            throw IrregularText("has elements that are nested too deep");
        }
    }
    element.end = m_position;
    m_range = element;
    return element;
}

/// Adds the nodes of a text to a tree.
class MarkupTree::Builder {
public:
    Builder(MarkupTree& tree, std::string_view text) : m_tree(tree), m_scanner(text) {}

    void build() {
        for (Token token = m_scanner.next(); token != Token::END_OF_TEXT; token = m_scanner.next()) {
            if (token == Token::START) {
                addElement();
            } else if (token == Token::END) {
                endElement();
            } else if (token == Token::COMMENT || token == Token::INSTRUCTION) {
                MarkupNode node;
                node.name = MarkupNode::COMMENT;
                node.range = m_scanner.range();
                add(node);
            } else if (token == Token::CDATA || !m_scanner.isBlank()) {
                addText();
            }
        }
        if (!m_open.empty()) {
            throw IrregularText(NOT_WELL_FORMED);
        }
    }

private:
    using Token = MarkupScanner::Token;

    struct Open {
        std::uint32_t node;
        std::uint32_t lastChild;
    };

    std::uint32_t add(const MarkupNode& node) {
        const auto index = static_cast<std::uint32_t>(m_tree.m_nodes.size());
        m_tree.m_nodes.push_back(node);
        if (m_open.empty()) {
            m_tree.m_tops.push_back(index);
            return index;
        }
        Open& parent = m_open.back();
        if (parent.lastChild == MarkupNode::NONE) {
            m_tree.m_nodes[parent.node].firstChild = index;
        } else {
            m_tree.m_nodes[parent.lastChild].nextSibling = index;
        }
        parent.lastChild = index;
        m_tree.m_nodes[parent.node].hasElements |= !node.isComment();
        return index;
    }

    void addElement() {
        MarkupNode node;
        node.name = m_scanner.name();
        node.range = m_scanner.range();
        node.content = {node.range.end, node.range.end};
        node.isEmptyElement = m_scanner.isEmptyElement();
        const std::uint32_t index = add(node);
        if (!node.isEmptyElement) {
            m_open.push_back({index, MarkupNode::NONE});
        }
    }

    void endElement() {
        if (m_open.empty() || m_tree.m_nodes[m_open.back().node].name != m_scanner.name() ||
            m_open.size() > MAX_DEPTH) {
            throw IrregularText(NOT_WELL_FORMED);
        }
        MarkupNode& node = m_tree.m_nodes[m_open.back().node];
        node.content.end = m_scanner.range().begin;
        node.range.end = m_scanner.range().end;
        m_open.pop_back();
    }

    void addText() {
        if (m_open.empty()) {
            throw IrregularText(NOT_WELL_FORMED);
        }
        m_tree.m_nodes[m_open.back().node].hasText = true;
    }

    MarkupTree& m_tree;
    MarkupScanner m_scanner;
    std::vector<Open> m_open;
};

MarkupTree::MarkupTree(std::string_view text) : m_text(text) {
    Builder(*this, text).build();
}

std::vector<std::uint32_t> MarkupTree::children(const MarkupNode& node) const {
    std::vector<std::uint32_t> result;
    for (std::uint32_t child = node.firstChild; child != MarkupNode::NONE; child = m_nodes[child].nextSibling) {
        result.push_back(child);
    }
    return result;
}

const MarkupNode* MarkupTree::child(const MarkupNode& node, std::string_view name) const {
    for (std::uint32_t child = node.firstChild; child != MarkupNode::NONE; child = m_nodes[child].nextSibling) {
        if (m_nodes[child].name == name) {
            return &m_nodes[child];
        }
    }
    return nullptr;
}

std::string MarkupTree::value(const MarkupNode& node) const {
    return decodedText(m_text, node.content);
}

std::string decodedText(std::string_view text, Range content) {
    std::string result;
    std::string blank;
    bool hasOther = false; // A comment, CDATA section or element, so that pieces of white space are not text.
    std::size_t depth = 0;
    MarkupScanner scanner(text.substr(0, content.end), content.begin);
    for (;;) {
        using Token = MarkupScanner::Token;
        const Token token = scanner.next();
        if (token == Token::END_OF_TEXT) {
            break;
        }
        if (token == Token::START) {
            depth += scanner.isEmptyElement() ? 0 : 1;
        } else if (token == Token::END) {
            depth -= depth == 0 ? 0 : 1;
        }
        hasOther = hasOther || token != Token::TEXT;
        if (depth != 0) {
            continue;
        }
        if (token == Token::CDATA) {
            result += cdataContent(scanner.token());
        } else if (token == Token::TEXT && scanner.isBlank()) {
            blank = scanner.token();
        } else if (token == Token::TEXT) {
            appendDecoded(scanner.token(), result);
        }
    }
    return hasOther || !result.empty() ? result : blank;
}

bool isSameContent(std::string_view first, std::string_view second) {
    return first == second || canonicalText(first) == canonicalText(second);
}

std::string formInAnyOrder(std::string_view xml) {
    const MarkupTree tree(xml);
    std::vector<std::string> parts;
    for (const std::uint32_t index : tree.tops()) {
        parts.push_back(unorderedText(tree, tree.node(index)));
    }
    return joinedSorted(std::move(parts));
}

bool isSameInAnyOrder(std::string_view first, std::string_view second) {
    return first == second || formInAnyOrder(first) == formInAnyOrder(second);
}

std::string escapedText(std::string_view text) {
    std::string result;
    result.reserve(text.size() + text.size() / 4);
    for (const char character : text) {
        if (character == '<') {
            result += "&lt;";
        } else if (character == '>') {
            result += "&gt;";
        } else if (character == '&') {
            result += "&amp;";
        } else {
            result += character;
        }
    }
    return result;
}

std::string cdataText(std::string_view text) {
    std::string result = "<![CDATA[";
    for (std::size_t end = text.find("]]>"); end != NONE; end = text.find("]]>")) {
        result.append(text.substr(0, end + 2)).append("]]><![CDATA[");
        text.remove_prefix(end + 2);
    }
    return result.append(text).append("]]>");
}

Range blankBefore(std::string_view text, std::size_t position, std::size_t begin) {
    std::size_t start = position;
    while (start > begin && isWhiteSpace(text[start - 1])) {
        --start;
    }
    return {start, position};
}

std::string reindented(std::string_view xml, std::string_view from, std::string_view to) {
    if (from == to) {
        return std::string(xml);
    }
    const Indentation indentation(from, to);
    std::string result;
    MarkupScanner scanner(xml);
    std::string_view pending; // White space that may be the whole value of an element.
    bool isAfterStart = false;
    for (;;) {
        using Token = MarkupScanner::Token;
        const Token token = scanner.next();
        if (!pending.empty()) {
            if (isAfterStart && token == Token::END) {
                result.append(pending);
            } else {
                indentation.append(pending, result);
            }
            pending = {};
        }
        if (token == Token::END_OF_TEXT) {
            return result;
        }
        if (token == Token::TEXT && scanner.isBlank()) {
            pending = scanner.token();
            continue; // Keeps what is known about the token before it.
        }
        isAfterStart = token == Token::START && !scanner.isEmptyElement();
        result.append(scanner.token());
    }
}

} // namespace Kiln::PrefabMerging
