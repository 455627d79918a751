#pragma once

#include "beacon_pattern.h"

#include <tessel_foundation/poolable_component.h>

#include <memory>
#include <string>

namespace Harbour {

/// A navigation light that shows a pattern from a resource file.
class BeaconComponent final : public Kiln::Tessel::PoolableComponent<BeaconComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        std::string pattern; ///< Resource path.
        float range = 5;     ///< Nautical miles.
    };

    explicit BeaconComponent(const Config& config) : pattern(loadBeaconPattern(config.pattern)), range(config.range) {}

    /// Reads the pattern on a worker, so that making a component does not touch the disk.
    static void preload(const Config& config) { static_cast<void>(loadBeaconPattern(config.pattern)); }

    std::shared_ptr<const BeaconPattern> pattern;
    float range;
};

} // namespace Harbour
