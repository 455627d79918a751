#pragma once

#include <common/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Kiln {

/// A 128-bit identifier, as two 64-bit halves. A value type; the default is ZERO.
class Uuid {
public:
    static const Uuid ZERO;

    constexpr Uuid() noexcept = default;
    constexpr Uuid(std::uint64_t high, std::uint64_t low) noexcept : m_high(high), m_low(low) {}

    /// A new random version-4 UUID (RFC 9562), unique across threads. Any thread.
    [[nodiscard]] KILN_COMMON_EXPORT static Uuid generate();

    /// A deterministic UUID of the ordered pair: associative and injective in either argument, not commutative.
    /// The instance (or seed) comes first.
    [[nodiscard]] KILN_COMMON_EXPORT static Uuid combine(const Uuid& first, const Uuid& second) noexcept;

    /// Reads 8-4-4-4-12 hexadecimal digits of either case, with nothing before or after; empty when malformed.
    [[nodiscard]] KILN_COMMON_EXPORT static std::optional<Uuid> fromString(std::string_view text) noexcept;

    /// 8-4-4-4-12 lower-case hexadecimal digits, high half first.
    [[nodiscard]] KILN_COMMON_EXPORT std::string toString() const;

    [[nodiscard]] constexpr std::uint64_t high() const noexcept { return m_high; }
    [[nodiscard]] constexpr std::uint64_t low() const noexcept { return m_low; }

    [[nodiscard]] constexpr std::size_t hash() const noexcept {
        // Both halves are well mixed in random and combined UUIDs; the multiplier (2^64 / golden ratio) spreads
        // hand-written ones.
        return static_cast<std::size_t>((m_high ^ m_low) * 0x9e3779b97f4a7c15ULL + m_low);
    }

    friend constexpr bool operator==(const Uuid&, const Uuid&) noexcept = default;
    friend constexpr auto operator<=>(const Uuid&, const Uuid&) noexcept = default;

private:
    std::uint64_t m_high = 0;
    std::uint64_t m_low = 0;
};

inline constexpr Uuid Uuid::ZERO{};

/// Uuid::combine() for one first argument and many second ones: the work on the first argument is done only once.
class UuidCombiner {
public:
    KILN_COMMON_EXPORT explicit UuidCombiner(const Uuid& first) noexcept;

    [[nodiscard]] KILN_COMMON_EXPORT Uuid operator()(const Uuid& second) const noexcept;

    [[nodiscard]] const Uuid& first() const noexcept { return m_first; }

private:
    Uuid m_first;
    std::uint64_t m_high; ///< The first argument, scattered.
    std::uint64_t m_low;
};

} // namespace Kiln

template <>
struct std::hash<Kiln::Uuid> {
    std::size_t operator()(const Kiln::Uuid& uuid) const noexcept { return uuid.hash(); }
};
