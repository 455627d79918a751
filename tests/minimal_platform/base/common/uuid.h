#pragma once

#include <core/api.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln {

class Uuid {
public:
    static const Uuid ZERO;

    constexpr Uuid() noexcept = default;
    constexpr Uuid(std::uint64_t high, std::uint64_t low) noexcept : m_high(high), m_low(low) {}

    [[nodiscard]] MINIMAL_API static Uuid generate();

    /// Takes UUIDs as affine maps x -> (2 * high + 1) * x + low modulo 2^64, which it composes: associative, and
    /// injective in either argument.
    [[nodiscard]] static constexpr Uuid combine(const Uuid& first, const Uuid& second) noexcept {
        return {first.m_high + second.m_high + 2 * first.m_high * second.m_high,
                first.m_low + (2 * first.m_high + 1) * second.m_low};
    }

    [[nodiscard]] MINIMAL_API static std::optional<Uuid> fromString(std::string_view text);
    [[nodiscard]] MINIMAL_API std::string toString() const;

    [[nodiscard]] constexpr std::size_t hash() const noexcept { return (m_high * 31 + m_low) * 0x9e3779b97f4a7c15ULL; }

    friend constexpr auto operator<=>(const Uuid&, const Uuid&) noexcept = default;

private:
    std::uint64_t m_high = 0;
    std::uint64_t m_low = 0;
};

inline constexpr Uuid Uuid::ZERO{};

/// combine() with one first argument.
class UuidCombiner {
public:
    explicit constexpr UuidCombiner(const Uuid& first) noexcept : m_first(first) {}
    [[nodiscard]] constexpr Uuid operator()(const Uuid& second) const noexcept {
        return Uuid::combine(m_first, second);
    }
    [[nodiscard]] constexpr const Uuid& first() const noexcept { return m_first; }

private:
    Uuid m_first;
};

} // namespace Kiln

template <>
struct std::hash<Kiln::Uuid> {
    std::size_t operator()(const Kiln::Uuid& uuid) const noexcept { return uuid.hash(); }
};
