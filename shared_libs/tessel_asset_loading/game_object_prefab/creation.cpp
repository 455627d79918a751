#include <tessel_asset_loading/game_object_prefab.h>

#include <tessel_asset_loading/game_object_prefab/instance_creation.h>

#include <utility>

namespace Kiln::Tessel {

std::vector<GameObject> GameObjectPrefab::createGameObjects(CreateConfig& config) const {
    detail::InstanceCreation creation(*this, config);
    creation.step(detail::Deadline());
    return creation.takeObjects();
}

// The individual stages, each run to completion. Only tests call them.

bool GameObjectPrefab::gatherGameObjectsRecursively(std::vector<GameObjectCreationItem>& items,
                                                    const Uuid& instanceUuid, SmartPointer<OverrideRecords> overrides,
                                                    bool skipRoots, int depth) const {
    detail::InstanceGathering gathering(items);
    return gathering.enter(*this, instanceUuid, std::move(overrides), skipRoots, depth) &&
           gathering.visitNodes(detail::Deadline());
}

bool GameObjectPrefab::createGoInstances(std::vector<GameObjectCreationItem>& items, int worldId,
                                         std::vector<GameObject>& created, UuidMap& uuidMap) const {
    detail::InstanceCreation creation(*this, worldId, uuidMap, std::move(items));
    const bool isCreated = creation.createAllObjects();
    items = std::move(creation.m_items);
    created = std::exchange(creation.m_created, {});
    creation.m_itemObjects.clear(); // The objects are the caller's now.
    return isCreated;
}

void GameObjectPrefab::createComponentsAndUpdateFlags(const std::vector<GameObjectCreationItem>& items,
                                                      const UuidMap& uuidMap) const {
    detail::NestedRootIndex nestedRoots;
    for (const GameObjectCreationItem& item : items) {
        const GameObjectLink* const parent = item.descriptor->parentLink();
        const auto entry = uuidMap.find(Uuid::combine(item.instanceUuid, item.descriptor->uuid()));
        if (parent && parent->isLiveUuid() && entry != uuidMap.end()) {
            nestedRoots.add(item.instanceUuid, entry->second);
        }
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Uuid uuid = Uuid::combine(items[i].instanceUuid, items[i].descriptor->uuid());
        detail::InstanceCreation::completeObject(items[i], uuid, uuidMap.at(uuid), uuidMap, nestedRoots,
                                                 detail::InstanceCreation::findOverrides(items[i], i == 0));
    }
}

} // namespace Kiln::Tessel
