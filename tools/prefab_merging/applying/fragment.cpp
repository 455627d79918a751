#include "fragment.h"

#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Kiln::PrefabMerging {

namespace ElementName = PrefabInspection::ElementName;

Fragment::Fragment(const std::string& text) : m_tree(text) {
    for (const std::uint32_t index : m_tree.tops()) {
        const MarkupNode& node = m_tree.node(index);
        if (node.name == ElementName::GAME_OBJECT) {
            m_object = m_tree.raw(node);
        } else if (node.name == ElementName::POOL) {
            addPool(node);
        }
    }
}

void Fragment::addPool(const MarkupNode& pool) {
    PoolFragment fragment;
    const MarkupNode* const type = m_tree.child(pool, ElementName::TYPE);
    const MarkupNode* const item = m_tree.child(pool, ElementName::ITEM);
    fragment.type = type ? m_tree.value(*type) : std::string();
    if (item) {
        fragment.header = part(m_tree.text(), {pool.content.begin, item->range.begin});
        fragment.item = m_tree.raw(*item);
    } else {
        fragment.header = part(m_tree.text(), pool.content);
    }
    m_pools.push_back(std::move(fragment));
}

bool Fragment::isRoot() const {
    const std::string& hierarchy = PrefabInspection::NestingTypes::get().hierarchyName;
    return std::none_of(m_pools.begin(), m_pools.end(),
                        [&hierarchy](const PoolFragment& pool) { return pool.type == hierarchy; });
}

std::string withIndex(std::string_view item, std::size_t index) {
    const MarkupTree tree(item);
    const MarkupNode* const element = tree.child(tree.node(tree.tops().front()), ElementName::GAME_OBJECT);
    std::string text(item);
    return element ? text.replace(element->content.begin, element->content.size(), std::to_string(index)) : text;
}

} // namespace Kiln::PrefabMerging
