#pragma once

#include <cstddef>

namespace Kiln::Tessel {

/// Notified when elements of a pool are activated and deactivated.
///
/// Owner: the caller of setListener(); the listener must outlive the pool or be removed first. It is called on the
/// thread that uses the pool, must not throw, and may use the pool: create, activate, deactivate and free elements.
template <class T>
class BlockPoolListener {
public:
    virtual ~BlockPoolListener() = default;

    /// `element` has just become ACTIVE. `index` is its index in its block.
    virtual void onActivated(T& element, std::size_t index) = 0;

    /// `element` is still ACTIVE and is deactivated or freed when this returns. It must not be deactivated or freed
    /// from here.
    virtual void onDeactivating(T& element, std::size_t index) = 0;
};

} // namespace Kiln::Tessel
