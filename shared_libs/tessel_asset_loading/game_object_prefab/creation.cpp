#include <tessel_asset_loading/game_object_prefab.h>

#include <core/stack_tracker.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/detail/object_map.h>
#include <tessel_asset_loading/detail/parent_guess.h>
#include <tessel_asset_loading/detail/reporting.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace Kiln::Tessel {

namespace {

/// Objects whose map does not stay in the processor's nearest caches.
constexpr std::size_t LARGE_INSTANCE = 4096;

/// UUIDs that are looked up in such a map at the same time: more than the processor has requests to memory under way.
constexpr std::size_t LOOKED_UP_TOGETHER = 32;

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
    items.reserve(m_nodes.size());
    if (!gatherGameObjectsRecursively(items, config.instanceUuid, config.overrides, false, 0)) {
        return failedCreation();
    }
    std::vector<GameObject> created;
    std::vector<CreatedObject> createdItems = deriveUuids(items);
    if (!createGoInstances(items, config.worldId, created, config.uuidMap, createdItems)) {
        std::vector<GameObject> result = failedCreation();
        removeAll(config.worldId, created);
        return result;
    }
    createComponentsAndUpdateFlags(items, createdItems, config.worldId, config.uuidMap);
    return created;
}

std::vector<GameObjectPrefab::CreatedObject>
GameObjectPrefab::deriveUuids(const std::vector<GameObjectCreationItem>& items) {
    std::vector<CreatedObject> objects;
    objects.reserve(items.size());
    std::optional<UuidCombiner> instance;
    for (const GameObjectCreationItem& item : items) {
        if (!instance || instance->first() != item.instanceUuid) {
            instance.emplace(item.instanceUuid);
        }
        objects.push_back({(*instance)(item.descriptor->uuid()), item.descriptor->parentLink(), {}});
    }
    return objects;
}

bool GameObjectPrefab::enterUuids(std::vector<CreatedObject>& createdItems, UuidMap& objects) {
    std::array<std::size_t, LOOKED_UP_TOGETHER> buckets;
    std::array<UuidMap::const_local_iterator, LOOKED_UP_TOGETHER> places;
    for (std::size_t begin = 0; begin < createdItems.size(); begin += LOOKED_UP_TOGETHER) {
        const std::span group =
            std::span(createdItems).subspan(begin, std::min(LOOKED_UP_TOGETHER, createdItems.size() - begin));
        // Step by step for the whole group what a look-up does for one UUID, so that the processor waits for all of
        // them at once.
        for (std::size_t i = 0; i < group.size(); ++i) {
            buckets[i] = objects.bucket(group[i].uuid);
            places[i] = objects.cbegin(buckets[i]);
        }
        for (std::size_t i = 0; i < group.size(); ++i) {
            if (places[i] != objects.cend(buckets[i])) {
                ++places[i];
            }
        }
        for (CreatedObject& item : group) {
            const auto [entry, isNew] = objects.try_emplace(item.uuid);
            if (!isNew) {
                objects = UuidMap(8);
                return false;
            }
            item.entry = &entry->second;
        }
    }
    return true;
}

bool GameObjectPrefab::createGoInstances(std::vector<GameObjectCreationItem>& items, int worldId,
                                         std::vector<GameObject>& created, UuidMap& uuidMap,
                                         std::vector<CreatedObject>& createdItems) const {
    const StackTrackerScope tracker("Kiln::Tessel::GameObjectPrefab::createGoInstances",
                                    Report::GAME_OBJECT_PREFAB_SOURCE, 716);
    World* const world = EntryPoint::instance().findValidWorld(worldId);
    created.reserve(items.size());
    created.push_back(GameObject::INVALID_GAME_OBJECT); // Place of the root.

    UuidMap objects(8); // UUIDs used by this creation.
    const bool areEntered = items.size() >= LARGE_INSTANCE && uuidMap.empty() && enterUuids(createdItems, objects);
    SpareNodes& nodes = SpareNodes::instance();
    bool isRepaired = false;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const GameObjectCreationItem& item = items[i];
        const Uuid uuid = createdItems[i].uuid;
        const auto external = uuidMap.empty() ? uuidMap.end() : uuidMap.find(uuid);
        const bool isExternal = external != uuidMap.end();
        const GameObject object = isExternal ? external->second
                                  : world    ? item.descriptor->createGameObject(*world, createdItems[i].parentLink)
                                             : GameObject::INVALID_GAME_OBJECT;
        const auto fail = [&created, object, isExternal] {
            if (!isExternal) {
                created.push_back(object); // To be removed with the others.
            }
            return false;
        };

        createdItems[i].object = object;
        if (areEntered) {
            *createdItems[i].entry = object;
        } else if (!nodes.emplace(objects, uuid, object).second) {
            Report::error("UUID conflict detected. Trying to generate new instance UUID.");
            if (isExternal) {
                Report::error("This conflict can't be resolved because of external uuid map");
                return false;
            }
            isRepaired = true;
            const Uuid newInstanceUuid = generateNewInstanceUuid(items, objects, item.instanceUuid);
            createdItems = deriveUuids(items);
            if (!objects.try_emplace(Uuid::combine(newInstanceUuid, item.descriptor->uuid()), object).second) {
                Report::error("Failed to workaround UUID conflict. Check content for Game Objects with duplicate "
                              "UUIDs.");
                return fail();
            }
        }

        if (createdItems[i].parentLink) {
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
    // The nodes change hands; a UUID that the map has already keeps its object.
    if (uuidMap.empty()) {
        uuidMap.swap(objects);
    } else {
        uuidMap.merge(objects);
    }
    if (isRepaired) { // Entries have moved to other UUIDs.
        for (CreatedObject& item : createdItems) {
            item.object = uuidMap.at(item.uuid);
        }
    }
    return true;
}

void GameObjectPrefab::createComponentsAndUpdateFlags(const std::vector<GameObjectCreationItem>& items,
                                                      const std::vector<CreatedObject>& createdItems, int worldId,
                                                      const UuidMap& uuidMap) const {
    const EntryPoint& entryPoint = EntryPoint::instance();
    World* const world = entryPoint.findValidWorld(worldId);
    std::optional<ObjectCreation> creation;
    if (world) {
        creation.emplace(*world, uuidMap, items.front().instanceUuid);
    }
    ParentGuess parents(items);
    const bool isLarge = items.size() >= LARGE_INSTANCE;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const GameObjectCreationItem& item = items[i];
        const Uuid& uuid = createdItems[i].uuid;
        const GameObject object = createdItems[i].object;
        const GameObjectOverrideRecords* const overrides = findOverrides(item, i == 0);
        // A component may destroy the world; an object of the caller's map may be of another one.
        if (!world || object.getWorldId() != worldId || !entryPoint.isWorldValid(worldId)) {
            item.descriptor->createComponents(object, item.instanceUuid, uuidMap, overrides);
            item.descriptor->updateStateFlags(object);
            continue;
        }
        if (i == 0 || creation->instanceUuid() != item.instanceUuid) {
            creation->enterInstance(item.instanceUuid);
            // As a rule, where an instance begins, the next object is this one's child.
            creation->documentTarget().note(item.descriptor->uuid(), object);
        }
        // A small map has the parent as fast.
        if (const std::size_t parent = isLarge ? parents.find(i) : ParentGuess::NONE; parent != ParentGuess::NONE) {
            creation->documentTarget().note(items[parent].descriptor->uuid(), createdItems[parent].object);
        }
        item.descriptor->createComponents(*creation, object, uuid, overrides);
        item.descriptor->updateStateFlags(*world, object);
    }
}

} // namespace Kiln::Tessel
