#pragma once

#include <common/export.h>
#include <common/uuid.h>

#include <cstdint>

namespace Kiln {

/// The inverse of Uuid::combine() in its second argument, for one first argument: tells which object of a nested prefab
/// a UUID in the enclosing prefab means. A value type; any thread.
class UuidDivider {
public:
    /// Prepares for dividing by that first argument.
    KILN_COMMON_EXPORT explicit UuidDivider(const Uuid& first) noexcept;

    /// The UUID that, combined with the first argument in front of it, yields `combined`. There is always exactly one.
    [[nodiscard]] KILN_COMMON_EXPORT Uuid operator()(const Uuid& combined) const noexcept;

private:
    std::uint64_t m_high; ///< The first argument, scattered.
    std::uint64_t m_low;
    std::uint64_t m_inverse; ///< Of the factor by which the first argument multiplies.
};

} // namespace Kiln
