#include <tessel_asset_loading/game_object_prefab.h>

#include <tessel_asset_loading/game_object_prefab/instance_creation.h>

#include <utility>

namespace Kiln::Tessel {

std::vector<GameObject> GameObjectPrefab::createGameObjects(CreateConfig& config) const {
    detail::InstanceCreation creation(*this, config);
    creation.step(detail::Deadline());
    return creation.takeObjects();
}

namespace {

using detail::InstanceGathering;

[[nodiscard]] InstanceGathering::Items toList(std::vector<GameObjectPrefab::GameObjectCreationItem>&& items) {
    InstanceGathering::Items list;
    for (GameObjectPrefab::GameObjectCreationItem& item : items) {
        list.push_back(std::move(item));
    }
    return list;
}

[[nodiscard]] std::vector<GameObjectPrefab::GameObjectCreationItem> toVector(InstanceGathering::Items&& list) {
    std::vector<GameObjectPrefab::GameObjectCreationItem> items;
    items.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        items.push_back(std::move(list[i]));
    }
    return items;
}

} // namespace

// The individual stages, each run to completion. Only tests call them.

bool GameObjectPrefab::gatherGameObjectsRecursively(std::vector<GameObjectCreationItem>& items,
                                                    const Uuid& instanceUuid, SmartPointer<OverrideRecords> overrides,
                                                    bool skipRoots, int depth) const {
    InstanceGathering::Items list = toList(std::move(items));
    InstanceGathering gathering(list);
    const bool isGathered = gathering.enter(*this, instanceUuid, std::move(overrides), skipRoots, depth) &&
                            gathering.visitNodes(detail::Deadline());
    items = toVector(std::move(list));
    return isGathered;
}

bool GameObjectPrefab::createGoInstances(std::vector<GameObjectCreationItem>& items, int worldId,
                                         std::vector<GameObject>& created, UuidMap& uuidMap) const {
    detail::InstanceCreation creation(*this, worldId, uuidMap, toList(std::move(items)));
    const bool isCreated = creation.createAllObjects();
    items = toVector(std::move(creation.m_items));
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
