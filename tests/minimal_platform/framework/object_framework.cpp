#include <core/log.h>
#include <core/task_manager.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <variant/variant_converter.h>

#include <cstdlib>
#include <cxxabi.h>

namespace Kiln::Tessel {

ILinkConfig::~ILinkConfig() = default;
HierarchyComponent::~HierarchyComponent() = default;
TransformComponent::~TransformComponent() = default;
QueryBase::~QueryBase() = default;

// Links.

bool parseText(const std::string& text, GameObjectLink& link) {
    const std::optional<Uuid> uuid = Uuid::fromString(text);
    if (uuid) {
        link.setUuid(*uuid);
    }
    return uuid.has_value();
}

std::string formatValue(const GameObjectLink& link) {
    return link.uuid().toString();
}

namespace {

const bool s_areLinksConvertible = [] {
    vessa::VariantConverter::registerConversion(typeid(GameObjectLink), typeid(ILinkConfig), [](void* value) -> void* {
        return static_cast<ILinkConfig*>(static_cast<GameObjectLink*>(value));
    });
    return true;
}();

} // namespace

// Handles.

GameObjectManager* getGameObjectManager(int worldId) {
    World* const world = EntryPoint::instance().findValidWorld(worldId);
    return world ? &world->manager() : nullptr;
}

GameObjectManager* getGameObjectManager(GameObject object) {
    return getGameObjectManager(object.getWorldId());
}

bool isValid(GameObject object) {
    const GameObjectManager* const manager = getGameObjectManager(object);
    return manager && manager->isGameObjectValid(object);
}

void removeGameObject(const GameObject& object) {
    if (GameObjectManager* const manager = getGameObjectManager(object)) {
        manager->removeGameObject(object);
    }
}

// Queries.

void QueryIsUniqueAsserter::enter(const QueryConfig& config, std::type_index queryClass) {
    static std::map<QueryConfig, std::type_index> registry;
    const auto [entry, isNew] = registry.try_emplace(config, queryClass);
    if (!isNew && entry->second != queryClass) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "")
            .message("Query with these arguments already exists! Try this one: %s",
                     readableTypeName(entry->second).c_str());
    }
}

std::string readableTypeName(std::type_index type) {
    char* const demangled = abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr);
    std::string name = demangled ? demangled : type.name();
    std::free(demangled);
    return name;
}

IComponent& QueryBase::component(GameObject object, ComponentTypeId type) const {
    return *getGameObjectManager(object)->findComponent(object, type);
}

// Game objects.

GameObjectRecord* GameObjectManager::find(GameObject object) {
    if (object.isInvalid() || object.getWorldId() != m_worldId || object.index() >= m_records.size() ||
        m_records[object.index()].serial != object.serial()) {
        return nullptr;
    }
    return &m_records[object.index()];
}

GameObject GameObjectManager::createGameObject() {
    std::size_t index = 0;
    while (index < m_records.size() && m_records[index].serial != 0) {
        ++index;
    }
    if (index == m_records.size()) {
        m_records.emplace_back();
    }
    m_records[index].serial = ++m_lastSerial;
    return {m_worldId, index, m_lastSerial};
}

void GameObjectManager::removeGameObject(GameObject object) {
    if (!find(object)) {
        return;
    }
    while (!find(object)->children.empty()) {
        removeGameObject(find(object)->children.back());
    }
    setActive(object, false);
    detach(object);
    Record removed = std::exchange(*find(object), Record());
}

void GameObjectManager::clear() {
    for (const GameObject object : gameObjects()) {
        removeGameObject(object);
    }
}

std::vector<GameObject> GameObjectManager::gameObjects() const {
    std::vector<GameObject> objects;
    for (std::size_t index = 0; index < m_records.size(); ++index) {
        if (m_records[index].serial != 0) {
            objects.emplace_back(m_worldId, index, m_records[index].serial);
        }
    }
    return objects;
}

GameObjectRecord* GameObjectManager::describeGameObject(GameObject object, const Uuid& uuid, const std::string& name) {
    setGameObjectUuid(object, uuid);
    setGameObjectName(object, name);
    return find(object);
}

void GameObjectManager::setGameObjectUuid(GameObject object, const Uuid& uuid) {
    if (Record* const record = find(object)) {
        record->uuid = uuid;
    }
}

void GameObjectManager::setGameObjectName(GameObject object, std::string_view name) {
    if (Record* const record = find(object)) {
        record->name = name;
    }
}

std::bitset<6> GameObjectManager::getGameObjectFlags(GameObject object) const {
    const Record* const record = find(object);
    return record ? record->flags : std::bitset<6>();
}

std::string GameObjectManager::getGameObjectName(GameObject object) const {
    const Record* const record = find(object);
    return record ? record->name : std::string();
}

Uuid GameObjectManager::getGameObjectUuid(GameObject object) const {
    const Record* const record = find(object);
    return record ? record->uuid : Uuid::ZERO;
}

GameObject GameObjectManager::getParent(GameObject object) const {
    const Record* const record = find(object);
    return record ? record->parent : GameObject();
}

std::vector<GameObject> GameObjectManager::getChildren(GameObject object) const {
    const Record* const record = find(object);
    return record ? record->children : std::vector<GameObject>();
}

void GameObjectManager::setGameObjectFlags(GameObject object, std::bitset<6> flags) {
    if (Record* const record = find(object)) {
        record->flags = flags;
        record->isEnabled = (flags & GameObjectFlag::INACTIVE_BY_DEFAULT).none();
    }
}

IComponent* GameObjectManager::addComponent(GameObject object, ComponentPointer component, ComponentTypeId type) {
    Record* const record = find(object);
    if (!record || !component || findComponent(object, type)) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "").message("A component is refused");
        return nullptr;
    }
    IComponent* const added = component.get();
    record->components.emplace_back(type, std::move(component));
    if (type == NativeComponent<HierarchyComponent>::getType()) {
        const GameObject parent = static_cast<HierarchyComponent*>(added)->parent();
        if (isAncestor(object, parent)) {
            DebugMessageHelper(0, LogSeverity::ERROR, "", "").message("A cycle of parents is refused");
        } else if (Record* const parentRecord = find(parent)) {
            parentRecord->children.push_back(object);
            record->parent = parent;
        }
    }
    if (record->isActive) {
        added->activate();
    }
    updateQueries(object);
    return added;
}

void GameObjectManager::removeComponent(GameObject object, ComponentTypeId type) {
    if (Record* const record = find(object)) {
        if (type == NativeComponent<HierarchyComponent>::getType()) {
            detach(object);
        }
        std::erase_if(record->components, [type](const auto& entry) { return entry.first == type; });
        updateQueries(object);
    }
}

IComponent* GameObjectManager::findComponent(GameObject object, ComponentTypeId type) const {
    if (const Record* const record = find(object)) {
        for (const auto& [itsType, component] : record->components) {
            if (itsType == type) {
                return component.get();
            }
        }
    }
    return nullptr;
}

bool GameObjectManager::isAncestor(GameObject ancestor, GameObject object) const {
    for (; find(object); object = getParent(object)) {
        if (object == ancestor) {
            return true;
        }
    }
    return false;
}

void GameObjectManager::detach(GameObject object) {
    Record* const record = find(object);
    if (Record* const parent = find(record->parent)) {
        std::erase(parent->children, object);
    }
    record->parent = GameObject();
}

bool GameObjectManager::isActive(GameObject object) const {
    const Record* const record = find(object);
    return record && record->isActive;
}

bool GameObjectManager::isEnabled(GameObject object) const {
    const Record* const record = find(object);
    return record && record->isEnabled;
}

void GameObjectManager::activateGameObject(GameObject object) {
    if (Record* const record = find(object)) {
        record->isEnabled = true;
        if (!find(record->parent) || isActive(record->parent)) {
            setActive(object, true);
        }
    }
}

void GameObjectManager::deactivateGameObject(GameObject object) {
    if (Record* const record = find(object)) {
        record->isEnabled = false;
        setActive(object, false);
    }
}

void GameObjectManager::setActive(GameObject object, bool isActive) {
    Record* const record = find(object);
    if (!record || record->isActive == isActive || (isActive && !record->isEnabled)) {
        return;
    }
    record->isActive = isActive;
    for (const auto& [type, component] : record->components) {
        isActive ? component->activate() : component->deactivate();
    }
    updateQueries(object);
    const std::vector<GameObject> children = record->children;
    for (const GameObject child : children) {
        setActive(child, isActive);
    }
}

void GameObjectManager::updateQueries(GameObject object) {
    for (std::size_t i = 0; i < m_queries.size(); ++i) {
        const std::shared_ptr<QueryBase> query = m_queries[i].lock();
        if (!query) {
            continue;
        }
        const auto& types = query->m_config.types;
        const bool isMember = isActive(object) && std::all_of(types.begin(), types.end(), [&](ComponentTypeId type) {
                                  return hasComponent(object, type);
                              });
        if (isMember && !query->contains(object)) {
            query->m_objects.push_back(object);
            if (query->m_onAdded) {
                query->m_onAdded(object);
            }
        } else if (!isMember) {
            std::erase(query->m_objects, object);
        }
    }
}

// Worlds.

World::~World() {
    for (const auto& [id, manager] : m_reactiveManagers) {
        manager->fini(*this);
    }
    m_manager.clear();
}

void World::createReactiveManager(int managerId) {
    std::unique_ptr<IReactiveManager>& manager = m_reactiveManagers[managerId];
    if (!manager) {
        manager = EntryPoint::instance().findReactiveManagerRecord(managerId)->factory(nullptr);
        manager->init(*this);
    }
}

int World::addTriggerReaction(const std::string& /*group*/, const std::string& /*name*/, QueryBase& query,
                              std::function<void(GameObject)> reaction) {
    const int id = ++m_lastReaction | 1 << 30;
    m_reactions[id] = {&query, std::move(reaction), {}};
    query.m_onAdded = [this, id](GameObject object) { m_reactions[id].added.push_back(object); };
    return id;
}

void World::removeTriggerReaction(int id) {
    if (const auto reaction = m_reactions.extract(id)) {
        reaction.mapped().query->m_onAdded = nullptr;
    }
}

void World::removeTickReaction(int /*id*/) {}

void World::runReactions() {
    for (auto& [id, reaction] : m_reactions) {
        for (const GameObject object : std::exchange(reaction.added, {})) {
            if (reaction.query->contains(object)) {
                reaction.function(object);
            }
        }
    }
}

// The process.

EntryPoint& EntryPoint::instance() {
    FileIOTaskManager::instance(); // Made before the entry point, and so destroyed after it.
    static EntryPoint entryPoint;
    return entryPoint;
}

EntryPoint::~EntryPoint() {
    FileIOTaskManager::instance().shutdown();
    for (const int worldId : worldIds()) {
        destroyWorld(worldId);
    }
    for (const auto& [type, service] : m_services) {
        service->fini();
    }
}

void EntryPoint::registerService(std::type_index type, std::unique_ptr<IService> service) {
    IService* const added = service.get();
    if (getService(type)) {
        return;
    }
    {
        const std::scoped_lock lock(m_servicesMutex);
        m_services.emplace_back(type, std::move(service));
    }
    added->init();
}

IService* EntryPoint::getService(std::type_index type) const {
    const std::scoped_lock lock(m_servicesMutex);
    for (const auto& [itsType, service] : m_services) {
        if (itsType == type) {
            return service.get();
        }
    }
    return nullptr;
}

int EntryPoint::createWorld() {
    const int id = ++m_lastWorld;
    m_worlds[id] = std::make_unique<World>(id);
    for (std::size_t managerId = 0; managerId < m_reactiveManagers.size(); ++managerId) {
        m_worlds[id]->createReactiveManager(static_cast<int>(managerId));
    }
    return id;
}

void EntryPoint::destroyWorld(int worldId) {
    const auto world = m_worlds.extract(worldId);
    if (world) {
        for (std::size_t i = 0; i < m_services.size(); ++i) {
            m_services[i].second->onWorldDestroyed(worldId);
        }
    }
}

World* EntryPoint::findValidWorld(int worldId) const {
    const auto world = m_worlds.find(worldId);
    return world == m_worlds.end() ? nullptr : world->second.get();
}

std::vector<int> EntryPoint::worldIds() const {
    std::vector<int> ids;
    for (const auto& [id, world] : m_worlds) {
        ids.push_back(id);
    }
    return ids;
}

int EntryPoint::registerReactiveManager(ReactiveManagerFactory factory) {
    m_reactiveManagers.push_back({std::move(factory)});
    return static_cast<int>(m_reactiveManagers.size()) - 1;
}

void EntryPoint::tick() {
    for (std::size_t i = 0; i < m_services.size(); ++i) {
        m_services[i].second->tick();
    }
    for (std::size_t i = 0; i < m_services.size(); ++i) {
        m_services[i].second->postTick();
    }
    for (const int worldId : worldIds()) {
        if (World* const world = findValidWorld(worldId)) {
            world->runReactions();
        }
    }
}

} // namespace Kiln::Tessel
