#pragma once

#include <resource/data_node.h>

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabComparison {

/// Calls `onPair` for the elements of two lists that belong together, because they have the same name and the same
/// number among those of that name; with a null element for one that has no counterpart. The order of the lists is kept
/// where they agree, and elements that only the second one has come last.
template <class OnPair>
void forEachPair(const std::vector<DataNode>& a, const std::vector<DataNode>& b, const OnPair& onPair) {
    using Key = std::pair<std::string_view, std::size_t>;
    std::map<std::string_view, std::size_t> counts;
    std::map<Key, DataNode> unmatched;
    for (const DataNode element : b) {
        unmatched.emplace(Key(element.name(), counts[element.name()]++), element);
    }
    counts.clear();
    for (const DataNode element : a) {
        const auto other = unmatched.find({element.name(), counts[element.name()]++});
        onPair(element, other == unmatched.end() ? DataNode() : other->second);
        if (other != unmatched.end()) {
            unmatched.erase(other);
        }
    }
    counts.clear();
    for (const DataNode element : b) {
        if (unmatched.contains({element.name(), counts[element.name()]++})) {
            onPair(DataNode(), element);
        }
    }
}

[[nodiscard]] inline std::vector<DataNode> childrenOf(DataNode parent) {
    std::vector<DataNode> children;
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        children.push_back(child);
    }
    return children;
}

/// The same for the children of two elements, without an allocation if their names agree.
template <class OnPair>
void forEachChildPair(DataNode a, DataNode b, const OnPair& onPair) {
    DataNode childA = a.firstChild();
    DataNode childB = b.firstChild();
    while (childA && childB && childA.name() == childB.name()) {
        childA = childA.nextSibling();
        childB = childB.nextSibling();
    }
    if (childA || childB) {
        forEachPair(childrenOf(a), childrenOf(b), onPair);
        return;
    }
    childB = b.firstChild();
    for (childA = a.firstChild(); childA; childA = childA.nextSibling()) {
        onPair(childA, childB);
        childB = childB.nextSibling();
    }
}

} // namespace Kiln::PrefabComparison
