#pragma once

#include <tessel_foundation/component.h>
#include <tessel_foundation/internal_tech/block_allocable.h>
#include <tessel_foundation/internal_tech/block_pool.h>

namespace Kiln::Tessel {

/// Base of component class T: gives it a type id and stores it in a block pool.
///
///     class Burning final : public PoolableComponent<Burning, IComponent> {
///     public:
///         explicit Burning(const Config& config);
///     };
///
/// Owner: the ComponentStorage of T that made it, which also sets the link to the block. A component that was created
/// in another way works as well, but cannot be activated. Threads: the main thread.
template <class T, class Base>
class PoolableComponent : public Base, public NativeComponent<T>, public BlockAllocable<T> {
public:
    /// The id of T, whatever class derives from T.
    [[nodiscard]] ComponentTypeId type() const override { return NativeComponent<T>::getType(); }

    /// Forwards to the block; has no effect on a component without a block.
    void activate() override {
        if (BlockPool<T>* const block = this->block()) {
            block->activate(static_cast<T*>(this));
        }
    }

    /// Forwards to the block; has no effect on a component without a block.
    void deactivate() override {
        if (BlockPool<T>* const block = this->block()) {
            block->deactivate(static_cast<T*>(this));
        }
    }

protected:
    using Base::Base;
    PoolableComponent() = default;
};

} // namespace Kiln::Tessel
