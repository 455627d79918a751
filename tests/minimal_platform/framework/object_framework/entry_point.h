#pragma once

#include <core/non_copyable.h>
#include <object_framework/component_option.h>
#include <object_framework/game_object.h>
#include <object_framework/reactive_manager.h>
#include <object_framework/service.h>
#include <object_framework/world.h>

#include <map>
#include <memory>
#include <mutex>
#include <typeindex>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

struct ReactiveManagerRecord {
    ReactiveManagerFactory factory;
    ComponentOptions options = ALL_ROLES;
};

/// Main thread, except for instance() and getService().
class MINIMAL_API EntryPoint : NonCopyable {
public:
    static EntryPoint& instance();

    void registerService(std::type_index type, std::unique_ptr<IService> service);

    template <class T>
    [[nodiscard]] T* getService() const {
        return static_cast<T*>(getService(typeid(T)));
    }
    [[nodiscard]] IService* getService(std::type_index type) const;

    int createWorld();
    void destroyWorld(int worldId);
    [[nodiscard]] bool isWorldValid(int worldId) const { return m_worlds.contains(worldId); }
    [[nodiscard]] World* findValidWorld(int worldId) const;
    [[nodiscard]] std::vector<int> worldIds() const;

    int registerReactiveManager(ReactiveManagerFactory factory);
    [[nodiscard]] ReactiveManagerRecord* findReactiveManagerRecord(int managerId) {
        return &m_reactiveManagers.at(static_cast<std::size_t>(managerId));
    }

    /// One frame.
    void tick();

private:
    EntryPoint() = default;
    ~EntryPoint();

    mutable std::mutex m_servicesMutex; ///< Guards the list of services.
    std::vector<std::pair<std::type_index, std::unique_ptr<IService>>> m_services;
    std::map<int, std::unique_ptr<World>> m_worlds;
    int m_lastWorld = 0;
    std::vector<ReactiveManagerRecord> m_reactiveManagers;
};

} // namespace Kiln::Tessel
