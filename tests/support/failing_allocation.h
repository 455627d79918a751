#pragma once

#include <core/non_copyable.h>

#include <cstddef>

/// Allocations that fail. The classes have an effect only in programs that are built with failing_allocation.cpp, which
/// replaces the operators that allocate and free one object.
namespace Kiln::TestSupport {

/// While one of these exists, operator new throws std::bad_alloc on its thread.
class FailingAllocation : NonCopyable {
public:
    FailingAllocation();
    ~FailingAllocation();
};

/// While one of these exists, a single allocation fails, or that one and all that follow it, on its thread. They are
/// counted from 0, beginning with the construction.
class AllocationFault : NonCopyable {
public:
    enum class Duration { ONCE, LASTING };

    AllocationFault(std::size_t index, Duration duration);
    ~AllocationFault();

    /// Whether the operation has reached that allocation.
    [[nodiscard]] bool hasOccurred() const;
};

/// Blocks that the current thread has allocated with operator new, less those that it has freed.
[[nodiscard]] std::ptrdiff_t allocatedBlocks();

} // namespace Kiln::TestSupport
