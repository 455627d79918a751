#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <resource/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace pugi {
struct xml_node_struct;
}

namespace Kiln {

class PackedTree;
struct PackedNode;

/// How a document stores the text of an element. A parsed document has only TEXT. A packed one stores texts in binary
/// form if the text can be made from the value again, byte for byte.
enum class DataValueKind : std::uint8_t { TEXT, INTEGER, FLOAT, UUID, MATRIX };

/// A cursor on one element of a data document: a small, non-owning alternative to DataSection for code that walks many
/// elements. Valid as long as any DataSection of the document exists. On a null cursor, reads return empty results and
/// writes do nothing. The elements of a packed document cannot be changed: writes log an error and do nothing.
///
/// Threads: as DataSection.
class KILN_RESOURCE_EXPORT DataNode {
public:
    constexpr DataNode() noexcept = default;
    /// @{
    /// For the library itself: a cursor on an element of a parsed document, or of a packed one.
    constexpr explicit DataNode(pugi::xml_node_struct* element) noexcept : m_element(element) {}
    constexpr DataNode(const PackedNode* element, const PackedTree* tree) noexcept : m_element(element), m_tree(tree) {}
    /// @}

    /// False for a null cursor.
    constexpr explicit operator bool() const noexcept { return m_element != nullptr; }
    friend constexpr bool operator==(DataNode, DataNode) noexcept = default;

    /// Name of the element; empty for a null cursor.
    [[nodiscard]] std::string_view name() const noexcept;

    /// Whether the name is `name`; cheaper than a comparison with name().
    [[nodiscard]] bool isNamed(std::string_view name) const noexcept;

    /// @{
    /// Child elements; text, comments and other nodes between them are skipped.
    [[nodiscard]] DataNode firstChild() const noexcept;
    [[nodiscard]] DataNode nextSibling() const noexcept;
    /// @}

    /// The first child element of that name; null when there is none.
    [[nodiscard]] DataNode child(std::string_view name) const noexcept;

    /// Number of child elements. Linear.
    [[nodiscard]] std::size_t childrenCount() const noexcept;

    /// @{
    /// The element's own text (character data and CDATA in order, comments left out), byte for byte; of an element
    /// that has children, without the pieces that are only white space. The view lies in the document when the text is
    /// in one piece, otherwise in `scratch`; it is valid until either is changed.
    [[nodiscard]] std::string_view text(std::string& scratch) const;
    [[nodiscard]] std::string text() const;
    /// @}

    /// The form in which the text is stored. A value that is not TEXT can be read by the function of its kind, with the
    /// result of parsing text().
    [[nodiscard]] DataValueKind valueKind() const noexcept { return m_tree ? packedKind() : DataValueKind::TEXT; }
    /// @{
    /// The value in its binary form; only if valueKind() is that of the function.
    [[nodiscard]] std::uint32_t integerValue() const noexcept;
    [[nodiscard]] float floatValue() const noexcept;
    [[nodiscard]] Uuid uuidValue() const noexcept;
    [[nodiscard]] Matrix matrixValue() const noexcept;
    /// @}

    /// Appends a new child element. `name` must be a valid XML name.
    DataNode append(std::string_view name) const;

    /// Replaces the element's text; `text` may be a view of the old one. NUL bytes, which XML cannot represent, are
    /// left out, and an error is logged.
    void setText(std::string_view text) const;

    /// The element of a parsed document, for the library itself.
    [[nodiscard]] const void* parsedElement() const noexcept { return m_element; }

    /// Byte offset of the element's name in the text that was parsed; negative for elements made by append() and for
    /// those of packed documents.
    [[nodiscard]] std::ptrdiff_t offset() const noexcept;

private:
    friend class DataDocument;

    [[nodiscard]] DataValueKind packedKind() const noexcept;
    [[nodiscard]] const PackedNode& packed() const noexcept;
    [[nodiscard]] bool refuseChange() const;

    const void* m_element = nullptr;    ///< An element of pugixml or, if there is a tree, a PackedNode.
    const PackedTree* m_tree = nullptr; ///< Of a packed document.
};

} // namespace Kiln
