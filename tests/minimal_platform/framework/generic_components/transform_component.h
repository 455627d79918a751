#pragma once

#include <common/matrix.h>
#include <core/api.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>

namespace Kiln::Tessel {

class MINIMAL_API TransformComponent final : public PoolableComponent<TransformComponent, IComponent> {
public:
    struct Config {
        Matrix local;
    };

    static constexpr std::uint8_t SETTING = 1;
    static constexpr std::uint8_t CHANGED = 2;

    explicit TransformComponent(const Config& config) : local(config.local), world(config.local) {}
    ~TransformComponent() override;

    std::uint8_t state = 0;
    Matrix local;
    Matrix world;
};

} // namespace Kiln::Tessel
