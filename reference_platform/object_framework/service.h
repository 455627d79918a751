#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>

namespace Kiln::Tessel {

/// A part of the framework of which the process has one: registered with EntryPoint, found by its type, ticked once
/// per frame. The entry point owns it. All operations run on the main thread.
class IService : NonCopyable {
public:
    virtual ~IService() = default;

    /// Called once, when the service has been registered.
    virtual void init() = 0;

    /// Called once, before destruction, while the other services still exist.
    virtual void fini() = 0;

    /// Called once per frame, for each service in the order of registration.
    virtual void tick() = 0;

    /// Called once per frame, after every service has been ticked.
    virtual void postTick() = 0;

    /// Called when a world is going away; the world is no longer valid.
    virtual void onWorldDestroyed(int worldId) = 0;
};

} // namespace Kiln::Tessel
