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
    ReactiveManagerFactory factory;       ///< Makes the manager of a world.
    ComponentOptions options = ALL_ROLES; ///< Worlds have one only in a process with one of these roles.
};

/// The process-wide entry to the framework: owns the services and the worlds, and runs the frame.
///
///     while (running) EntryPoint::instance().tick();
///
/// Lifetime: created by the first call of instance(). At process exit it joins the file-I/O workers, destroys the
/// worlds, calls fini() of every service and then destroys the services.
/// Threads: instance() and getService() may be called from any thread, everything else from the main thread.
class KILN_OBJECT_FRAMEWORK_EXPORT EntryPoint : NonCopyable {
public:
    /// The process's entry point, which the first call creates. Any thread.
    static EntryPoint& instance();

    /// Takes ownership of a service and initialises it. If the type already has a service, the new one is destroyed
    /// immediately.
    void registerService(std::type_index type, std::unique_ptr<IService> service);

    /// Null when no service is registered under that type.
    [[nodiscard]] IService* getService(std::type_index type) const;
    /// The service that is registered under type T, which must be its class; null when there is none.
    template <class T>
    [[nodiscard]] T* getService() const {
        return static_cast<T*>(getService(typeid(T)));
    }

    /// Creates a world with its reactive managers and returns its id. Ids start at 1 and are never reused.
    int createWorld();

    /// Makes the world invalid immediately and notifies the services. During a frame, its objects live until the frame
    /// ends, so that code that is working on them can finish. Ignores ids that are not valid.
    void destroyWorld(int worldId);

    /// Whether the world exists: false for ids that were never given out and for those of destroyed worlds.
    [[nodiscard]] bool isWorldValid(int worldId) const;

    /// Null when the world is not valid.
    [[nodiscard]] World* findValidWorld(int worldId) const;

    /// Ids of the valid worlds, ascending.
    [[nodiscard]] std::vector<int> worldIds() const;

    /// Registers a kind of reactive manager and returns its id. Worlds that are created later have one; for existing
    /// worlds, call World::createReactiveManager().
    int registerReactiveManager(ReactiveManagerFactory factory);

    /// Null when no kind has that id.
    [[nodiscard]] ReactiveManagerRecord* findReactiveManagerRecord(int managerId);

    /// Runs one frame: the main-thread parts of finished file-I/O tasks, tick() of every service, postTick() of every
    /// service, then the reactions of every world, then Log::flushDue().
    void tick();

private:
    EntryPoint();
    ~EntryPoint();

    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace Kiln::Tessel
