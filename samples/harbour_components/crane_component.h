#pragma once

#include <object_framework/game_object.h>
#include <object_framework/link_config.h>
#include <tessel_foundation/poolable_component.h>

#include <string>

namespace Harbour {

/// The drive of a hoist.
struct Drive {
    std::string model;
    float power = 0;      ///< Kilowatts.
    float hoistSpeed = 0; ///< Metres per second with a full load.
};

/// A crane or winch, and the object that hangs on it.
class CraneComponent final : public Kiln::Tessel::PoolableComponent<CraneComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        float reach = 10;   ///< Metres.
        float capacity = 1; ///< Tonnes at full reach.
        Drive drive;
        Kiln::Tessel::GameObjectLink load;
    };

    explicit CraneComponent(const Config& config)
        : reach(config.reach), capacity(config.capacity), drive(config.drive), load(config.load.target()) {}

    float reach;
    float capacity;
    Drive drive;
    Kiln::Tessel::GameObject load; ///< Invalid if the link did not resolve.
};

} // namespace Harbour
