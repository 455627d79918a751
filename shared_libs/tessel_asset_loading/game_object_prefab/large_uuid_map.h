#pragma once

#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/game_object_prefab/item_object.h>

#include <cstddef>
#include <span>

/// Special handling of large instances: the map of their UUIDs does not fit into the processor's nearest
/// caches, so most of the time of a lookup is spent waiting for memory. Their UUIDs are entered in advance and in
/// groups, so that the waiting times of a group overlap.
namespace Kiln::Tessel::detail::LargeUuidMap {

/// An instance is large if it has at least this number of objects.
inline constexpr std::size_t MIN_OBJECTS = 4096;

/// Number of UUIDs added together: more than the number of memory requests that a processor has in flight.
inline constexpr std::size_t GROUP_SIZE = 32;

/// Adds the UUIDs of at most GROUP_SIZE objects to a map and stores pointers to the new entries. False when a UUID is
/// already in the map.
[[nodiscard]] bool enterGroup(UuidMap& map, std::span<ItemObject> group);

} // namespace Kiln::Tessel::detail::LargeUuidMap
