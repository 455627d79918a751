#pragma once

#include <core/non_copyable.h>

#include <cstddef>

namespace Kiln::Tests {

/// While one of these exists, operator new throws std::bad_alloc on its thread. Has an effect only in
/// programs that are built with failing_allocation.cpp, which replaces the operators.
class FailingAllocation : NonCopyable {
public:
    FailingAllocation();
    ~FailingAllocation();
};

/// Blocks that the current thread has allocated with operator new, less those that it has freed.
[[nodiscard]] std::ptrdiff_t allocatedBlocks();

} // namespace Kiln::Tests
