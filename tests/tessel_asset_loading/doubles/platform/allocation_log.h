#pragma once

#include <core/non_copyable.h>

#include <cstddef>
#include <vector>

namespace Kiln::TestSupport {

/// Records the sizes of all blocks, in bytes, that this thread takes with operator new during the lifetime of the
/// object. Works only in programs that are built with allocation_log.cpp, which replaces the operator.
class AllocationLog : NonCopyable {
public:
    AllocationLog();
    ~AllocationLog();

    [[nodiscard]] std::size_t count() const noexcept { return m_sizes.size(); }

    /// Number of blocks of exactly that size.
    [[nodiscard]] std::size_t count(std::size_t size) const;

    void record(std::size_t size);

private:
    std::vector<std::size_t> m_sizes;
};

} // namespace Kiln::TestSupport
