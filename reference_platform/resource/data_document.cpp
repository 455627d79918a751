#include <resource/data_document.h>

#include <common/white_space.h>
#include <core/formatter.h>
#include <core/log.h>
#include <resource/document_writer.h>
#include <resource/element_depth.h>
#include <resource/markup_scan.h>
#include <resource/packed_content.h>
#include <resource/plain_text.h>
#include <resource/resource_limits.h>
#include <resource/white_space_scan.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "resource/data_document";

// Line ends are not normalised, because strings are kept byte for byte. Fragments are accepted so that text outside the
// root appears in the tree and can be rejected instead of being skipped. Embedding text in its element saves a node for
// nearly every value.
constexpr unsigned PARSE_OPTIONS =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_fragment | pugi::parse_embed_pcdata;

// Explicit end tags for empty elements, as in <overridesData></overridesData>.
constexpr unsigned SAVE_OPTIONS =
    pugi::format_indent | pugi::format_no_declaration | pugi::format_no_empty_element_tags;

bool isAllWhiteSpace(const char* text) {
    return text[std::strspn(text, WHITE_SPACE)] == '\0';
}

pugi::xml_node elementChild(pugi::xml_node node) {
    pugi::xml_node child = node.first_child();
    while (child && child.type() != pugi::node_element) {
        child = child.next_sibling();
    }
    return child;
}

void removeWhiteSpaceTexts(pugi::xml_node parent) {
    // text() refers to the embedded value only if there is one, otherwise to the first text child.
    if (*parent.value() != '\0' && isAllWhiteSpace(parent.value())) {
        parent.text().set("");
    }
    for (pugi::xml_node child = parent.first_child(); child;) {
        const pugi::xml_node next = child.next_sibling();
        if (child.type() == pugi::node_pcdata && isAllWhiteSpace(child.value())) {
            parent.remove_child(child);
        }
        child = next;
    }
}

} // namespace

DataDocument::DataDocument(std::string_view rootName) {
    pugi::xml_node root = m_tree.append_child(pugi::node_element);
    if (!root.set_name(std::string(rootName).c_str())) {
        throw std::bad_alloc();
    }
}

DataDocument::DataDocument(FileContent content, std::string source)
    : m_content(std::move(content)),
      m_lines(m_content.packed ? LineTable() : LineTable(m_content.text())),
      m_source(std::move(source)) {}

DataDocument::~DataDocument() = default;

SmartPointer<DataDocument> DataDocument::parse(FileContent content, std::string source, XmlProblem* problem) {
    auto document = SmartPointer<DataDocument>::adopt(new DataDocument(std::move(content), std::move(source)));
    if (document->m_content.packed) {
        return document;
    }
    document->m_problem = problem;
    return document->parseContent() ? document : nullptr;
}

bool DataDocument::parseContent() {
    const std::string_view text = m_content.text();
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos) {
        reportError(nul, "NUL byte, not a text file");
        return false;
    }
    // The parser would cut texts at &#0; and write code points that UTF-8 can't represent.
    const std::size_t reference = findForbiddenReference(text);
    if (reference != std::string_view::npos) {
        reportError(reference, "Character reference that XML does not allow");
        return false;
    }

    // Text that is only white space is a value or lies between elements. Usually the parser can decide: it is a value
    // if its element contains nothing else. If a value may consist of several pieces, some of them white space, the
    // parser has to keep all white space, which is slower, and the part between elements is removed afterwards.
    const bool isAllSpaceKept = mayHaveWhiteSpacePieces(text);
    const unsigned spaceOption = isAllSpaceKept ? pugi::parse_ws_pcdata : pugi::parse_ws_pcdata_single;
    // The size includes the terminating NUL, because the parser replaces the last byte of the buffer by its sentinel.
    const pugi::xml_parse_result result = m_tree.load_buffer_inplace(m_content.bytes.get(), m_content.size + 1,
                                                                     PARSE_OPTIONS | spaceOption, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) {
        throw std::bad_alloc();
    }
    if (!result) {
        reportError(static_cast<std::size_t>(result.offset), result.description());
        return false;
    }
    if (!checkTopLevel() || !checkDepth()) {
        return false;
    }
    if (isAllSpaceKept) {
        removeSpaceBetweenElements();
    }
    return true;
}

bool DataDocument::checkTopLevel() const {
    bool hasRoot = false;
    for (const pugi::xml_node node : m_tree.children()) {
        const auto offset = static_cast<std::size_t>(node.offset_debug());
        if (node.type() == pugi::node_element) {
            if (hasRoot) {
                reportError(offset - 1, "More than one root element");
                return false;
            }
            hasRoot = true;
        } else if (node.type() == pugi::node_cdata || !isAllWhiteSpace(node.value())) {
            reportError(offset + std::strspn(node.value(), WHITE_SPACE), "Text outside the root element");
            return false;
        }
    }
    if (!hasRoot) {
        reportError(m_content.size, "No root element");
    }
    return hasRoot;
}

bool DataDocument::checkDepth() const {
    const std::size_t limit = resourceLimits().elementDepth;
    const DataNode element = findElementBelow(root(), m_content.size, limit);
    if (element) {
        reportError(static_cast<std::size_t>(element.offset()) - 1,
                    formatText("Elements are nested deeper than the limit of %zu", limit).c_str());
    }
    return !element;
}

void DataDocument::removeSpaceBetweenElements() {
    removeWhiteSpaceTexts(m_tree);
    // Depth first along the links of the tree, without recursion: documents can be nested deeper than the stack allows.
    const pugi::xml_node root = elementChild(m_tree);
    pugi::xml_node element = root;
    while (element) {
        if (const pugi::xml_node child = elementChild(element)) {
            removeWhiteSpaceTexts(element);
            element = child;
            continue;
        }
        while (element != root && !DataNode(element.internal_object()).nextSibling()) {
            element = element.parent();
        }
        if (element == root) {
            break;
        }
        do {
            element = element.next_sibling();
        } while (element.type() != pugi::node_element);
    }
}

void DataDocument::reportError(std::size_t offset, const char* description) const {
    XmlProblem problem{m_lines.positionAt(offset), description};
    if (m_problem) {
        *m_problem = std::move(problem);
    } else {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE).message("%s", problem.message(m_source).c_str());
    }
}

DataNode DataDocument::root() const {
    if (m_content.packed) {
        const PackedTree& tree = m_content.packed->tree;
        return {tree.root(), &tree};
    }
    return DataNode(elementChild(m_tree).internal_object());
}

DataPosition DataDocument::positionOf(DataNode node) const {
    if (m_content.packed) {
        return node ? m_content.packed->tree.position(node.packed()) : DataPosition();
    }
    const std::ptrdiff_t offset = node.offset();
    // The offset is that of the name; the tag begins one byte earlier.
    return offset < 1 ? DataPosition() : m_lines.positionAt(static_cast<std::size_t>(offset) - 1);
}

void DataDocument::write(TextSink& sink) const {
    if (m_content.packed) {
        writePlainText(root(), sink);
        return;
    }
    sink.write(XML_DECLARATION);
    DocumentWriter writer(sink);
    m_tree.save(writer, "\t", SAVE_OPTIONS, pugi::encoding_utf8);
    writer.finish();
}

} // namespace Kiln
