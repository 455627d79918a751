#pragma once

#include "markup.h"
#include "place.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// The elements of an override text, without anything that can't be merged by key. The text must outlive it.
class OverrideTree {
public:
    /// Throws IrregularText.
    explicit OverrideTree(const std::string& text);

    struct Property {
        OverrideKey key;
        const MarkupNode* object;
        const MarkupNode* component;
        const MarkupNode* properties;
        const MarkupNode* element;
    };

    [[nodiscard]] const MarkupTree& tree() const noexcept { return m_tree; }
    [[nodiscard]] const MarkupNode& root() const { return m_tree.node(m_tree.tops().front()); }
    [[nodiscard]] const std::vector<Property>& properties() const noexcept { return m_properties; }
    [[nodiscard]] const std::multiset<std::string>& comments() const noexcept { return m_comments; }

private:
    [[nodiscard]] bool isComment(const MarkupNode& node);
    void readObject(const MarkupNode& object);
    void readComponent(const std::string& uuid, const MarkupNode& object, const MarkupNode& component);

    MarkupTree m_tree;
    std::vector<Property> m_properties;
    std::multiset<std::string> m_comments;
};

} // namespace Kiln::PrefabMerging
