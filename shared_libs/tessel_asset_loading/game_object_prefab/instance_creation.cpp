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

/// Makes room for a number of entries in advance: a map that grows moves all its entries at once. Unlike
/// UuidMap::reserve(), never makes the map smaller.
void makeRoom(UuidMap& map, std::size_t count) {
    if (static_cast<float>(map.bucket_count()) * map.max_load_factor() < static_cast<float>(count)) {
        map.reserve(count);
    }
}

/// `manager` is null when the world does not exist any more.
void removeObject(GameObjectManager* manager, GameObject object) noexcept {
    try {
        if (manager) {
            manager->removeGameObject(object);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): the other objects are removed all the same.
    }
}

} // namespace

InstanceCreation::InstanceCreation(const GameObjectPrefab& prefab, GameObjectPrefab::CreateConfig& config,
                                   INestedPrefabs* nestedPrefabs)
    : InstanceCreation(prefab, config.worldId, config.uuidMap, {}, nestedPrefabs) {
    m_stage = Stage::GATHERING;
    m_items.reserve(prefab.nodesCount());
    if (prefab.isEmpty() || !m_gathering.enter(prefab, config.instanceUuid, config.overrides, false, 0)) {
        m_stage = Stage::FAILED;
    }
}

InstanceCreation::InstanceCreation(const GameObjectPrefab& prefab, int worldId, UuidMap& uuidMap,
                                   InstanceGathering::Items items, INestedPrefabs* nestedPrefabs)
    : m_entryPoint(EntryPoint::instance()),
      m_spareNodes(SpareNodes::instance()),
      m_prefab(prefab),
      m_worldId(worldId),
      m_uuidMap(uuidMap),
      m_stage(Stage::DERIVING_UUIDS),
      m_items(std::move(items)),
      m_gathering(m_items, nestedPrefabs) {}

InstanceCreation::~InstanceCreation() {
    if (!isFinished()) {
        rollBack();
    }
}

InstanceCreation::Stage InstanceCreation::step(const Deadline& deadline, Stage pauseBefore) {
    m_world = m_entryPoint.findValidWorld(m_worldId);
    if (!isFinished() && m_stage != Stage::REMOVING && !m_created.empty() && !m_world) {
        fail();
    }
    try {
        do {
            work(deadline);
        } while (m_stage < pauseBefore && !isFinished() && !deadline.hasPassed());
    } catch (...) {
        m_failedComponent = findMissingComponent();
        rollBack(deadline);
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
            reportFailure();
            startRemoval(true);
        }
        return;
    case Stage::CREATING_COMPONENTS:
        return createComponents(deadline);
    case Stage::REMOVING:
        return removeObjects(deadline);
    case Stage::SUCCEEDED:
    case Stage::FAILED:
        return;
    }
}

std::vector<GameObject> InstanceCreation::takeObjects() {
    if (m_stage != Stage::SUCCEEDED || m_areObjectsTaken) {
        return {GameObject::INVALID_GAME_OBJECT};
    }
    m_areObjectsTaken = true; // They are no longer this creation's to be rolled back.
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

bool InstanceCreation::rollBack(const Deadline& deadline) noexcept {
    if (m_areObjectsTaken) {
        m_stage = Stage::FAILED;
    }
    if (m_stage == Stage::FAILED) {
        return true;
    }
    startRemoval(false);
    if (m_stage == Stage::REMOVING) {
        removeObjects(deadline);
    }
    return m_stage == Stage::FAILED;
}

SmartPointer<IComponentDescriptor> InstanceCreation::findMissingComponent() const {
    const GameObjectManager* const manager = getGameObjectManager(m_worldId);
    if (m_stage != Stage::CREATING_COMPONENTS || m_nextItem == m_items.size() || !manager) {
        return nullptr;
    }
    const GameObject object = m_itemObjects[m_nextItem].object;
    for (const SmartPointer<IComponentDescriptor>& component : m_items[m_nextItem].descriptor->components()) {
        if (!manager->hasComponent(object, component->type())) {
            return component;
        }
    }
    return nullptr;
}

void InstanceCreation::fail() {
    reportFailure();
    startRemoval(false);
}

void InstanceCreation::startRemoval(bool isInstancing) noexcept {
    if (m_stage == Stage::REMOVING) {
        return;
    }
    enterStage(Stage::REMOVING);
    if (isInstancing) {
        m_itemObjects.clear();
    } else {
        m_created.clear();
    }
    if (m_areMapsSwapped) {
        m_uuidMap.merge(m_usedUuids); // These entries are the caller's, and the map has room for them.
        m_areMapsSwapped = false;
    }
    if (m_created.empty() && m_itemObjects.empty()) {
        m_stage = Stage::FAILED;
    }
}

void InstanceCreation::removeObjects(const Deadline& deadline) noexcept {
    GameObjectManager* const manager = getGameObjectManager(m_worldId);
    do {
        for (std::size_t i = 0; i < REMOVAL_GROUP; ++i) {
            if (!m_descendants.empty()) {
                removeDescendant(manager);
            } else if (m_nextItem < m_created.size()) {
                removeObject(manager, m_created[m_nextItem++]);
            } else if (!m_itemObjects.empty()) {
                removeLastItem(manager);
            } else {
                m_created.clear();
                m_stage = Stage::FAILED;
                return;
            }
        }
    } while (!deadline.hasPassed());
}

void InstanceCreation::removeLastItem(GameObjectManager* manager) noexcept {
    const ItemObject itemObject = m_itemObjects.back();
    const bool isOwn = !itemObject.isExternal && !itemObject.object.isInvalid();
    if (isOwn && !m_areDescendantsRemoved && listChildren(manager, itemObject.object)) {
        m_areDescendantsRemoved = true; // Before this item is the last one again.
        return;
    }
    m_areDescendantsRemoved = false;
    m_itemObjects.pop_back();
    if (!isOwn) {
        return;
    }
    if (const auto entry = m_uuidMap.find(itemObject.uuid);
        entry != m_uuidMap.end() && entry->second == itemObject.object) {
        m_uuidMap.erase(entry);
    }
    removeObject(manager, itemObject.object);
}

void InstanceCreation::removeDescendant(GameObjectManager* manager) noexcept {
    if (m_listedDescendants < m_descendants.size()) {
        listChildren(manager, m_descendants[m_listedDescendants++]);
        return;
    }
    removeObject(manager, m_descendants.back());
    m_descendants.pop_back();
    m_listedDescendants = m_descendants.size();
}

bool InstanceCreation::listChildren(const GameObjectManager* manager, GameObject object) noexcept {
    try {
        const std::vector<GameObject> children = manager ? manager->getChildren(object) : std::vector<GameObject>();
        for (const GameObject child : children) {
            m_descendants.push_back(child);
        }
        return !children.empty();
    } catch (...) { // No memory: the children that are not listed are removed with the object.
        return false;
    }
}

bool InstanceCreation::release(const Deadline& deadline) noexcept {
    if (!isFinished()) {
        return false;
    }
    m_areObjectsTaken = true;
    do {
        for (std::size_t i = 0; i < RELEASE_GROUP; ++i) {
            if (!m_items.empty()) {
                m_items.pop_back();
            } else if (!m_itemObjects.empty()) {
                m_itemObjects.pop_back();
            } else if (!m_nestedRoots.releaseOne() && !m_gathering.releaseOne()) {
                return disposeOf(m_usedUuids, deadline);
            }
        }
    } while (!deadline.hasPassed());
    return false;
}

InstanceCreation::Taken InstanceCreation::takeAll() {
    return {takeObjects(), std::move(m_items), std::move(m_itemObjects)};
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
        const bool isNestedRoot = parent && parent->isLiveUuid();
        m_itemObjects.push_back({deriveUuid(item), GameObject::INVALID_GAME_OBJECT, nullptr, !parent});
        if (isNestedRoot) {
            m_nestedRoots.add(index);
        }
        return true;
    });
    if (isComplete) {
        const bool isLarge = m_items.size() >= LargeInstance::MIN_OBJECTS && m_uuidMap.empty();
        enterStage(isLarge ? Stage::ENTERING_UUIDS : Stage::CREATING_OBJECTS);
    }
}

void InstanceCreation::enterUuids(const Deadline& deadline) {
    if (m_nextItem == 0) {
        m_areUuidsEntered = true;
        makeRoom(m_usedUuids, m_items.size());
    }
    while (m_nextItem < m_itemObjects.size()) {
        const std::span<ItemObject> group = m_itemObjects.run(m_nextItem, LargeInstance::GROUP_SIZE);
        if (!LargeInstance::enterGroup(m_usedUuids, group)) {
            // Start over without groups: adding the UUIDs one by one finds the conflict at the item that must report
            // it.
            m_usedUuids = UuidMap(8);
            m_areUuidsEntered = false;
            break;
        }
        m_nextItem += group.size();
        if (deadline.hasPassed()) {
            break;
        }
    }
    if (!m_areUuidsEntered || m_nextItem == m_itemObjects.size()) {
        enterStage(Stage::CREATING_OBJECTS);
    }
}

void InstanceCreation::prepareObjects() {
    m_created.reserve(m_items.size());
    m_created.push_back(GameObject::INVALID_GAME_OBJECT); // The root's position.
    if (!m_areUuidsEntered) {
        // A large instance's map takes the entries of the caller's map, too, see handOverUuids().
        const bool isLarge = m_items.size() >= LargeInstance::MIN_OBJECTS;
        makeRoom(m_usedUuids, isLarge ? m_items.size() + m_uuidMap.size() : m_items.size());
    }
}

void InstanceCreation::createObjects(const Deadline& deadline) {
    const GameObjectPrefabScope<"createGoInstances"> scope(716);
    if (m_created.empty()) {
        prepareObjects();
    }
    bool isCreated = true;
    const bool areAllCreated =
        forEachItem(deadline, [this, &isCreated](std::size_t index) { return isCreated = createObject(index); });
    if (areAllCreated && m_created.front().isInvalid()) {
        Report::error("Game Objects hierarchy doesn't have root.");
        isCreated = false;
    }
    if (!isCreated) {
        m_stage = Stage::FAILED;
    } else if (areAllCreated && handOverUuids(deadline)) {
        completeObjects();
        enterStage(Stage::CREATING_COMPONENTS);
    }
}

// Inlined, since it is called for every object.
[[gnu::always_inline]] inline bool InstanceCreation::createObject(std::size_t index) {
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
    std::vector<Item> items;
    items.reserve(m_items.size());
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        items.push_back(m_items[i]);
    }
    const Uuid newInstanceUuid = m_prefab.generateNewInstanceUuid(items, m_usedUuids, m_items[index].instanceUuid);
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (items[i].instanceUuid == newInstanceUuid) {
            m_items[i].instanceUuid = newInstanceUuid;
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

bool InstanceCreation::handOverUuids(const Deadline& deadline) {
    if (m_uuidMap.empty()) {
        m_uuidMap.swap(m_usedUuids);
        return true;
    }
    // Move the entries of the smaller map. A UUID that the caller's map has already keeps its object.
    if (!m_areMapsSwapped && m_usedUuids.size() > m_uuidMap.size()) {
        makeRoom(m_usedUuids, m_usedUuids.size() + m_uuidMap.size());
        m_uuidMap.swap(m_usedUuids);
        m_areMapsSwapped = true;
    }
    while (!m_usedUuids.empty()) {
        const UuidMap::insert_return_type result = m_uuidMap.insert(m_usedUuids.extract(m_usedUuids.begin()));
        if (!result.inserted && m_areMapsSwapped) {
            result.position->second = result.node.mapped();
        }
        if (deadline.hasPassed()) {
            break;
        }
    }
    return m_usedUuids.empty();
}

void InstanceCreation::completeObjects() {
    m_areMapsSwapped = false;
    if (m_isRepaired) { // Entries have moved to other UUIDs.
        for (std::size_t i = 0; i < m_itemObjects.size(); ++i) {
            m_itemObjects[i].object = m_uuidMap.at(m_itemObjects[i].uuid);
        }
    }
}

inline void InstanceCreation::createComponents(std::size_t index) {
    const Item& item = m_items[index];
    const ItemObject& itemObject = m_itemObjects[index];
    const GameObject object = itemObject.object;
    const GameObjectOverrideRecords* const overrides = findOverrides(item, index == 0);
    if (!m_gathering.overrideFlags().empty()) {
        if (auto* const component = findPrefabDescriptor(*item.descriptor)) {
            m_gathering.overrideFlags().restore(*component);
        }
    }
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

bool InstanceCreation::NestedRoots::releaseOne() noexcept {
    if (m_rootItems.empty()) {
        return m_index.removeOne();
    }
    m_rootItems.pop_back();
    return true;
}

GameObject InstanceCreation::NestedRoots::findNestedRoot(const Uuid& nestedInstanceUuid) {
    const std::size_t indexedCount = std::min(m_indexedCount + INDEXED_PER_LOOKUP, m_rootItems.size());
    for (; m_indexedCount < indexedCount; ++m_indexedCount) {
        const std::size_t item = m_rootItems[m_indexedCount];
        m_index.add(m_creation.m_items[item].instanceUuid, m_creation.m_itemObjects[item].object);
    }
    const GameObject indexed = m_index.findNestedRoot(nestedInstanceUuid);
    if (!indexed.isInvalid()) {
        return indexed;
    }
    for (std::size_t i = m_indexedCount; i < m_rootItems.size(); ++i) {
        const std::size_t item = m_rootItems[i];
        if (m_creation.m_items[item].instanceUuid == nestedInstanceUuid) {
            return m_creation.m_itemObjects[item].object;
        }
    }
    return GameObject::INVALID_GAME_OBJECT;
}

} // namespace Kiln::Tessel::detail
