#pragma once

#include <cstddef>

namespace Kiln::Tessel {

/// Is told which elements of a pool come into use and go out of use.
///
/// Owner: whoever sets it at the pool; it outlives the pool or is unset before. It is called on the thread that uses
/// the pool, must not throw, and may use the pool: create, activate, deactivate and free elements.
template <class T>
class BlockPoolListener {
public:
    virtual ~BlockPoolListener() = default;

    /// `element` has just become ACTIVE. `index` is its index in its block.
    virtual void onActivated(T& element, std::size_t index) = 0;

    /// `element` is ACTIVE and ceases to be when this returns, because it is deactivated or freed. It must not be
    /// deactivated or freed from here.
    virtual void onDeactivating(T& element, std::size_t index) = 0;
};

} // namespace Kiln::Tessel
