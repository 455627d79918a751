#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>

#include <cstddef>
#include <deque>
#include <set>
#include <utility>

namespace Kiln::TestSupport {

/// In this program, Uuid::combine(a, b) takes its high half from a and its low half from b. In this instance, and in
/// those nested in it, only the last hexadecimal digit of the low half is kept. So
/// - an instance and the instances nested in it share their object UUIDs: all have the same high half;
/// - only here, descriptors of one instance collide if their last digits are the same.
inline constexpr Uuid COLLIDING_INSTANCE{0xC0, 0};

/// An instance in which descriptors do not collide.
inline constexpr Uuid PLAIN_INSTANCE{0xA0, 0};

/// Sets the results of Uuid::generate() and records the arguments of Uuid::combine() while it exists; one at a time, on
/// the thread that creates. UUIDs generated beyond the given ones, and without a script, are unique.
class UuidScript : NonCopyable {
public:
    explicit UuidScript(std::deque<Uuid> toGenerate = {});
    ~UuidScript();

    /// Number of calls of Uuid::generate().
    [[nodiscard]] std::size_t generatedCount() const { return m_generatedCount; }

    /// The arguments of the calls of Uuid::combine(); their number and order are not part of the contract.
    [[nodiscard]] const std::set<std::pair<Uuid, Uuid>>& combined() const { return m_combined; }

private:
    friend class Kiln::Uuid;

    std::deque<Uuid> m_toGenerate;
    std::size_t m_generatedCount = 0;
    std::set<std::pair<Uuid, Uuid>> m_combined;
};

} // namespace Kiln::TestSupport
