#include <tessel_asset_loading/game_object_prefab.h>

#include <core/stack_tracker.h>
#include <object_framework/game_object_manager.h>
#include <object_framework/hierarchy_component.h>
#include <tessel_asset_loading/detail/reporting.h>

namespace Kiln::Tessel {

namespace {

[[nodiscard]] std::vector<GameObject> failedCreation() {
    Report::error("Failed to create prefab instance.\n");
    return {GameObject::INVALID_GAME_OBJECT};
}

void removeAll(int worldId, const std::vector<GameObject>& objects) {
    if (GameObjectManager* const manager = getGameObjectManager(worldId)) {
        for (const GameObject object : objects) {
            manager->removeGameObject(object);
        }
    }
}

/// The overrides of one object. The zero UUID stands for the root in data that does not know its UUID: the first item.
[[nodiscard]] const GameObjectOverrideRecords* findOverrides(const GameObjectPrefab::GameObjectCreationItem& item,
                                                             bool isFirstItem) {
    if (!item.overrides) {
        return nullptr;
    }
    const GameObjectOverrideRecords* const record = item.overrides->getRecord(item.descriptor->uuid());
    return !record && isFirstItem ? item.overrides->getRecord(Uuid::ZERO) : record;
}

} // namespace

std::vector<GameObject> GameObjectPrefab::createGameObjects(CreateConfig& config) const {
    if (isEmpty()) {
        return {GameObject::INVALID_GAME_OBJECT};
    }
    std::vector<GameObjectCreationItem> items;
    if (!gatherGameObjectsRecursively(items, config.instanceUuid, config.overrides, false, 0)) {
        return failedCreation();
    }
    std::vector<GameObject> created;
    if (!createGoInstances(items, config.worldId, created, config.uuidMap)) {
        std::vector<GameObject> result = failedCreation();
        removeAll(config.worldId, created);
        return result;
    }
    createComponentsAndUpdateFlags(items, config.uuidMap);
    return created;
}

bool GameObjectPrefab::createGoInstances(std::vector<GameObjectCreationItem>& items, int worldId,
                                         std::vector<GameObject>& created, ObjectsByUuid& uuidMap) const {
    const StackTrackerScope tracker("Kiln::Tessel::GameObjectPrefab::createGoInstances",
                                    Report::GAME_OBJECT_PREFAB_SOURCE, 716);
    const ComponentTypeId hierarchyType = NativeComponent<HierarchyComponent>::getType();
    created.reserve(items.size());
    created.push_back(GameObject::INVALID_GAME_OBJECT); // Place of the root.

    ObjectsByUuid objects(8); // UUIDs used by this creation.
    for (const GameObjectCreationItem& item : items) {
        const Uuid uuid = Uuid::combine(item.instanceUuid, item.descriptor->uuid());
        const auto external = uuidMap.find(uuid);
        const bool isExternal = external != uuidMap.end();
        const GameObject object = isExternal ? external->second : item.descriptor->createGameObject(worldId);
        const auto fail = [&created, object, isExternal] {
            if (!isExternal) {
                created.push_back(object); // To be removed with the others.
            }
            return false;
        };

        if (!objects.try_emplace(uuid, object).second) {
            Report::error("UUID conflict detected. Trying to generate new instance UUID.");
            if (isExternal) {
                Report::error("This conflict can't be resolved because of external uuid map");
                return false;
            }
            const Uuid newInstanceUuid = generateNewInstanceUuid(items, objects, item.instanceUuid);
            if (!objects.try_emplace(Uuid::combine(newInstanceUuid, item.descriptor->uuid()), object).second) {
                Report::error("Failed to workaround UUID conflict. Check content for Game Objects with duplicate "
                              "UUIDs.");
                return fail();
            }
        }

        if (item.descriptor->hasComponent(hierarchyType)) {
            created.push_back(object);
        } else if (created.front().isInvalid()) {
            created.front() = object;
        } else {
            Report::error("Game Objects hierarchy has more than one root.");
            return fail();
        }
    }
    if (created.front().isInvalid()) {
        Report::error("Game Objects hierarchy doesn't have root.");
        return false;
    }
    uuidMap.insert(objects.begin(), objects.end());
    return true;
}

void GameObjectPrefab::createComponentsAndUpdateFlags(const std::vector<GameObjectCreationItem>& items,
                                                      const ObjectsByUuid& uuidMap) const {
    for (const GameObjectCreationItem& item : items) {
        const GameObjectOverrideRecords* const overrides = findOverrides(item, &item == &items.front());
        const GameObject object = uuidMap.at(Uuid::combine(item.instanceUuid, item.descriptor->uuid()));
        item.descriptor->createComponents(object, item.instanceUuid, uuidMap, overrides);
        item.descriptor->updateStateFlags(object);
    }
}

} // namespace Kiln::Tessel
