#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>

#include <functional>
#include <memory>

namespace Kiln::Tessel {

class World;

/// Optional argument of a manager factory.
class IManagerInitData {
public:
    virtual ~IManagerInitData() = default;
};

/// Lets other code observe what a manager does.
class IManagerWatcher {
public:
    virtual ~IManagerWatcher() = default;
};

/// Logic of one world that reacts to the objects that enter its queries. Each world creates and owns one manager of
/// every registered kind (EntryPoint::registerReactiveManager). Main thread.
class IReactiveManager : NonCopyable {
public:
    virtual ~IReactiveManager() = default;

    /// Called once, after the manager was created for the world.
    virtual void init(World& world) = 0;

    /// Called once, before the world is destroyed; unregisters everything that init() registered.
    virtual void fini(World& world) = 0;

    /// @{
    /// Called after level data was mapped into the world or unmapped from it.
    virtual void onMappingLoaded(World& /*world*/) {}
    virtual void onMappingUnloaded(World& /*world*/) {}
    /// @}

    /// Null when the manager has no watcher.
    virtual IManagerWatcher* getWatcher() { return nullptr; }
};

/// Base of the concrete manager class `Manager`.
template <class Manager>
class ReactiveManager : public IReactiveManager {
public:
    /// The factory to register: creates a manager and ignores the init data.
    [[nodiscard]] static std::unique_ptr<IReactiveManager> create(std::unique_ptr<IManagerInitData> /*initData*/) {
        return std::make_unique<Manager>();
    }
};

/// Makes a manager; the argument may be null.
using ReactiveManagerFactory = std::function<std::unique_ptr<IReactiveManager>(std::unique_ptr<IManagerInitData>)>;

} // namespace Kiln::Tessel
