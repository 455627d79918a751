#include <tessel_asset_loading/game_object_prefab/instance_creation.h>

#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/game_object_prefab/large_instance.h>
#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>
#include <tessel_asset_loading/reporting/messages.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <algorithm>
#include <span>
#include <utility>

namespace Kiln::Tessel::detail {

namespace {

void reportFailure() {
    Report::error("Failed to create prefab instance.\n");
}

} // namespace

InstanceCreation::InstanceCreation(const GameObjectPrefab& prefab, GameObjectPrefab::CreateConfig& config)
    : InstanceCreation(prefab, config.worldId, config.uuidMap, {}) {
    m_stage = Stage::GATHERING;
    m_items.reserve(prefab.nodesCount());
    if (prefab.isEmpty() || !m_gathering.enter(prefab, config.instanceUuid, config.overrides, false, 0)) {
        m_stage = Stage::FAILED;
    }
}

InstanceCreation::InstanceCreation(const GameObjectPrefab& prefab, int worldId, UuidMap& uuidMap,
                                   InstanceGathering::Items items)
    : m_entryPoint(EntryPoint::instance()),
      m_spareNodes(SpareNodes::instance()),
      m_prefab(prefab),
      m_worldId(worldId),
      m_uuidMap(uuidMap),
      m_stage(Stage::DERIVING_UUIDS),
      m_items(std::move(items)) {}

InstanceCreation::~InstanceCreation() {
    if (!isFinished()) {
        rollBack();
    }
}

InstanceCreation::Stage InstanceCreation::step(const Deadline& deadline) {
    m_world = m_entryPoint.findValidWorld(m_worldId);
    if (!isFinished() && !m_created.empty() && !m_world) {
        fail();
    }
    if (m_stage == Stage::CREATING_COMPONENTS) {
        restoreOverrideFlags();
    }
    try {
        do {
            work(deadline);
        } while (!isFinished() && !deadline.hasPassed());
        if (!isFinished()) {
            saveOverrideFlags();
        }
    } catch (...) {
        rollBack();
        throw;
    }
    return m_stage;
}

void InstanceCreation::work(const Deadline& deadline) {
    switch (m_stage) {
    case Stage::GATHERING:
        return gather(deadline);
    case Stage::DERIVING_UUIDS:
        return deriveUuids(deadline);
    case Stage::ENTERING_UUIDS:
        return enterUuids(deadline);
    case Stage::CREATING_OBJECTS:
        createObjects(deadline);
        if (m_stage == Stage::FAILED) {
            failInstancing();
        }
        return;
    case Stage::CREATING_COMPONENTS:
        return createComponents(deadline);
    case Stage::SUCCEEDED:
    case Stage::FAILED:
        return;
    }
}

std::vector<GameObject> InstanceCreation::takeObjects() {
    if (m_stage != Stage::SUCCEEDED || m_itemObjects.empty()) {
        return {GameObject::INVALID_GAME_OBJECT};
    }
    m_itemObjects.clear(); // They are no longer this creation's to be rolled back.
    return std::move(m_created);
}

bool InstanceCreation::createAllObjects() {
    m_world = m_entryPoint.findValidWorld(m_worldId);
    deriveUuids(Deadline());
    if (m_stage == Stage::ENTERING_UUIDS) {
        enterUuids(Deadline());
    }
    createObjects(Deadline());
    return m_stage == Stage::CREATING_COMPONENTS;
}

void InstanceCreation::rollBack() noexcept {
    m_stage = Stage::FAILED;
    m_created.clear();
    GameObjectManager* const manager = getGameObjectManager(m_worldId);
    for (ItemObject& itemObject : m_itemObjects) {
        if (itemObject.isExternal || itemObject.object.isInvalid()) {
            continue;
        }
        if (const auto entry = m_uuidMap.find(itemObject.uuid);
            entry != m_uuidMap.end() && entry->second == itemObject.object) {
            m_uuidMap.erase(entry);
        }
        try {
            if (manager) {
                manager->removeGameObject(itemObject.object);
            }
        } catch (...) { // NOLINT(bugprone-empty-catch): the other objects are removed all the same.
        }
    }
    m_itemObjects.clear();
}

void InstanceCreation::fail() {
    reportFailure();
    rollBack();
}

/// All objects that instancing has listed are removed, also those of the caller's map that it has taken.
void InstanceCreation::failInstancing() {
    reportFailure();
    const std::vector<GameObject> created = std::exchange(m_created, {});
    m_itemObjects.clear();
    if (GameObjectManager* const manager = getGameObjectManager(m_worldId)) {
        for (const GameObject object : created) {
            manager->removeGameObject(object);
        }
    }
}

void InstanceCreation::enterStage(Stage stage) noexcept {
    m_stage = stage;
    m_nextItem = 0;
}

template <class Unit>
bool InstanceCreation::forEachItem(const Deadline& deadline, const Unit& unit) {
    while (m_nextItem < m_items.size()) {
        if (!unit(m_nextItem)) {
            return false;
        }
        ++m_nextItem;
        if (deadline.hasPassed()) {
            break;
        }
    }
    return m_nextItem == m_items.size();
}

void InstanceCreation::saveOverrideFlags() {
    for (; m_savedItemsCount < m_items.size(); ++m_savedItemsCount) {
        if (auto* const component = findPrefabDescriptor(*m_items[m_savedItemsCount].descriptor)) {
            m_overrideFlags.push_back({component, component->prefabProperties().hasOverrides});
        }
    }
}

void InstanceCreation::restoreOverrideFlags() const {
    for (const OverrideFlag& flag : m_overrideFlags) {
        flag.component->setState(&PrefabComponent::Config::hasOverrides, flag.hasOverrides);
    }
}

void InstanceCreation::gather(const Deadline& deadline) {
    if (!m_gathering.visitNodes(deadline)) {
        fail();
        return;
    }
    if (m_gathering.isFinished()) {
        enterStage(Stage::DERIVING_UUIDS);
    }
}

inline Uuid InstanceCreation::deriveUuid(const Item& item) {
    if (!m_combiner || m_combiner->first() != item.instanceUuid) {
        m_combiner.emplace(item.instanceUuid);
    }
    return (*m_combiner)(item.descriptor->uuid());
}

void InstanceCreation::deriveUuids(const Deadline& deadline) {
    m_itemObjects.reserve(m_items.size());
    const bool isComplete = forEachItem(deadline, [this](std::size_t index) {
        const Item& item = m_items[index];
        const GameObjectLink* const parent = item.descriptor->parentLink();
        // The descriptor that stands for a nested prefab's root is the only one whose parent is given as a live UUID.
        m_itemObjects.push_back(
            {deriveUuid(item), GameObject::INVALID_GAME_OBJECT, nullptr, !parent, parent && parent->isLiveUuid()});
        return true;
    });
    if (isComplete) {
        const bool isLarge = m_items.size() >= LargeInstance::MIN_OBJECTS && m_uuidMap.empty();
        enterStage(isLarge ? Stage::ENTERING_UUIDS : Stage::CREATING_OBJECTS);
    }
}

void InstanceCreation::enterUuids(const Deadline& deadline) {
    m_areUuidsEntered = true;
    while (m_nextItem < m_itemObjects.size()) {
        const std::size_t count = std::min(LargeInstance::GROUP_SIZE, m_itemObjects.size() - m_nextItem);
        if (!LargeInstance::enterGroup(m_usedUuids, std::span(m_itemObjects).subspan(m_nextItem, count))) {
            // Start over without groups: adding the UUIDs one by one finds the conflict at the item that must report
            // it.
            m_usedUuids = UuidMap(8);
            m_areUuidsEntered = false;
            break;
        }
        m_nextItem += count;
        if (deadline.hasPassed()) {
            break;
        }
    }
    if (!m_areUuidsEntered || m_nextItem == m_itemObjects.size()) {
        enterStage(Stage::CREATING_OBJECTS);
    }
}

void InstanceCreation::createObjects(const Deadline& deadline) {
    const GameObjectPrefabScope<"createGoInstances"> scope(716);
    if (m_created.empty()) {
        m_created.reserve(m_items.size());
        m_created.push_back(GameObject::INVALID_GAME_OBJECT); // The root's position.
    }
    bool isCreated = true;
    const bool isComplete =
        forEachItem(deadline, [this, &isCreated](std::size_t index) { return isCreated = createObject(index); });
    if (isComplete) {
        isCreated = completeObjects();
    }
    if (!isCreated) {
        m_stage = Stage::FAILED;
    } else if (isComplete) {
        enterStage(Stage::CREATING_COMPONENTS);
    }
}

inline bool InstanceCreation::createObject(std::size_t index) {
    ItemObject& itemObject = m_itemObjects[index];
    const auto external = m_uuidMap.empty() ? m_uuidMap.end() : m_uuidMap.find(itemObject.uuid);
    const bool isExternal = external != m_uuidMap.end();
    itemObject.isExternal = isExternal;
    if (isExternal) {
        itemObject.object = external->second;
    } else if (m_world) {
        itemObject.object = m_items[index].descriptor->createGameObject(*m_world);
    }
    if (enterUuid(index, isExternal) && appendObject(itemObject)) {
        return true;
    }
    if (!isExternal) {
        m_created.push_back(itemObject.object); // To be removed with the others.
    }
    return false;
}

inline bool InstanceCreation::enterUuid(std::size_t index, bool isExternal) {
    const ItemObject& itemObject = m_itemObjects[index];
    if (m_areUuidsEntered) {
        *itemObject.entry = itemObject.object;
        return true;
    }
    if (m_spareNodes.emplace(m_usedUuids, itemObject.uuid, itemObject.object).second) {
        return true;
    }
    Report::error("UUID conflict detected. Trying to generate new instance UUID.");
    if (isExternal) {
        Report::error("This conflict can't be resolved because of external uuid map");
        return false;
    }
    return repairConflict(index);
}

bool InstanceCreation::repairConflict(std::size_t index) {
    m_isRepaired = true;
    const Uuid newInstanceUuid = m_prefab.generateNewInstanceUuid(m_items, m_usedUuids, m_items[index].instanceUuid);
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].instanceUuid == newInstanceUuid) {
            m_itemObjects[i].uuid = deriveUuid(m_items[i]);
        }
    }
    const ItemObject& itemObject = m_itemObjects[index];
    if (!m_usedUuids.try_emplace(itemObject.uuid, itemObject.object).second) {
        Report::error("Failed to workaround UUID conflict. Check content for Game Objects with duplicate UUIDs.");
        return false;
    }
    return true;
}

inline bool InstanceCreation::appendObject(const ItemObject& itemObject) {
    if (!itemObject.isRoot) {
        m_created.push_back(itemObject.object);
        return true;
    }
    if (!m_created.front().isInvalid()) {
        Report::error("Game Objects hierarchy has more than one root.");
        return false;
    }
    m_created.front() = itemObject.object;
    return true;
}

bool InstanceCreation::completeObjects() {
    if (m_created.front().isInvalid()) {
        Report::error("Game Objects hierarchy doesn't have root.");
        return false;
    }
    // Move the entries to the caller's map. A UUID that is already there keeps its object.
    if (m_uuidMap.empty()) {
        m_uuidMap.swap(m_usedUuids);
    } else {
        m_uuidMap.merge(m_usedUuids);
    }
    if (m_isRepaired) { // Entries have moved to other UUIDs.
        for (ItemObject& itemObject : m_itemObjects) {
            itemObject.object = m_uuidMap.at(itemObject.uuid);
        }
    }
    return true;
}

inline void InstanceCreation::createComponents(std::size_t index) {
    const Item& item = m_items[index];
    const ItemObject& itemObject = m_itemObjects[index];
    const GameObject object = itemObject.object;
    const GameObjectOverrideRecords* const overrides = findOverrides(item, index == 0);
    // A component may destroy the world; an object of the caller's map may be in another world.
    if (!m_objectCreation || object.getWorldId() != m_worldId || !m_entryPoint.isWorldValid(m_worldId)) {
        completeObject(item, itemObject.uuid, object, m_uuidMap, m_nestedRoots, overrides);
        return;
    }
    if (index == 0 || m_objectCreation->instanceUuid() != item.instanceUuid) {
        m_objectCreation->enterInstance(item.instanceUuid);
        // The first object of an instance is usually the parent of the next one.
        m_objectCreation->documentTarget().note(item.descriptor->uuid(), object);
    }
    if (m_items.size() >= LargeInstance::MIN_OBJECTS) {
        const std::size_t parent = m_parentGuess.find(m_items, index);
        if (parent != LargeInstance::ParentGuess::NONE) {
            m_objectCreation->documentTarget().note(m_items[parent].descriptor->uuid(), m_itemObjects[parent].object);
        }
    }
    item.descriptor->createComponents(*m_objectCreation, object, itemObject.uuid, overrides);
    item.descriptor->updateStateFlags(*m_world, object);
}

void InstanceCreation::createComponents(const Deadline& deadline) {
    if (m_nextItem == 0 && m_world) {
        m_objectCreation.emplace(*m_world, m_uuidMap, m_items.front().instanceUuid, &m_nestedRoots);
    }
    const bool isComplete = forEachItem(deadline, [this](std::size_t index) {
        createComponents(index);
        return true;
    });
    if (isComplete) {
        m_stage = Stage::SUCCEEDED;
    }
}

void InstanceCreation::completeObject(const Item& item, const Uuid& uuid, GameObject object, const UuidMap& uuidMap,
                                      INestedRoots& nestedRoots, const GameObjectOverrideRecords* overrides) {
    if (World* const world = EntryPoint::instance().findValidWorld(object.getWorldId())) {
        ObjectCreation creation(*world, uuidMap, item.instanceUuid, &nestedRoots);
        item.descriptor->createComponents(creation, object, uuid, overrides);
        item.descriptor->updateStateFlags(object);
    }
}

GameObject InstanceCreation::NestedRoots::findNestedRoot(const Uuid& nestedInstanceUuid) {
    if (!m_index) {
        m_index.emplace();
        for (std::size_t i = 0; i < m_creation.m_items.size(); ++i) {
            if (m_creation.m_itemObjects[i].isNestedRoot) {
                m_index->add(m_creation.m_items[i].instanceUuid, m_creation.m_itemObjects[i].object);
            }
        }
    }
    return m_index->findNestedRoot(nestedInstanceUuid);
}

} // namespace Kiln::Tessel::detail
