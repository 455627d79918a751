#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>

#include <functional>
#include <memory>

namespace Kiln::Tessel {

class World;

/// What a manager factory may be given to start from.
class IManagerInitData {
public:
    virtual ~IManagerInitData() = default;
};

/// Lets others follow what a manager works on.
class IManagerWatcher {
public:
    virtual ~IManagerWatcher() = default;
};

/// Logic of one world that reacts to what enters its queries. Each world has one of every registered manager
/// (EntryPoint::registerReactiveManager) and owns it. Main thread.
class IReactiveManager : NonCopyable {
public:
    virtual ~IReactiveManager() = default;

    /// Called once, when the manager has been made for the world.
    virtual void init(World& world) = 0;

    /// Called once, before the world goes away; all that init registered is to be taken back.
    virtual void fini(World& world) = 0;

    /// Called when level data has been mapped into or out of the world.
    virtual void onMappingLoaded(World& /*world*/) {}
    virtual void onMappingUnloaded(World& /*world*/) {}

    /// Null unless the manager offers a watcher.
    virtual IManagerWatcher* getWatcher() { return nullptr; }
};

/// Base of a concrete manager, which it is given as `Manager`.
template <class Manager>
class ReactiveManager : public IReactiveManager {
public:
    /// The factory to register: makes a manager and ignores the init data.
    [[nodiscard]] static std::unique_ptr<IReactiveManager> create(std::unique_ptr<IManagerInitData> /*initData*/) {
        return std::make_unique<Manager>();
    }
};

using ReactiveManagerFactory = std::function<std::unique_ptr<IReactiveManager>(std::unique_ptr<IManagerInitData>)>;

} // namespace Kiln::Tessel
