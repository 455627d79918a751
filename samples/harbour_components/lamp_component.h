#pragma once

#include <tessel_foundation/poolable_component.h>

#include <string>

namespace Harbour {

/// A light source.
class LampComponent final : public Kiln::Tessel::PoolableComponent<LampComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        std::string colour = "warm white";
        float brightness = 450; ///< Lumen.
        bool isLit = true;
    };

    explicit LampComponent(const Config& config)
        : colour(config.colour), brightness(config.brightness), isLit(config.isLit) {}

    std::string colour;
    float brightness;
    bool isLit;
};

} // namespace Harbour
