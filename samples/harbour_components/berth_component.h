#pragma once

#include <object_framework/game_object.h>
#include <object_framework/link_config.h>
#include <tessel_foundation/poolable_component.h>

#include <string>
#include <vector>

namespace Harbour {

/// A place where ships lie: which ones are there, and where their lines go.
class BerthComponent final : public Kiln::Tessel::PoolableComponent<BerthComponent, Kiln::Tessel::IComponent> {
public:
    struct MooringConfig {
        Kiln::Tessel::GameObjectLink bollard;
        std::string line; ///< Such as "bow" or "stern".
    };

    struct Config {
        double depth = 5; ///< Metres at low water.
        std::vector<Kiln::Tessel::GameObjectLink> ships;
        std::vector<MooringConfig> moorings;
    };

    struct Mooring {
        Kiln::Tessel::GameObject bollard;
        std::string line;
    };

    explicit BerthComponent(const Config& config) : depth(config.depth) {
        for (const Kiln::Tessel::GameObjectLink& ship : config.ships) {
            ships.push_back(ship.target());
        }
        for (const MooringConfig& mooring : config.moorings) {
            moorings.push_back({mooring.bollard.target(), mooring.line});
        }
    }

    double depth;
    std::vector<Kiln::Tessel::GameObject> ships;
    std::vector<Mooring> moorings;
};

} // namespace Harbour
