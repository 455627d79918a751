#pragma once

#include <tessel_streaming/instances/followed_instance.h>
#include <tessel_streaming/updates/document_change.h>
#include <tessel_streaming/updates/instance_shapes.h>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// The changed nodes of several documents, by their older descriptors. Main thread.
class NodeChanges : NonCopyable {
public:
    /// The change must outlive this.
    void add(const NodeChange& change);

    /// Null for a descriptor that has not changed.
    [[nodiscard]] const NodeChange* find(const GameObjectDescriptor* older) const {
        if (m_changes.size() <= MAX_SEARCHED) {
            for (const NodeChange* const change : m_changes) {
                if (change->older.get() == older) {
                    return change;
                }
            }
            return nullptr;
        }
        const auto found = m_index.find(older);
        return found == m_index.end() ? nullptr : found->second;
    }

    /// Whether a component that has changed has links.
    [[nodiscard]] bool haveLinks() const noexcept { return m_haveLinks; }

private:
    static constexpr std::size_t MAX_SEARCHED = 4; ///< Most updates change few nodes, which are faster to compare with.

    std::vector<const NodeChange*> m_changes;
    std::unordered_map<const GameObjectDescriptor*, const NodeChange*> m_index;
    bool m_haveLinks = false;
};

/// The items of an instance whose descriptors have changed.
struct ItemChange {
    std::size_t item;
    const NodeChange* change;
};
using ItemChanges = std::vector<ItemChange>;

/// Replaces the changed descriptors of a shape, and returns them.
[[nodiscard]] ItemChanges replaceDescriptors(InstanceShape& shape, const NodeChanges& changes);

/// The same for an instance without shape.
[[nodiscard]] ItemChanges replaceDescriptors(FollowedInstance& instance, const NodeChanges& changes);

/// Updates the objects of an instance of which only the values of nodes have changed. Adds those that have changed to
/// `changed` unless that is null.
void applyValues(const Followed& instance, const ItemChanges& items, bool haveLinks, std::vector<GameObject>* changed);

/// Stamps and places the root again if its components of these kinds were replaced.
void finishRoot(const FollowedInstance& instance, bool isTransformReplaced, bool isPrefabComponentReplaced);

} // namespace Kiln::Tessel::Streaming::detail
