#include <tessel_streaming/updates/instance_change.h>

#include <core/log.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_streaming/updates/override_comparison.h>
#include <tessel_streaming/updates/value_change.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

[[nodiscard]] ComponentTypeId hierarchyType() {
    return NativeComponent<HierarchyComponent>::getType();
}

/// Whether both make the same component. The item of an integration point has a HierarchyComponent descriptor of its
/// own.
[[nodiscard]] bool isSame(const GameObjectDescriptor& older, const GameObjectDescriptor& newer,
                          const IComponentDescriptor& component) {
    if (older.findComponent(component.type()) == &component) {
        return true;
    }
    const GameObjectLink* const before = older.parentLink();
    const GameObjectLink* const after = newer.parentLink();
    return component.type() == hierarchyType() && before && before->uuid() == after->uuid() &&
           before->isLiveUuid() == after->isLiveUuid();
}

} // namespace

InstanceChange::InstanceChange(FollowedInstance& instance, SmartPointer<LoadedFile> document,
                               Tessel::detail::INestedPrefabs& nestedPrefabs)
    : m_instance(instance),
      m_document(std::move(document)),
      m_gathering(m_gathered, &nestedPrefabs),
      m_isKept(instance.items.size()),
      m_editor(instance.path, instance.worldId) {
    if (!m_gathering.enter(*m_document->prefab(), instance.instanceUuid, instance.overrides, false, 0)) {
        fail("it cannot be listed");
    }
}

InstanceChange::~InstanceChange() {
    GameObjectManager* const manager = m_isApplied ? nullptr : getGameObjectManager(m_instance.worldId);
    // From the last to the first, so that no removal is a large one.
    for (std::size_t i = m_added.size(); manager && i > 0; --i) {
        const GameObject object = m_objects[m_added[i - 1]];
        try {
            if (!object.isInvalid()) {
                manager->removeGameObject(object);
            }
        } catch (...) { // NOLINT(bugprone-empty-catch): the other objects are removed all the same.
        }
    }
}

bool InstanceChange::prepare(const Tessel::detail::Deadline& deadline) {
    do {
        if (m_stage >= Stage::PREPARED) {
            return true;
        }
        World* const world = EntryPoint::instance().findValidWorld(m_instance.worldId);
        if (!world) {
            m_stage = Stage::FAILED;
            return true;
        }
        work(deadline, *world);
    } while (!deadline.hasPassed());
    return m_stage >= Stage::PREPARED;
}

void InstanceChange::work(const Tessel::detail::Deadline& deadline, World& world) {
    switch (m_stage) {
    case Stage::GATHERING:
        return gather(deadline);
    case Stage::INDEXING:
        return indexNext();
    case Stage::MATCHING:
        return matchNext(world);
    case Stage::LINKING:
        return linkNext();
    case Stage::COMPLETING:
        return completeNext(world);
    case Stage::PREPARED:
    case Stage::FAILED:
        return;
    }
}

void InstanceChange::enterStage(Stage stage) noexcept {
    m_stage = stage;
    m_next = 0;
}

void InstanceChange::fail(const char* problem) {
    m_stage = Stage::FAILED;
    DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming/updates")
        .message("Failed to update an instance of '%s': %s", m_instance.path.c_str(), problem);
}

void InstanceChange::gather(const Tessel::detail::Deadline& deadline) {
    if (!m_gathering.visitNodes(deadline)) {
        fail("it cannot be listed");
        return;
    }
    saveOverrideFlags();
    if (m_gathering.isFinished()) {
        enterStage(Stage::INDEXING);
    }
}

/// Gathering sets the flags in shared descriptors, where others set theirs during a pause.
void InstanceChange::saveOverrideFlags() {
    for (std::size_t i = m_hasOverrides.size(); i < m_gathered.size(); ++i) {
        const auto* const component = findPrefabDescriptor(*m_gathered[i].descriptor);
        m_hasOverrides.push_back(component && component->prefabProperties().hasOverrides);
    }
}

void InstanceChange::indexNext() {
    if (m_next == m_instance.items.size()) {
        enterStage(Stage::MATCHING);
        return;
    }
    m_olderIndex.try_emplace(m_instance.uuids[m_next], m_next);
    if (m_olderRoot == NONE && !m_instance.items[m_next].descriptor->parentLink()) {
        m_olderRoot = m_next;
    }
    ++m_next;
}

/// The item of the instance whose object this item takes. The root stays the root, whatever its UUID.
std::size_t InstanceChange::findOlder(const Item& item, const Uuid& uuid) {
    if (!item.descriptor->parentLink()) {
        return m_olderRoot;
    }
    const auto found = m_olderIndex.find(uuid);
    return found == m_olderIndex.end() || found->second == m_olderRoot ? NONE : found->second;
}

void InstanceChange::matchNext(World& world) {
    if (m_next == m_gathered.size()) {
        endMatching();
        return;
    }
    const Item& item = m_items.emplace_back(std::move(m_gathered[m_next]));
    if (!item.descriptor->parentLink() && std::exchange(m_root, m_next) != NONE) {
        fail("it has more than one root");
        return;
    }
    if (!m_combiner || m_combiner->first() != item.instanceUuid) {
        m_combiner.emplace(item.instanceUuid);
    }
    m_uuids.push_back((*m_combiner)(item.descriptor->uuid()));
    const std::size_t older = findOlder(item, m_uuids.back());
    m_older.push_back(older);
    if (older == NONE) {
        // Nothing may fail between the creation of the object and its entry in both lists.
        m_objects.push_back(GameObject::INVALID_GAME_OBJECT);
        m_added.push_back(m_next);
        m_objects.back() = item.descriptor->createGameObject(world);
        m_newObjects.insert(m_objects.back());
    } else {
        m_isKept[older] = true;
        m_objects.push_back(m_instance.objects[older]);
    }
    if (!m_links.add(item, m_uuids.back(), m_objects.back())) {
        fail("objects have the same UUID");
        return;
    }
    ++m_next;
}

void InstanceChange::endMatching() {
    if (m_root == NONE) {
        fail("it has no root");
        return;
    }
    m_isMembershipChanged = !m_added.empty() || std::find(m_isKept.begin(), m_isKept.end(), false) != m_isKept.end();
    m_editor.setTargets(&m_links.objects(), &m_links.nestedRoots());
    enterStage(m_isMembershipChanged ? Stage::LINKING : Stage::COMPLETING);
}

void InstanceChange::linkNext() {
    if (m_next == m_instance.items.size()) {
        enterStage(Stage::COMPLETING);
        return;
    }
    static_cast<void>(m_olderLinks.add(m_instance.items[m_next], m_instance.uuids[m_next], m_instance.objects[m_next]));
    ++m_next;
}

void InstanceChange::completeNext(World& world) {
    if (m_next == m_items.size()) {
        enterStage(Stage::PREPARED);
        return;
    }
    if (m_older[m_next] == NONE) {
        completeAdded(m_next, world);
    } else {
        compare(m_next);
    }
    ++m_next;
}

const ComponentOverrideRecords* InstanceChange::findOverrides(std::size_t index,
                                                              const IComponentDescriptor& component) const {
    const GameObjectOverrideRecords* const overrides = detail::findOverrides(m_items[index], index == 0);
    return overrides ? overrides->find(component.name()) : nullptr;
}

/// The object that the item's parent link refers to; the invalid object if there is none.
GameObject InstanceChange::parentOf(const Item& item) {
    const GameObjectLink* const link = item.descriptor->parentLink();
    return link ? m_links.find(*link, item.instanceUuid) : GameObject::INVALID_GAME_OBJECT;
}

void InstanceChange::addComponent(std::size_t index, IComponentDescriptor& component) {
    if (component.type() == NativeComponent<PrefabComponent>::getType()) {
        static_cast<ComponentDescriptor<PrefabComponent>&>(component).setState(
            &PrefabComponent::Config::hasOverrides, static_cast<bool>(m_hasOverrides[index]));
    }
    m_editor.add(m_objects[index], component, m_items[index].instanceUuid, findOverrides(index, component));
}

/// Makes a new object complete, except that it is not attached to an object that is visible already.
void InstanceChange::completeAdded(std::size_t index, World& world) {
    const Item& item = m_items[index];
    const GameObject object = m_objects[index];
    if (!world.manager().describeGameObject(object, m_uuids[index], item.descriptor->sharedName())) {
        return;
    }
    world.manager().setGameObjectFlags(object, item.descriptor->flags());
    IComponentDescriptor* const hierarchy = item.descriptor->findComponent(hierarchyType());
    const bool isDetached = !hierarchy || findOverrides(index, *hierarchy) || !m_newObjects.contains(parentOf(item));
    if (isDetached) {
        m_detached.push_back(index);
    }
    for (const SmartPointer<IComponentDescriptor>& component : item.descriptor->components()) {
        if (component.get() != hierarchy || !isDetached) {
            addComponent(index, *component);
        }
    }
}

bool InstanceChange::isUnchanged(std::size_t index, const SmartPointer<IComponentDescriptor>& component) {
    const Item& newer = m_items[index];
    const Item& older = m_instance.items[m_older[index]];
    if (!isSame(*older.descriptor, *newer.descriptor, *component)) {
        return false;
    }
    const ComponentOverrideRecords* const overrides = findOverrides(index, *component);
    const GameObjectOverrideRecords* const before = detail::findOverrides(older, m_older[index] == 0);
    return areEqual(before ? before->find(component->name()) : nullptr, overrides) &&
           !(m_isMembershipChanged &&
             hasOtherTargets(*component, overrides, newer.instanceUuid, m_olderLinks, m_links));
}

void InstanceChange::compare(std::size_t index) {
    const GameObjectDescriptor& older = *m_instance.items[m_older[index]].descriptor;
    const GameObjectDescriptor& newer = *m_items[index].descriptor;
    ObjectChange change;
    change.item = index;
    change.isRenamed = older.name() != newer.name();
    change.areFlagsChanged = older.flags() != newer.flags();
    for (const SmartPointer<IComponentDescriptor>& component : newer.components()) {
        if (isUnchanged(index, component)) {
            continue;
        }
        if (component->type() == hierarchyType()) {
            change.isMoved = true;
        } else {
            change.components.push_back({component->type(), component});
        }
    }
    for (const SmartPointer<IComponentDescriptor>& component : older.components()) {
        if (!newer.hasComponent(component->type()) && component->type() != hierarchyType()) {
            change.components.push_back({component->type(), nullptr});
        }
    }
    const bool hasOtherUuid = m_uuids[index] != m_instance.uuids[m_older[index]];
    if (change.isRenamed || change.areFlagsChanged || change.isMoved || hasOtherUuid || !change.components.empty()) {
        m_changes.push_back(std::move(change));
    }
}

void InstanceChange::apply(InstanceUpdate& update) {
    m_isApplied = true;
    detachMoved();
    removeOlder(update);
    changeObjects(update);
    for (const std::size_t index : m_detached) {
        attach(index);
    }
    activateAdded(update);
    finish();
}

/// Objects that move are detached first, so that they survive their former parents, and so that no object is attached
/// below its own descendant.
void InstanceChange::detachMoved() {
    for (const ObjectChange& change : m_changes) {
        if (change.isMoved) {
            static_cast<void>(m_editor.remove(m_objects[change.item], hierarchyType()));
        }
    }
}

void InstanceChange::removeOlder(InstanceUpdate& update) {
    for (std::size_t i = 0; i < m_isKept.size(); ++i) {
        if (!m_isKept[i] && isValid(m_instance.objects[i])) {
            update.removed.push_back(m_instance.objects[i]);
        }
    }
    // Children mostly follow their parents, and no removal should be a large one.
    for (std::size_t i = update.removed.size(); i > 0; --i) {
        m_editor.removeObject(update.removed[i - 1]);
    }
}

void InstanceChange::changeObjects(InstanceUpdate& update) {
    for (const ObjectChange& change : m_changes) {
        if (isValid(m_objects[change.item])) {
            changeObject(change, update);
        }
    }
    for (const ObjectChange& change : m_changes) {
        if (change.isMoved) {
            attach(change.item);
        }
    }
}

void InstanceChange::changeObject(const ObjectChange& change, InstanceUpdate& update) {
    const GameObject object = m_objects[change.item];
    const GameObjectDescriptor& node = *m_items[change.item].descriptor;
    GameObjectManager& manager = *getGameObjectManager(object);
    update.changed.push_back(object);
    if (change.isRenamed) {
        manager.setGameObjectName(object, node.name());
    }
    if (change.areFlagsChanged) {
        m_editor.setFlags(object, node.flags());
    }
    manager.setGameObjectUuid(object, m_uuids[change.item]);
    for (const ComponentChange& component : change.components) {
        if (!m_editor.remove(object, component.type)) {
            return;
        }
        if (component.newer) {
            addComponent(change.item, *component.newer);
        }
    }
}

/// Gives an object its HierarchyComponent. A new object whose parent has been removed by others is removed as well.
void InstanceChange::attach(std::size_t index) {
    const GameObject object = m_objects[index];
    const GameObject parent = parentOf(m_items[index]);
    if (!isValid(object)) {
        return;
    }
    if (m_older[index] == NONE && !parent.isInvalid() && !isValid(parent)) {
        m_editor.removeObject(object);
        return;
    }
    if (IComponentDescriptor* const hierarchy = m_items[index].descriptor->findComponent(hierarchyType())) {
        addComponent(index, *hierarchy);
    }
}

void InstanceChange::activateAdded(InstanceUpdate& update) {
    for (const std::size_t index : m_detached) {
        const GameObject object = m_objects[index];
        GameObjectManager* const manager = getGameObjectManager(object);
        if (manager && manager->isEnabled(object) && manager->isActive(manager->getParent(object))) {
            m_editor.activate(object);
        }
    }
    for (const std::size_t index : m_added) {
        if (isValid(m_objects[index])) {
            update.added.push_back(m_objects[index]);
        }
    }
}

void InstanceChange::finish() {
    const auto ofRoot = std::find_if(m_changes.begin(), m_changes.end(),
                                     [this](const ObjectChange& change) { return change.item == m_root; });
    m_instance.items = std::move(m_items);
    m_instance.objects = std::move(m_objects);
    m_instance.uuids = std::move(m_uuids);
    if (ofRoot != m_changes.end()) {
        const auto isReplaced = [&](ComponentTypeId type) {
            return std::any_of(
                ofRoot->components.begin(), ofRoot->components.end(),
                [&](const ComponentChange& component) { return component.type == type && component.newer; });
        };
        finishRoot(m_instance, isReplaced(NativeComponent<TransformComponent>::getType()),
                   isReplaced(NativeComponent<PrefabComponent>::getType()));
    }
}

} // namespace Kiln::Tessel::Streaming::detail
