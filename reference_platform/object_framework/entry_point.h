#pragma once

#include <core/non_copyable.h>
#include <object_framework/component_option.h>
#include <object_framework/export.h>
#include <object_framework/game_object.h>
#include <object_framework/reactive_manager.h>
#include <object_framework/service.h>

#include <memory>
#include <typeindex>
#include <vector>

namespace Kiln::Tessel {

class World;

/// A registered kind of reactive manager.
struct ReactiveManagerRecord {
    ReactiveManagerFactory factory;
    ComponentOptions options = ALL_ROLES; ///< Roles of the processes whose worlds get one.
};

/// The process's way into the framework: services, worlds and the frame.
///
///     while (running) EntryPoint::instance().tick();
///
/// Lifetime: made by the first call of instance(); at exit it joins the file-I/O workers, destroys the worlds, ends
/// the services and destroys them.
/// Threads: instance() and getService() may be called from any thread, everything else from the main thread.
class KILN_OBJECT_FRAMEWORK_EXPORT EntryPoint : NonCopyable {
public:
    static EntryPoint& instance();

    /// Takes a service over and initialises it. Refused, and the service destroyed at once, when there is one under
    /// that type already.
    void registerService(std::type_index type, std::unique_ptr<IService> service);

    /// Null when no service is registered under that type.
    [[nodiscard]] IService* getService(std::type_index type) const;
    template <class T>
    [[nodiscard]] T* getService() const {
        return static_cast<T*>(getService(typeid(T)));
    }

    /// Makes a world, with its reactive managers, and returns its id. Ids count from 1 and are never used again.
    int createWorld();

    /// The world is invalid at once and the services are told. During a frame, its objects live on until the frame
    /// ends, so that whoever is working on them is not cut short. Ignores ids that are not valid.
    void destroyWorld(int worldId);

    [[nodiscard]] bool isWorldValid(int worldId) const;

    /// Null when the world is not valid.
    [[nodiscard]] World* findValidWorld(int worldId) const;

    /// Ids of the valid worlds, ascending.
    [[nodiscard]] std::vector<int> worldIds() const;

    /// Registers a kind of reactive manager and returns its id. Worlds made from now on get one; for those that exist,
    /// call World::createReactiveManager.
    int registerReactiveManager(ReactiveManagerFactory factory);

    /// Null when there is no kind of that id.
    [[nodiscard]] ReactiveManagerRecord* findReactiveManagerRecord(int managerId);

    /// One frame: main-thread parts of finished file-I/O tasks, tick of every service, postTick of every service, the
    /// reactions of every world.
    void tick();

private:
    EntryPoint();
    ~EntryPoint();

    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace Kiln::Tessel
