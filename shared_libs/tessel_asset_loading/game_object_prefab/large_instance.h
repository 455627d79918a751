#pragma once

#include <object_framework/link_config.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/game_object_prefab/instance_gathering.h>
#include <tessel_asset_loading/game_object_prefab/item_object.h>

#include <cstddef>
#include <span>

/// Special handling of large instances: the map of their UUIDs does not fit into the processor's nearest caches, so
/// most of the time of a lookup is spent waiting for memory. Their UUIDs are entered in advance and in groups, so that
/// the waiting times of a group overlap, and parents are found without the map.
namespace Kiln::Tessel::detail::LargeInstance {

/// An instance is large if it has at least this number of objects.
inline constexpr std::size_t MIN_OBJECTS = 4096;

/// Number of UUIDs added together: more than the number of memory requests that a processor has in flight.
inline constexpr std::size_t GROUP_SIZE = 32;

/// Adds the UUIDs of at most GROUP_SIZE objects to a map and stores pointers to the new entries. False when a UUID is
/// already in the map.
[[nodiscard]] bool enterGroup(UuidMap& map, std::span<ItemObject> group);

/// Finds the parents of items without a lookup in documents that list the children of one parent next to each other,
/// followed by the children of the item after the parent (breadth first) or of the last child (depth first). A parent
/// that is not found has to be looked up in the map.
class ParentGuess {
public:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    /// Index of the parent of item `child`; NONE when it is not among the candidates. To be called for one item after
    /// the other, before the components of `child` are created.
    [[nodiscard]] std::size_t find(const InstanceGathering::Items& items, std::size_t child) noexcept {
        const GameObjectLink* const link = items[child].descriptor->parentLink();
        if (!link || link->isLiveUuid()) {
            return NONE;
        }
        for (const std::size_t candidate : {m_last, m_last + 1, child - 1}) {
            if (candidate < items.size() && items[candidate].descriptor->uuid() == link->uuid() &&
                items[candidate].instanceUuid == items[child].instanceUuid) {
                m_last = candidate;
                return candidate;
            }
        }
        return NONE;
    }

private:
    std::size_t m_last = 0; ///< Index of the parent that was found last.
};

} // namespace Kiln::Tessel::detail::LargeInstance
