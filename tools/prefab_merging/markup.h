#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// A text can't be merged by key. The message is a clause that follows the name of a file, such as "is not
/// well-formed".
class IrregularText : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A half-open range of byte offsets.
struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;

    [[nodiscard]] std::size_t size() const noexcept { return end - begin; }
    [[nodiscard]] bool isEmpty() const noexcept { return begin == end; }
};

[[nodiscard]] inline std::string_view part(std::string_view text, Range range) {
    return text.substr(range.begin, range.size());
}

/// Splits XML text into tags, comments and text, without building anything. Requires that tags match; what the loader
/// refuses beyond that is left to it. Throws IrregularText.
class MarkupScanner {
public:
    enum class Token { START, END, COMMENT, CDATA, TEXT, INSTRUCTION, END_OF_TEXT };

    explicit MarkupScanner(std::string_view text, std::size_t position = 0) : m_text(text), m_position(position) {}

    /// Reads the next token. An element without content, such as <a/>, has one token START; see isEmptyElement().
    Token next();

    [[nodiscard]] Range range() const noexcept { return m_range; } ///< Of the whole token.
    [[nodiscard]] std::string_view token() const { return part(m_text, m_range); }
    [[nodiscard]] std::string_view name() const noexcept { return m_name; } ///< Of a START or END.
    [[nodiscard]] bool isEmptyElement() const noexcept { return m_isEmptyElement; }
    [[nodiscard]] bool isBlank() const; ///< Whether a TEXT is only white space.

    /// After a START: moves behind the end of the element and returns the range of the whole element.
    Range skipElement();

private:
    void readTag();
    [[nodiscard]] Token readDeclaration();
    void moveBehind(std::string_view end, std::size_t beginSize);

    std::string_view m_text;
    std::size_t m_position;
    Range m_range;
    std::string_view m_name;
    bool m_isEmptyElement = false;
    std::vector<std::string_view> m_open; ///< Used by skipElement().
};

/// An element or comment of a small text.
struct MarkupNode {
    static constexpr std::uint32_t NONE = 0xffffffffU;

    std::string_view name; ///< COMMENT for a comment.
    Range range;           ///< With both tags.
    Range content;         ///< Between the tags; empty for <a/>.
    std::uint32_t firstChild = NONE;
    std::uint32_t nextSibling = NONE;
    bool isEmptyElement = false; ///< <a/>
    bool hasElements = false;
    bool hasText = false; ///< Text of its own that is not only white space.

    static constexpr std::string_view COMMENT = "#comment";
    [[nodiscard]] bool isComment() const noexcept { return name == COMMENT; }
};

/// The elements and comments of a text with one or more elements at the top. The text must outlive it.
class MarkupTree {
public:
    explicit MarkupTree(std::string_view text);

    [[nodiscard]] std::string_view text() const noexcept { return m_text; }
    [[nodiscard]] const MarkupNode& node(std::uint32_t index) const { return m_nodes[index]; }
    [[nodiscard]] std::string_view raw(const MarkupNode& node) const { return part(m_text, node.range); }

    /// The nodes at the top, in order.
    [[nodiscard]] const std::vector<std::uint32_t>& tops() const noexcept { return m_tops; }
    [[nodiscard]] std::vector<std::uint32_t> children(const MarkupNode& node) const;

    /// The first child element of that name; null if there is none.
    [[nodiscard]] const MarkupNode* child(const MarkupNode& node, std::string_view name) const;

    /// The character data of an element, as the loader reads it.
    [[nodiscard]] std::string value(const MarkupNode& node) const;

private:
    class Builder;

    std::string_view m_text;
    std::vector<MarkupNode> m_nodes;
    std::vector<std::uint32_t> m_tops;
};

/// Text of an element whose content is a range: character data and CDATA sections, decoded.
[[nodiscard]] std::string decodedText(std::string_view text, Range content);

/// Whether two pieces of XML mean the same: the same elements, attributes, comments and texts, whatever white space is
/// between elements and however characters are escaped.
[[nodiscard]] bool isSameContent(std::string_view first, std::string_view second);

/// The same for game objects, pools and components, whose parts may have any order; and the form that such texts of the
/// same meaning share.
[[nodiscard]] std::string formInAnyOrder(std::string_view xml);
[[nodiscard]] bool isSameInAnyOrder(std::string_view first, std::string_view second);

/// The text as character data of an element, or as CDATA sections.
[[nodiscard]] std::string escapedText(std::string_view text);
[[nodiscard]] std::string cdataText(std::string_view text);

/// The white space directly before a position, from `begin` on.
[[nodiscard]] Range blankBefore(std::string_view text, std::size_t position, std::size_t begin = 0);

/// Changes the white space between the elements of a piece of XML: line ends and indentation become those of the place
/// where it is inserted. `from` and `to` are the white space before the first element there and here.
[[nodiscard]] std::string reindented(std::string_view xml, std::string_view from, std::string_view to);

} // namespace Kiln::PrefabMerging
