#pragma once

#include <core/non_copyable.h>

namespace Kiln::Tessel {

class IService : NonCopyable {
public:
    virtual ~IService() = default;
    virtual void init() = 0;
    virtual void fini() = 0;
    virtual void tick() = 0;
    virtual void postTick() = 0;
    virtual void onWorldDestroyed(int worldId) = 0;
};

} // namespace Kiln::Tessel
