#include <common/uuid.h>
#include <common/uuid_division.h>

namespace Kiln {

namespace {

constexpr std::uint64_t FIRST_OFFSET = 0x9e3779b97f4a7c15ULL;
constexpr std::uint64_t SECOND_OFFSET = 0xbf58476d1ce4e5b9ULL;
constexpr std::uint64_t THIRD_OFFSET = 0x94d049bb133111ebULL;

struct Halves {
    std::uint64_t high;
    std::uint64_t low;
};

constexpr std::uint64_t mix(std::uint64_t value) noexcept {
    value ^= value >> 33;
    value *= 0xff51afd7ed558ccdULL;
    value ^= value >> 33;
    value *= 0xc4ceb9fe1a85ec53ULL;
    value ^= value >> 33;
    return value;
}

/// A bijection that makes each bit of the result depend on all bits of the UUID.
constexpr Halves scatter(Halves halves) noexcept {
    halves.low ^= mix(halves.high + FIRST_OFFSET);
    halves.high ^= mix(halves.low + SECOND_OFFSET);
    halves.low ^= mix(halves.high + THIRD_OFFSET);
    return halves;
}

/// The inverse of scatter().
constexpr Halves gather(Halves halves) noexcept {
    halves.low ^= mix(halves.high + THIRD_OFFSET);
    halves.high ^= mix(halves.low + SECOND_OFFSET);
    halves.low ^= mix(halves.high + FIRST_OFFSET);
    return halves;
}

} // namespace

// Between scatter and gather a UUID represents the map x -> (2 * high + 1) * x + low on the integers (the factor modulo
// 2^65, of which high holds the upper 64 bits), and two UUIDs are combined by composing their maps. Composition is
// associative and, because odd factors are invertible, injective in either argument. Files hold combined UUIDs, so the
// results must never change.
Uuid Uuid::combine(const Uuid& first, const Uuid& second) noexcept {
    return UuidCombiner(first)(second);
}

UuidCombiner::UuidCombiner(const Uuid& first) noexcept : m_first(first) {
    const Halves scattered = scatter({first.high(), first.low()});
    m_high = scattered.high;
    m_low = scattered.low;
}

Uuid UuidCombiner::operator()(const Uuid& second) const noexcept {
    const Halves b = scatter({second.high(), second.low()});
    const Halves combined = gather({m_high + b.high + 2 * m_high * b.high, m_low + (2 * m_high + 1) * b.low});
    return {combined.high, combined.low};
}

UuidDivider::UuidDivider(const Uuid& first) noexcept {
    const Halves scattered = scatter({first.high(), first.low()});
    m_high = scattered.high;
    m_low = scattered.low;
    // Newton's iteration doubles the number of correct bits of the inverse; an odd number is its own inverse modulo 8.
    const std::uint64_t factor = 2 * m_high + 1;
    m_inverse = factor;
    for (int correctBits = 3; correctBits < 64; correctBits *= 2) {
        m_inverse *= 2 - factor * m_inverse;
    }
}

Uuid UuidDivider::operator()(const Uuid& combined) const noexcept {
    const Halves c = scatter({combined.high(), combined.low()});
    const Halves second = gather({(c.high - m_high) * m_inverse, (c.low - m_low) * m_inverse});
    return {second.high, second.low};
}

} // namespace Kiln
