#include <tessel_asset_loading/game_object_prefab/large_instance.h>

#include <array>

namespace Kiln::Tessel::detail::LargeInstance {

bool enterGroup(UuidMap& map, std::span<ItemObject> group) {
    // Each loop takes one step of the lookup for the whole group, so that the processor waits for all of them at once.
    std::array<std::size_t, GROUP_SIZE> buckets;
    std::array<UuidMap::const_local_iterator, GROUP_SIZE> firstEntries;
    for (std::size_t i = 0; i < group.size(); ++i) {
        buckets[i] = map.bucket(group[i].uuid);
        firstEntries[i] = map.cbegin(buckets[i]);
    }
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (firstEntries[i] != map.cend(buckets[i])) {
            ++firstEntries[i];
        }
    }
    for (ItemObject& itemObject : group) {
        const auto [entry, isNew] = map.try_emplace(itemObject.uuid);
        if (!isNew) {
            return false;
        }
        itemObject.entry = &entry->second;
    }
    return true;
}

} // namespace Kiln::Tessel::detail::LargeInstance
