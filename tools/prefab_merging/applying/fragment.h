#pragma once

#include "../markup.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// A pool of the fragments that describe components, see KeyedDocument::fragment().
struct PoolFragment {
    std::string type;
    std::string_view header; ///< The elements before the item.
    std::string_view item;   ///< Empty if there is none.
};

/// The pools of a fragment and, for a game object, its element. The text must outlive it. Throws IrregularText.
class Fragment {
public:
    explicit Fragment(const std::string& text);

    [[nodiscard]] std::string_view object() const noexcept { return m_object; } ///< Empty if there is none.
    [[nodiscard]] const std::vector<PoolFragment>& pools() const noexcept { return m_pools; }
    [[nodiscard]] bool isRoot() const; ///< Whether it is a game object without parent component.

private:
    void addPool(const MarkupNode& pool);

    MarkupTree m_tree;
    std::string_view m_object;
    std::vector<PoolFragment> m_pools;
};

/// An item with another index of its game object.
[[nodiscard]] std::string withIndex(std::string_view item, std::size_t index);

} // namespace Kiln::PrefabMerging
