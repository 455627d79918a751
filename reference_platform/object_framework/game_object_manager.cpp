#include <object_framework/game_object_manager.h>

#include <object_framework/entry_point.h>
#include <object_framework/game_object_table.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/object_activation.h>
#include <object_framework/object_tree.h>
#include <object_framework/query_index.h>
#include <object_framework/reporting.h>
#include <object_framework/uuid_index.h>
#include <object_framework/world.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel {

namespace {

constexpr const char* SOURCE = "object_framework/game_object_manager";

[[nodiscard]] std::string nameOf(const GameObjectRecord& record) {
    return std::string(record.name.view());
}

} // namespace

/// A manager's data, and the steps of its operations that work on records.
struct GameObjectManager::State {
    explicit State(int worldId)
        : table(worldId), tree(table), uuids(table), queries(table, kinds), activation(tree, queries) {}

    GameObjectTable table;
    ObjectTree tree;
    UuidIndex uuids;
    ComponentKinds kinds;
    QueryIndex queries;
    ObjectActivation activation;

    /// Returns false when the parent is not alive in this world, is the object itself or is one of its descendants.
    bool attachToParent(ObjectIndex index, GameObjectRecord& record, GameObject parent) {
        GameObjectRecord* const parentRecord = table.find(parent);
        if (!parentRecord) {
            return false;
        }
        if (tree.isSelfOrDescendant(index, record, parent.index())) [[unlikely]] {
            reportParentRefused(record, *parentRecord);
            return false;
        }
        tree.attach(index, record, parent.index(), *parentRecord);
        if (record.isActive() && !parentRecord->isActive()) {
            activation.deactivateTree(index);
        }
        return true;
    }

    /// `record` is null when the object is not alive. Inlined, because it is called for every component of a creation.
    [[gnu::always_inline]] IComponent* addComponent(GameObjectRecord* record, ObjectIndex index,
                                                    ComponentPointer&& component, ComponentTypeId type) {
        IComponent* const added = component.get();
        if (!record || !added || !record->components.add(std::move(component), kinds, type)) [[unlikely]] {
            reportRefused(record, added);
            return nullptr;
        }
        if (record->isActive()) [[unlikely]] {
            added->activate();
            queries.enter(index, *record, type);
        }
        if (type == NativeComponent<HierarchyComponent>::getType()) {
            auto* const hierarchy = castComponent<HierarchyComponent>(added);
            if (hierarchy && !attachToParent(index, *record, hierarchy->parent())) {
                hierarchy->m_parent = GameObject::INVALID_GAME_OBJECT;
            }
        }
        return added;
    }

    // Not inlined: errors are rare.
    [[gnu::noinline]] static void reportParentRefused(const GameObjectRecord& record, const GameObjectRecord& parent) {
        logError(SOURCE, "Parent of game object '" + nameOf(record) + "' is refused: '" + nameOf(parent) +
                             "' is the object itself or one of its descendants");
    }

    [[gnu::noinline]] static void reportRefused(const GameObjectRecord* record, const IComponent* component) {
        logError(SOURCE, !record      ? "A component can't be added: its game object is not alive"
                         : !component ? "No component to add to game object '" + nameOf(*record) + "'"
                                      : "Game object '" + nameOf(*record) + "' has a component of that type already");
    }

    void removeOne(ObjectIndex index) {
        GameObjectRecord& record = table[index];
        const std::uint64_t serial = record.serial;
        if (record.isActive()) {
            activation.deactivate(index, record);
        }
        // The deactivate() of a component may have removed the object.
        if (record.serial != serial) {
            return;
        }
        tree.detach(index);
        ComponentList& components = record.components;
        while (!components.empty()) {
            components.remove(components.size() - 1, kinds).reset();
            if (record.serial != serial) {
                return;
            }
        }
        uuids.remove(index);
        table.free(index);
    }

    void removeTree(ObjectIndex root) {
        const std::uint64_t rootSerial = table[root].serial;
        for (ObjectIndex index = root;;) {
            if (const ObjectIndex first = table[index].firstChild; first != NO_OBJECT) {
                index = table[first].previousSibling; // The last child.
                continue;
            }
            const ObjectIndex parent = table[index].parent;
            const std::uint64_t parentSerial = parent == NO_OBJECT ? 0 : table[parent].serial;
            removeOne(index);
            if (index == root || table[root].serial != rootSerial) {
                return;
            }
            index = parent != NO_OBJECT && table[parent].serial == parentSerial ? parent : root;
        }
    }
};

GameObjectManager::GameObjectManager(int worldId) : m_worldId(worldId), m_state(std::make_unique<State>(worldId)) {}
GameObjectManager::~GameObjectManager() = default;

GameObject GameObjectManager::createGameObject() {
    return m_state->table.create();
}

void GameObjectManager::removeGameObject(GameObject object) {
    if (m_state->table.find(object)) {
        m_state->removeTree(object.index());
    }
}

bool GameObjectManager::isGameObjectValid(GameObject object) const {
    return m_state->table.find(object) != nullptr;
}

std::string GameObjectManager::getGameObjectName(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record ? nameOf(*record) : std::string();
}

void GameObjectManager::setGameObjectName(GameObject object, std::string_view name) {
    if (GameObjectRecord* const record = m_state->table.find(object)) {
        record->name = SharedText(name);
    }
}

Uuid GameObjectManager::getGameObjectUuid(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record ? record->uuid : Uuid::ZERO;
}

void GameObjectManager::setGameObjectUuid(GameObject object, const Uuid& uuid) {
    if (GameObjectRecord* const record = m_state->table.find(object)) {
        m_state->uuids.remove(object.index());
        record->uuid = uuid;
        m_state->uuids.add(object.index());
    }
}

GameObject GameObjectManager::findGameObject(const Uuid& uuid) {
    return m_state->uuids.find(uuid);
}

std::bitset<6> GameObjectManager::getGameObjectFlags(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record ? std::bitset<6>(record->flags()) : std::bitset<6>();
}

void GameObjectManager::setGameObjectFlags(GameObject object, std::bitset<6> flags) {
    if (GameObjectRecord* const record = m_state->table.find(object)) {
        record->setFlags(static_cast<std::uint8_t>(flags.to_ulong()));
        record->setEnabled((flags & GameObjectFlag::INACTIVE_BY_DEFAULT).none());
    }
}

IComponent* GameObjectManager::addComponent(GameObject object, ComponentPointer component, ComponentTypeId type) {
    return m_state->addComponent(m_state->table.find(object), object.index(), std::move(component), type);
}

bool GameObjectManager::canAddComponent(GameObject object, ComponentTypeId type) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    const IComponent* const present = findComponent(object, type);
    if (record && !present) {
        return true;
    }
    State::reportRefused(record, present);
    return false;
}

void GameObjectManager::removeComponent(GameObject object, ComponentTypeId type) {
    GameObjectRecord* const record = m_state->table.find(object);
    std::size_t index = record ? record->components.find(type, m_state->kinds) : ComponentList::NONE;
    if (index == ComponentList::NONE) {
        return;
    }
    if (record->isActive()) {
        m_state->queries.leave(object.index(), type);
        record->components.component(index).deactivate();
        // deactivate() may have removed other components, this one or the object.
        index = record->isOf(object) ? record->components.find(type, m_state->kinds) : ComponentList::NONE;
        if (index == ComponentList::NONE) {
            return;
        }
        // It may also have added the object to a query again.
        m_state->queries.leave(object.index(), type);
    }
    if (type == NativeComponent<HierarchyComponent>::getType()) {
        m_state->tree.detach(object.index());
    }
    record->components.remove(index, m_state->kinds).reset();
}

bool GameObjectManager::hasComponent(GameObject object, ComponentTypeId type) const {
    return findComponent(object, type) != nullptr;
}

IComponent* GameObjectManager::findComponent(GameObject object, ComponentTypeId type) const {
    GameObjectRecord* const record = m_state->table.find(object);
    const std::size_t index = record ? record->components.find(type, m_state->kinds) : ComponentList::NONE;
    return index != ComponentList::NONE ? &record->components.component(index) : nullptr;
}

std::vector<ComponentTypeId> GameObjectManager::componentTypes(GameObject object) const {
    std::vector<ComponentTypeId> types;
    if (GameObjectRecord* const record = m_state->table.find(object)) {
        for (std::size_t i = 0; i < record->components.size(); ++i) {
            types.push_back(m_state->kinds.type(record->components.kind(i)));
        }
    }
    return types;
}

bool GameObjectManager::isActive(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record && record->isActive();
}

bool GameObjectManager::isEnabled(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record && record->isEnabled();
}

void GameObjectManager::activateGameObject(GameObject object) {
    GameObjectRecord* const record = m_state->table.find(object);
    if (!record) {
        return;
    }
    record->setEnabled(true);
    if (record->parent == NO_OBJECT || m_state->table[record->parent].isActive()) {
        m_state->activation.activateTree(object.index());
    }
}

void GameObjectManager::deactivateGameObject(GameObject object) {
    if (GameObjectRecord* const record = m_state->table.find(object)) {
        record->setEnabled(false);
        m_state->activation.deactivateTree(object.index());
    }
}

GameObject GameObjectManager::getParent(GameObject object) const {
    const GameObjectRecord* const record = m_state->table.find(object);
    return record && record->parent != NO_OBJECT ? m_state->table.handle(record->parent)
                                                 : GameObject::INVALID_GAME_OBJECT;
}

std::vector<GameObject> GameObjectManager::getChildren(GameObject object) const {
    std::vector<GameObject> children;
    if (const GameObjectRecord* const record = m_state->table.find(object)) {
        for (ObjectIndex child = record->firstChild; child != NO_OBJECT; child = m_state->table[child].nextSibling) {
            children.push_back(m_state->table.handle(child));
        }
    }
    return children;
}

std::size_t GameObjectManager::gameObjectsCount() const {
    return m_state->table.aliveCount();
}

std::vector<GameObject> GameObjectManager::gameObjects(std::uint64_t serial) const {
    std::vector<ObjectIndex> indices;
    for (ObjectIndex index = 0; index < m_state->table.size(); ++index) {
        if (m_state->table[index].serial > serial) {
            indices.push_back(index);
        }
    }
    std::sort(indices.begin(), indices.end(),
              [this](ObjectIndex a, ObjectIndex b) { return m_state->table[a].serial < m_state->table[b].serial; });
    std::vector<GameObject> objects;
    objects.reserve(indices.size());
    for (const ObjectIndex index : indices) {
        objects.push_back(m_state->table.handle(index));
    }
    return objects;
}

std::uint64_t GameObjectManager::lastSerial() const {
    return m_state->table.lastSerial();
}

GameObjectManagerInternal::GameObjectManagerInternal(int worldId) : GameObjectManager(worldId) {}

GameObjectManagerInternal::~GameObjectManagerInternal() {
    clear();
    for (const QueryIndex::Entry& entry : m_state->queries.entries()) {
        entry.query->m_manager = nullptr;
    }
}

std::shared_ptr<QueryBase> GameObjectManagerInternal::getQuery(const QueryConfig& config, std::type_index queryClass,
                                                               const QueryFactory& factory) {
    std::shared_ptr<QueryBase> query = m_state->queries.find(config, queryClass);
    if (!query) {
        query = factory();
        query->m_manager = this;
        m_state->queries.add(query, queryClass);
    }
    return query;
}

void GameObjectManagerInternal::forgetQuery(const QueryBase& query) {
    m_state->queries.remove(query);
}

void GameObjectManagerInternal::clear() {
    for (ObjectIndex index = 0; index < m_state->table.size(); ++index) {
        removeGameObject(m_state->table.handle(index));
    }
}

GameObjectRecord* GameObjectManagerInternal::describeGameObject(GameObject object, const Uuid& uuid,
                                                                const SharedText& name) {
    GameObjectRecord* const record = m_state->table.find(object);
    if (!record) {
        return nullptr;
    }
    m_state->uuids.remove(object.index());
    record->uuid = uuid;
    m_state->uuids.add(object.index());
    record->name = name;
    return record;
}

IComponent* GameObjectManagerInternal::addComponent(GameObjectRecord& record, GameObject object,
                                                    ComponentPointer&& component, ComponentTypeId type) {
    GameObjectRecord* const alive = record.isOf(object) ? &record : nullptr;
    return m_state->addComponent(alive, object.index(), std::move(component), type);
}

} // namespace Kiln::Tessel
