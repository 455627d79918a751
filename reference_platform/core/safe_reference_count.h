#pragma once

#include <core/export.h>

#include <atomic>
#include <cstdint>

namespace Kiln {

/// Base of objects that are shared through SmartPointer: an intrusive, atomic reference count.
///
/// An object starts with a count of one, held by its creator; makeSmart() hands that first reference to a SmartPointer.
/// The object deletes itself when the last reference is dropped, on the thread that drops it. Copying an object never
/// copies its count.
///
/// Threads: incRef and decRef may be called from any thread.
class KILN_CORE_EXPORT SafeReferenceCount {
public:
    /// Takes one more reference. The caller must hold one, or be the creator.
    void incRef() const noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

    /// Drops one reference; deletes the object when it was the last one.
    void decRef() const noexcept {
        // Release publishes this holder's writes; the acquire makes them visible to the thread that destroys the
        // object.
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }

    /// Number of references at some moment during the call; a diagnostic, not a synchronisation point.
    [[nodiscard]] std::uint32_t refCount() const noexcept { return m_count.load(std::memory_order_relaxed); }

protected:
    SafeReferenceCount() noexcept = default;
    /// @{
    /// Copying an object leaves both counts as they are.
    SafeReferenceCount(const SafeReferenceCount&) noexcept {}
    // Leaves the count alone, so self-assignment is no special case. NOLINTNEXTLINE(cert-oop54-cpp)
    SafeReferenceCount& operator=(const SafeReferenceCount&) noexcept { return *this; }
    /// @}
    virtual ~SafeReferenceCount();

private:
    mutable std::atomic<std::uint32_t> m_count{1};
};

} // namespace Kiln
