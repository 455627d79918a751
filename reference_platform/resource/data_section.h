#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <resource/data_node.h>
#include <resource/export.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace Kiln {

class DataDocument;

/// Where a section's start tag begins in the text that it was read from. Lines and columns count from 1 (columns in
/// bytes); 0 for a section that was made in memory.
struct DataPosition {
    std::size_t line = 0;   ///< From 1.
    std::size_t column = 0; ///< In bytes, from 1.

    friend bool operator==(const DataPosition&, const DataPosition&) = default;
};

/// One section of a hierarchical data tree, backed by an XML document: a name, a text, and named child sections.
///
/// Ownership: each section shares its document, which lives as long as any section of it. Sections are handles: two of
/// them may refer to the same element. Threads: any number of threads may read one document; writing needs exclusive
/// access to the whole document. Failure: a value that is absent or does not parse yields the caller's default.
class KILN_RESOURCE_EXPORT DataSection final : public SafeReferenceCount {
public:
    /// An empty document with only a root section.
    [[nodiscard]] static SmartPointer<DataSection> create(std::string_view rootName);

    /// Parses XML text (UTF-8); `sourceName` identifies it in messages and source(). A text that is not well formed,
    /// has not exactly one root element, has text outside it, a NUL or a forbidden character reference, or is nested
    /// too deep (ResourceLimits) yields null and "XML error in '%s' at line %zu, column %zu: %s" in the log. If
    /// `problem` is set, it receives the error's text instead of the log.
    [[nodiscard]] static SmartPointer<DataSection> fromText(std::string_view text, std::string sourceName,
                                                            std::string* problem = nullptr);

    /// As fromText, for a regular file within ResourceLimits, wherever it is. `sourceName` goes into the messages. A
    /// missing file is reported ("File not found: '%s'") only if `reportMissing` is set; one that cannot be read
    /// ("Cannot read '%s': %s"), always.
    [[nodiscard]] static SmartPointer<DataSection> fromFile(const std::string& fileName, std::string sourceName,
                                                            bool reportMissing);

    /// A handle to an element of a document.
    DataSection(SmartPointer<DataDocument> document, DataNode node);

    /// Refers to another element of the document that `section` belongs to.
    DataSection(const DataSection& section, DataNode node);
    ~DataSection() override;

    /// Name of the element.
    [[nodiscard]] std::string_view sectionName() const noexcept { return m_node.name(); }

    /// The cursor for walking many elements; valid as long as the document exists.
    [[nodiscard]] DataNode node() const noexcept { return m_node; }

    /// The first child section of that name. If there is none: null, or a new section at the end if `create` is set.
    [[nodiscard]] SmartPointer<DataSection> openSection(std::string_view name, bool create) const;

    /// A new child section at the end, even if others of that name exist.
    SmartPointer<DataSection> newSection(std::string_view name) const;

    /// Walks the child sections in document order.
    class KILN_RESOURCE_EXPORT Iterator {
    public:
        /// @{
        /// What the standard library requires of an iterator.
        using iterator_category = std::input_iterator_tag;
        using value_type = SmartPointer<DataSection>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = value_type;
        /// @}

        Iterator() = default;
        /// Stands at `node`, a child of `parent`, or at the end for a null node. The parent must outlive it.
        Iterator(const DataSection* parent, DataNode node) : m_parent(parent), m_node(node) {}

        /// A new handle to the present section.
        value_type operator*() const;
        /// @{
        /// Goes to the next section.
        Iterator& operator++() {
            m_node = m_node.nextSibling();
            return *this;
        }
        void operator++(int) { ++*this; }
        /// @}
        friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.m_node == b.m_node; }

    private:
        const DataSection* m_parent = nullptr; ///< The section must outlive its iterators.
        DataNode m_node;
    };

    /// @{
    /// The child sections, in the order of the document.
    [[nodiscard]] Iterator begin() const { return {this, m_node.firstChild()}; }
    [[nodiscard]] Iterator end() const { return {this, DataNode()}; }
    /// @}
    /// Number of child sections. Linear.
    [[nodiscard]] std::size_t childrenCount() const noexcept { return m_node.childrenCount(); }

    /// The section's own text, byte for byte.
    [[nodiscard]] std::string asString() const { return m_node.text(); }
    /// Replaces the section's own text.
    void setString(std::string_view text) const { m_node.setText(text); }

    /// @{
    /// Typed reads of a child section's text; white space around all but strings is ignored.
    [[nodiscard]] std::string readString(std::string_view name, std::string_view defaultValue = {}) const;
    [[nodiscard]] bool readBool(std::string_view name, bool defaultValue = false) const;
    [[nodiscard]] std::int64_t readInt64(std::string_view name, std::int64_t defaultValue = 0) const;
    [[nodiscard]] std::uint64_t readUInt64(std::string_view name, std::uint64_t defaultValue = 0) const;
    [[nodiscard]] double readDouble(std::string_view name, double defaultValue = 0) const;
    [[nodiscard]] Uuid readUuid(std::string_view name, const Uuid& defaultValue = Uuid::ZERO) const;
    [[nodiscard]] Matrix readMatrix(std::string_view name, const Matrix& defaultValue = {}) const;
    /// @}

    /// @{
    /// Typed writes into a child section, which is created if absent.
    void writeString(std::string_view name, std::string_view value) const;
    void writeBool(std::string_view name, bool value) const;
    void writeInt64(std::string_view name, std::int64_t value) const;
    void writeUInt64(std::string_view name, std::uint64_t value) const;
    void writeDouble(std::string_view name, double value) const;
    void writeUuid(std::string_view name, const Uuid& value) const;
    void writeMatrix(std::string_view name, const Matrix& value) const;
    /// @}

    /// File or name that the document was read from; empty for a document made in memory.
    [[nodiscard]] const std::string& source() const noexcept;
    /// Where the section begins in the text that it was read from.
    [[nodiscard]] DataPosition position() const { return positionOf(m_node); }

    /// Position of any element of this section's document.
    [[nodiscard]] DataPosition positionOf(DataNode node) const;

    /// The whole document as XML text, indented with tabs, with a declaration.
    [[nodiscard]] std::string toText() const;

    /// Atomically replaces a file by the whole document, also if the power fails. On failure logs "Cannot write '%s':
    /// %s" with the file's name, leaves the file unchanged unless the message says otherwise, and returns false.
    bool saveFile(const std::string& fileName) const;

private:
    SmartPointer<DataDocument> m_document;
    DataNode m_node;
};

} // namespace Kiln
