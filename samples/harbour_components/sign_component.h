#pragma once

#include <tessel_foundation/poolable_component.h>

#include <string>

namespace Harbour {

/// A sign with a readable text.
class SignComponent final : public Kiln::Tessel::PoolableComponent<SignComponent, Kiln::Tessel::IComponent> {
public:
    struct Config {
        std::string text;
        float height = 0.5F; ///< Of a letter, in metres.
    };

    explicit SignComponent(const Config& config) : text(config.text), height(config.height) {}

    std::string text;
    float height;
};

} // namespace Harbour
