#pragma once

#include <common/matrix.h>
#include <generic_components/export.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>

namespace Kiln::Tessel {

/// Position and orientation of a game object. Code that moves an object sets `state` to SETTING, writes the local and
/// then the world matrix, and sets `state` to CHANGED. Main thread.
class KILN_GENERIC_COMPONENTS_EXPORT TransformComponent final
    : public PoolableComponent<TransformComponent, IComponent> {
public:
    /// What a prefab stores.
    struct Config {
        Matrix local; ///< Relative to the parent.
    };

    /// Values of `state`.
    static constexpr std::uint8_t SETTING = 0x01; ///< Bit 0: the matrices are being written.
    static constexpr std::uint8_t CHANGED = 2;    ///< The matrices have been written.

    /// Both matrices are the stored one at first.
    explicit TransformComponent(const Config& config) : local(config.local), world(config.local) {}
    ~TransformComponent() override;

    std::uint8_t state = 0; ///< 0, SETTING or CHANGED.
    Matrix local;           ///< Relative to the parent.
    Matrix world;           ///< As last written; the component does not follow its parent on its own.
};

} // namespace Kiln::Tessel
