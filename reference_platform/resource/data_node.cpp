#include <resource/data_node.h>

#include <core/log.h>
#include <core/printable_text.h>
#include <resource/packed_tree.h>

#include <bit>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include <pugixml.hpp>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "resource/data_node";

// A pugi::xml_node contains only a pointer to the element. Its constructor and its accessor are calls into the library
// that cost as much as a step to the next element, so the two functions below convert the bits instead.
pugi::xml_node handle(const void* element) noexcept {
    return std::bit_cast<pugi::xml_node>(element);
}

DataNode cursor(pugi::xml_node node) noexcept {
    return DataNode(std::bit_cast<pugi::xml_node_struct*>(node));
}

DataNode elementAtOrAfter(pugi::xml_node node) noexcept {
    while (true) {
        const pugi::xml_node_type type = node.type();
        if (type == pugi::node_element || type == pugi::node_null) {
            return cursor(node);
        }
        node = node.next_sibling();
    }
}

bool isText(pugi::xml_node node) noexcept {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

void removeTextChildren(pugi::xml_node element) {
    for (pugi::xml_node child = element.first_child(); child;) {
        const pugi::xml_node next = child.next_sibling();
        if (isText(child)) {
            element.remove_child(child);
        }
        child = next;
    }
}

// Functions of their own, which are not inlined, so that reading a parsed document does not prepare for packed ones. To
// packed documents, which are read several times as fast, the calls matter little.

[[gnu::noinline]] bool isPackedNamed(const PackedTree& tree, const PackedNode& node, std::string_view name) noexcept {
    return tree.name(node) == name;
}

[[gnu::noinline]] DataNode packedFirstChild(const PackedTree& tree, const PackedNode& node) noexcept {
    const PackedNode* const child = tree.firstChild(node);
    return child ? DataNode(child, &tree) : DataNode();
}

[[gnu::noinline]] DataNode packedNextSibling(const PackedTree& tree, const PackedNode& node) noexcept {
    const PackedNode* const sibling = tree.nextSibling(node);
    return sibling ? DataNode(sibling, &tree) : DataNode();
}

} // namespace

std::string_view DataNode::name() const noexcept {
    if (m_tree) [[unlikely]] {
        return m_tree->name(packed());
    }
    return handle(m_element).name();
}

bool DataNode::isNamed(std::string_view name) const noexcept {
    if (m_tree) [[unlikely]] {
        return isPackedNamed(*m_tree, packed(), name);
    }
    const char* const own = handle(m_element).name();
    // Most comparisons end here, and that of the rest of a short name costs little as a call.
    if (name.empty() || *own != name.front()) {
        return name.empty() && *own == '\0';
    }
    return std::strlen(own) == name.size() && std::memcmp(own, name.data(), name.size()) == 0;
}

DataNode DataNode::firstChild() const noexcept {
    if (m_tree) [[unlikely]] {
        return packedFirstChild(*m_tree, packed());
    }
    return elementAtOrAfter(handle(m_element).first_child());
}

DataNode DataNode::nextSibling() const noexcept {
    if (m_tree) [[unlikely]] {
        return packedNextSibling(*m_tree, packed());
    }
    return elementAtOrAfter(handle(m_element).next_sibling());
}

DataNode DataNode::child(std::string_view name) const noexcept {
    DataNode child = firstChild();
    while (child && !child.isNamed(name)) {
        child = child.nextSibling();
    }
    return child;
}

std::size_t DataNode::childrenCount() const noexcept {
    std::size_t count = 0;
    for (DataNode child = firstChild(); child; child = child.nextSibling()) {
        ++count;
    }
    return count;
}

std::string_view DataNode::text(std::string& scratch) const {
    if (m_tree) [[unlikely]] {
        return m_tree->text(packed(), scratch);
    }
    // The first piece is embedded in the element itself, unless it is CDATA or follows a child.
    const pugi::xml_node element = handle(m_element);
    std::string_view text = element.value();
    bool isInScratch = false;
    for (pugi::xml_node child = element.first_child(); cursor(child); child = child.next_sibling()) {
        if (!isText(child)) {
            continue;
        }
        const std::string_view piece = child.value();
        if (text.empty()) {
            text = piece;
            continue;
        }
        if (!isInScratch) {
            scratch.assign(text);
            isInScratch = true;
        }
        scratch.append(piece);
        text = scratch;
    }
    return text;
}

std::string DataNode::text() const {
    std::string scratch;
    const std::string_view text = this->text(scratch);
    return text.data() == scratch.data() ? std::move(scratch) : std::string(text);
}

DataValueKind DataNode::packedKind() const noexcept {
    switch (packed().kind()) {
    case PackLayout::NodeKind::INTEGER:
        return DataValueKind::INTEGER;
    case PackLayout::NodeKind::FLOAT:
        return DataValueKind::FLOAT;
    case PackLayout::NodeKind::UUID:
        return DataValueKind::UUID;
    case PackLayout::NodeKind::MATRIX:
        return DataValueKind::MATRIX;
    default:
        return DataValueKind::TEXT;
    }
}

const PackedNode& DataNode::packed() const noexcept {
    return *static_cast<const PackedNode*>(m_element);
}

std::uint32_t DataNode::integerValue() const noexcept {
    return packed().payload;
}

float DataNode::floatValue() const noexcept {
    return std::bit_cast<float>(packed().payload);
}

Uuid DataNode::uuidValue() const noexcept {
    return m_tree->uuid(packed());
}

Matrix DataNode::matrixValue() const noexcept {
    return m_tree->matrix(packed());
}

/// Whether nothing may be written into the element; logs an error if that is because it is packed.
bool DataNode::refuseChange() const {
    if (m_tree) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
            .message("The element '%s' cannot be changed: its document is in a resource pack",
                     printableText(name()).c_str());
    }
    return !m_element || m_tree;
}

DataNode DataNode::append(std::string_view name) const {
    if (refuseChange()) {
        return {};
    }
    pugi::xml_node child = handle(m_element).append_child(pugi::node_element);
    // Element names are short, so this string needs no allocation.
    if (!child.set_name(std::string(name).c_str())) {
        throw std::bad_alloc();
    }
    return cursor(child);
}

void DataNode::setText(std::string_view text) const {
    if (refuseChange()) {
        return;
    }
    if (text.find('\0') != std::string_view::npos) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
            .message("NUL bytes are left out of the text of '%s': XML has no form for them", name().data());
        std::string withoutNul(text);
        std::erase(withoutNul, '\0');
        setText(withoutNul);
        return;
    }
    pugi::xml_node element = handle(m_element);
    const bool isTextEmpty = *element.value() == '\0';
    if (isTextEmpty && !cursor(element.first_child())) {
        if (!text.empty() && !element.append_child(pugi::node_pcdata).set_value(text.data(), text.size())) {
            throw std::bad_alloc();
        }
        return;
    }
    // A copy, because `text` may be a view of the text that is replaced.
    const std::string newText(text);
    removeTextChildren(element);
    if (newText.empty() && isTextEmpty) {
        return;
    }
    if (!element.text().set(newText.data(), newText.size())) {
        throw std::bad_alloc();
    }
}

std::ptrdiff_t DataNode::offset() const noexcept {
    return m_tree ? -1 : handle(m_element).offset_debug();
}

} // namespace Kiln
