#include <object_framework/entry_point.h>

#include <core/log.h>
#include <core/shared_object.h>
#include <core/task_manager.h>
#include <object_framework/world.h>
#include <reflection/meta_object.h>

#include <map>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace Kiln::Tessel {

struct EntryPoint::State {
    /// Guards the list, which workers search; only the main thread uses the services themselves. Innermost lock.
    mutable std::shared_mutex servicesMutex;
    std::vector<std::pair<std::type_index, std::unique_ptr<IService>>> services;

    std::map<int, std::unique_ptr<World>> worlds;
    int lastWorldId = 0;
    std::vector<std::unique_ptr<World>> destroyedInFrame;
    int framesUnderWay = 0;
    std::vector<ReactiveManagerRecord> reactiveManagers;
};

EntryPoint& EntryPoint::instance() {
    static EntryPoint entryPoint;
    return entryPoint;
}

EntryPoint::EntryPoint() : m_state(std::make_unique<State>()) {
    // Constructed before the entry point, so that they are destroyed after it.
    IComponent::types();
    mirra::MetaObjectManager::instance();
    FileIOTaskManager::instance();
}

EntryPoint::~EntryPoint() {
    FileIOTaskManager::instance().shutdown();
    for (const int worldId : worldIds()) {
        destroyWorld(worldId);
    }
    for (auto service = m_state->services.rbegin(); service != m_state->services.rend(); ++service) {
        service->second->fini();
    }
    while (!m_state->services.empty()) {
        m_state->services.pop_back();
    }
}

void EntryPoint::registerService(std::type_index type, std::unique_ptr<IService> service) {
    pinCaller();
    IService* const added = service.get();
    {
        const std::unique_lock lock(m_state->servicesMutex);
        for (const auto& [otherType, other] : m_state->services) {
            if (otherType == type) {
                return;
            }
        }
        m_state->services.emplace_back(type, std::move(service));
    }
    added->init();
}

IService* EntryPoint::getService(std::type_index type) const {
    const std::shared_lock lock(m_state->servicesMutex);
    for (const auto& [otherType, service] : m_state->services) {
        if (otherType == type) {
            return service.get();
        }
    }
    return nullptr;
}

int EntryPoint::createWorld() {
    const int id = ++m_state->lastWorldId;
    World& world = *m_state->worlds.emplace(id, std::make_unique<World>(id)).first->second;
    for (std::size_t managerId = 0; managerId < m_state->reactiveManagers.size(); ++managerId) {
        world.createReactiveManager(static_cast<int>(managerId));
    }
    return id;
}

void EntryPoint::destroyWorld(int worldId) {
    auto world = m_state->worlds.extract(worldId);
    if (world.empty()) {
        return;
    }
    for (std::size_t i = 0; i < m_state->services.size(); ++i) {
        m_state->services[i].second->onWorldDestroyed(worldId);
    }
    if (m_state->framesUnderWay > 0) {
        m_state->destroyedInFrame.push_back(std::move(world.mapped()));
    }
}

bool EntryPoint::isWorldValid(int worldId) const {
    return m_state->worlds.contains(worldId);
}

World* EntryPoint::findValidWorld(int worldId) const {
    const auto world = m_state->worlds.find(worldId);
    return world == m_state->worlds.end() ? nullptr : world->second.get();
}

std::vector<int> EntryPoint::worldIds() const {
    std::vector<int> ids;
    for (const auto& [id, world] : m_state->worlds) {
        ids.push_back(id);
    }
    return ids;
}

int EntryPoint::registerReactiveManager(ReactiveManagerFactory factory) {
    pinCaller();
    m_state->reactiveManagers.push_back({std::move(factory)});
    return static_cast<int>(m_state->reactiveManagers.size()) - 1;
}

ReactiveManagerRecord* EntryPoint::findReactiveManagerRecord(int managerId) {
    const auto index = static_cast<std::size_t>(managerId);
    return index < m_state->reactiveManagers.size() ? &m_state->reactiveManagers[index] : nullptr;
}

void EntryPoint::tick() {
    struct Frame : NonCopyable {
        explicit Frame(State& frameState) : state(frameState) { ++state.framesUnderWay; }
        ~Frame() {
            if (--state.framesUnderWay == 0) {
                state.destroyedInFrame.clear();
            }
        }
        State& state;
    };
    const Frame frame(*m_state);

    FileIOTaskManager::instance().tickMainThread();
    for (std::size_t i = 0; i < m_state->services.size(); ++i) {
        m_state->services[i].second->tick();
    }
    for (std::size_t i = 0; i < m_state->services.size(); ++i) {
        m_state->services[i].second->postTick();
    }
    for (const int worldId : worldIds()) {
        if (World* const world = findValidWorld(worldId)) {
            world->runReactions();
        }
    }
    Log::instance().flushDue();
}

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

} // namespace Kiln::Tessel
