#include <resource/data_node.h>

#include <core/log.h>

#include <bit>
#include <new>
#include <string>
#include <utility>

#include <pugixml.hpp>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "resource/data_node";

// A pugi::xml_node contains only a pointer to the element. Its constructor and its accessor are calls into the library
// that cost as much as a step to the next element, so the two functions below convert the bits instead.
pugi::xml_node handle(pugi::xml_node_struct* element) noexcept {
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

} // namespace

std::string_view DataNode::name() const noexcept {
    return handle(m_element).name();
}

bool DataNode::isNamed(std::string_view name) const noexcept {
    const char* own = handle(m_element).name();
    for (const char character : name) {
        if (*own != character || character == '\0') {
            return false;
        }
        ++own;
    }
    return *own == '\0';
}

DataNode DataNode::firstChild() const noexcept {
    return elementAtOrAfter(handle(m_element).first_child());
}

DataNode DataNode::nextSibling() const noexcept {
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

DataNode DataNode::append(std::string_view name) const {
    if (!m_element) {
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
    if (!m_element) {
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
    return handle(m_element).offset_debug();
}

} // namespace Kiln
