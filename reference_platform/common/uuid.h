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
    /// All bits are 0: the UUID that stands for none.
    static const Uuid ZERO;

    constexpr Uuid() noexcept = default;
    /// The UUID of two halves, of which `high` holds the first 16 digits.
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

    /// @{
    /// The halves, of which `high` holds the first 16 digits.
    [[nodiscard]] constexpr std::uint64_t high() const noexcept { return m_high; }
    [[nodiscard]] constexpr std::uint64_t low() const noexcept { return m_low; }
    /// @}

    /// A hash for tables in memory. It differs from process to process: files contain UUIDs that their authors have
    /// chosen, and without knowing the key nobody can choose many with the same hash.
    [[nodiscard]] std::size_t hash() const noexcept {
        // The folded multiplication of wyhash (Wang Yi) and of Abseil's hash tables.
        __extension__ using Product = unsigned __int128;
        const Product product = static_cast<Product>(m_high ^ s_hashKey.high) * (m_low ^ s_hashKey.low);
        return static_cast<std::size_t>(static_cast<std::uint64_t>(product) ^
                                        static_cast<std::uint64_t>(product >> 64));
    }

    friend constexpr bool operator==(const Uuid&, const Uuid&) noexcept = default;
    friend constexpr auto operator<=>(const Uuid&, const Uuid&) noexcept = default;

private:
    struct HashKey {
        std::uint64_t high;
        std::uint64_t low;
    };

    [[nodiscard]] static HashKey makeHashKey() noexcept;

    /// Random. Set before any other static object is initialized, and constant from then on.
    KILN_COMMON_EXPORT static const HashKey s_hashKey;

    std::uint64_t m_high = 0;
    std::uint64_t m_low = 0;
};

inline constexpr Uuid Uuid::ZERO{};

/// Uuid::combine() for one first argument and many second ones: the work on the first argument is done only once.
class UuidCombiner {
public:
    /// Prepares for combining with that first argument.
    KILN_COMMON_EXPORT explicit UuidCombiner(const Uuid& first) noexcept;

    /// Uuid::combine(first(), second).
    [[nodiscard]] KILN_COMMON_EXPORT Uuid operator()(const Uuid& second) const noexcept;

    /// The first argument of every combination.
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
