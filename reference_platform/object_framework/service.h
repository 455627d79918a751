#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>

namespace Kiln::Tessel {

/// A process-wide part of the framework: registered with EntryPoint, which owns it, looked up by its type, and ticked
/// once per frame. All operations run on the main thread.
class IService : NonCopyable {
public:
    virtual ~IService() = default;

    /// Called once, after the service was registered.
    virtual void init() = 0;

    /// Called once, before destruction, while the other services still exist.
    virtual void fini() = 0;

    /// Called once per frame, for each service in the order of registration.
    virtual void tick() = 0;

    /// Called once per frame, after every service has been ticked.
    virtual void postTick() = 0;

    /// Called when a world is destroyed. The world is not valid any more.
    virtual void onWorldDestroyed(int worldId) = 0;
};

} // namespace Kiln::Tessel
