#pragma once

#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <resource/data_node.h>
#include <resource/data_section.h>
#include <resource/file_content.h>
#include <resource/line_table.h>
#include <resource/resource_text.h>
#include <resource/text_sink.h>

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace Kiln {

/// The tree that the sections of one document share: that of an XML text, or one in a resource pack. It has one root
/// element and no white space between elements: the text of an element with children is empty or contains more than
/// white space.
///
/// Ownership: shared by its sections. Threads: as DataSection.
class DataDocument final : public SafeReferenceCount {
public:
    /// A document in memory with only a root element.
    explicit DataDocument(std::string_view rootName);

    /// Parses `content` in place and keeps it; keeps a packed document as it is. Null, with an error in the log, if it
    /// is not well formed or is nested deeper than ResourceLimits::elementDepth. If `problem` is set, it receives the
    /// error instead of the log.
    [[nodiscard]] static SmartPointer<DataDocument> parse(FileContent content, std::string source,
                                                          XmlProblem* problem = nullptr);

    [[nodiscard]] DataNode root() const;
    [[nodiscard]] const std::string& source() const noexcept { return m_source; }

    /// Where the element's start tag begins.
    [[nodiscard]] DataPosition positionOf(DataNode node) const;

    /// Writes the document as XML text.
    void write(TextSink& sink) const;

private:
    DataDocument(FileContent content, std::string source);
    ~DataDocument() override;

    [[nodiscard]] bool parseContent();
    [[nodiscard]] bool checkTopLevel() const;
    [[nodiscard]] bool checkDepth() const;
    void removeSpaceBetweenElements();
    void reportError(std::size_t offset, const char* description) const;

    FileContent m_content; ///< Names and texts of the tree point into it, so it is destroyed last. If it is packed,
                           ///< m_tree is empty.
    LineTable m_lines;     ///< Of the content as it was before parsing changed it in place.
    std::string m_source;
    XmlProblem* m_problem = nullptr; ///< Used by parse() only.
    pugi::xml_document m_tree;
};

} // namespace Kiln
