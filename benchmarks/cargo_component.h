#pragma once

#include <tessel_foundation/poolable_component.h>

#include <string>

namespace Kiln::Benchmarks {

/// A component of typical size: one string that is too long to be stored inside the string object, and two numbers.
class CargoComponent final : public Tessel::PoolableComponent<CargoComponent, Tessel::IComponent> {
public:
    struct Config {
        std::string label;
        float mass = 0;   ///< Tonnes.
        float volume = 0; ///< Cubic metres.
    };

    explicit CargoComponent(const Config& from) : config(from) {}

    Config config;
};

} // namespace Kiln::Benchmarks
