#include "override_tree.h"

#include <common/uuid.h>
#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <cstdint>
#include <optional>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

void require(const MarkupNode& node, std::string_view name) {
    if (node.name != name || node.hasText) {
        throw IrregularText("has unknown elements in override data");
    }
}

} // namespace

OverrideTree::OverrideTree(const std::string& text) : m_tree(text) {
    if (m_tree.tops().size() != 1 || root().name != ElementName::OVERRIDES || root().hasText) {
        throw IrregularText("is no override data");
    }
    for (const std::uint32_t index : m_tree.children(root())) {
        if (!isComment(m_tree.node(index))) {
            require(m_tree.node(index), ElementName::GAME_OBJECT);
            readObject(m_tree.node(index));
        }
    }
}

/// Collects a comment.
bool OverrideTree::isComment(const MarkupNode& node) {
    if (node.isComment()) {
        m_comments.emplace(m_tree.raw(node));
    }
    return node.isComment();
}

void OverrideTree::readObject(const MarkupNode& object) {
    std::string uuid;
    for (const std::uint32_t index : m_tree.children(object)) {
        const MarkupNode& child = m_tree.node(index);
        if (child.name == ElementName::UUID && uuid.empty()) {
            const std::string value = m_tree.value(child);
            const std::optional<Uuid> read = Uuid::fromString(trimWhiteSpace(value));
            uuid = read ? read->toString() : std::string();
        } else if (!isComment(child)) {
            require(child, ElementName::COMPONENT);
        }
    }
    if (uuid.empty()) {
        throw IrregularText("has override data without UUID");
    }
    for (const std::uint32_t index : m_tree.children(object)) {
        if (m_tree.node(index).name == ElementName::COMPONENT) {
            readComponent(uuid, object, m_tree.node(index));
        }
    }
}

void OverrideTree::readComponent(const std::string& uuid, const MarkupNode& object, const MarkupNode& component) {
    const MarkupNode* type = nullptr;
    const MarkupNode* properties = nullptr;
    for (const std::uint32_t index : m_tree.children(component)) {
        const MarkupNode& child = m_tree.node(index);
        if (isComment(child)) {
            continue;
        }
        if (child.name == ElementName::TYPE && !type) {
            type = &child;
        } else if (!properties) {
            require(child, ElementName::PROPERTIES);
            properties = &child;
        } else {
            throw IrregularText("has repeated elements in override data");
        }
    }
    if (!type || !properties) {
        throw IrregularText("has override data without type or properties");
    }
    for (const std::uint32_t index : m_tree.children(*properties)) {
        const MarkupNode& element = m_tree.node(index);
        if (isComment(element)) {
            continue;
        }
        m_properties.push_back(
            {{uuid, m_tree.value(*type), std::string(element.name)}, &object, &component, properties, &element});
    }
}

} // namespace Kiln::PrefabMerging
