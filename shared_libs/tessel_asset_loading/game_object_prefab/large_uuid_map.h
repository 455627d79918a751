#pragma once

#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/game_object_prefab/item_object.h>

#include <cstddef>
#include <span>

/// What is done differently for large instances: the map of their UUIDs does not fit into the processor's nearest
/// caches, so most of the time of a lookup is spent waiting for memory. Their UUIDs are entered in advance and in
/// groups, so that the waiting times of a group overlap.
namespace Kiln::Tessel::detail::LargeUuidMap {

/// Number of objects from which an instance is large.
inline constexpr std::size_t MIN_OBJECTS = 4096;

/// Number of UUIDs to be entered together: more than the requests to memory that a processor has under way.
inline constexpr std::size_t GROUP_SIZE = 32;

/// Enters the UUIDs of at most GROUP_SIZE objects in a map and notes the entries. False when a UUID is in the map
/// already.
[[nodiscard]] bool enterGroup(UuidMap& map, std::span<ItemObject> group);

} // namespace Kiln::Tessel::detail::LargeUuidMap
