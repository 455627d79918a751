#pragma once

#include <type_traits>

/// Small utilities that name no type of the framework: sets of bits, and signals.
namespace nox {

/// A set of the bit values of an unscoped or scoped enumeration, kept in the enumeration's underlying type.
template <class Enumeration>
    requires std::is_enum_v<Enumeration>
class Flags {
public:
    /// Type of the bits: that of the enumeration.
    using Bits = std::underlying_type_t<Enumeration>;

    constexpr Flags() noexcept = default;
    /// @{
    /// The set with the bits of one value, or with these bits.
    constexpr Flags(Enumeration value) noexcept : m_bits(static_cast<Bits>(value)) {}
    constexpr explicit Flags(Bits bits) noexcept : m_bits(bits) {}
    /// @}

    /// All bits of the set.
    [[nodiscard]] constexpr Bits bits() const noexcept { return m_bits; }
    /// Whether the set has every bit of the value.
    [[nodiscard]] constexpr bool has(Enumeration value) const noexcept {
        return (m_bits & static_cast<Bits>(value)) == static_cast<Bits>(value);
    }
    /// Whether the sets have a bit in common.
    [[nodiscard]] constexpr bool hasAny(Flags other) const noexcept { return (m_bits & other.m_bits) != 0; }
    /// True unless the set is empty.
    constexpr explicit operator bool() const noexcept { return m_bits != 0; }

    friend constexpr Flags operator|(Flags a, Flags b) noexcept {
        return Flags(static_cast<Bits>(a.m_bits | b.m_bits));
    }
    friend constexpr Flags operator&(Flags a, Flags b) noexcept {
        return Flags(static_cast<Bits>(a.m_bits & b.m_bits));
    }
    /// @{
    /// Adds the bits of another set, or keeps only those in common with it.
    constexpr Flags& operator|=(Flags other) noexcept { return *this = *this | other; }
    constexpr Flags& operator&=(Flags other) noexcept { return *this = *this & other; }
    /// @}
    friend constexpr bool operator==(Flags, Flags) noexcept = default;

private:
    Bits m_bits = 0;
};

} // namespace nox
