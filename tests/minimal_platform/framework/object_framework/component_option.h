#pragma once

#include <cstdint>

namespace Kiln::Tessel {

enum class ComponentOption : std::uint32_t {
    CLIENT = 0x01,
    SERVER = 0x02,
    USE_RECORD_OPTIONS = 0x08,
    SKIP_ROLE_CHECK = 0x10,
    EDITOR = 0x20
};

class ComponentOptions {
public:
    constexpr explicit ComponentOptions(std::uint32_t bits = 0) : m_bits(bits) {}
    [[nodiscard]] constexpr std::uint32_t bits() const { return m_bits; }
    [[nodiscard]] constexpr bool has(ComponentOption option) const {
        return (m_bits & static_cast<std::uint32_t>(option)) != 0;
    }
    friend constexpr ComponentOptions operator&(ComponentOptions a, ComponentOptions b) {
        return ComponentOptions(a.m_bits & b.m_bits);
    }
    friend constexpr bool operator==(ComponentOptions, ComponentOptions) = default;

private:
    std::uint32_t m_bits;
};

inline constexpr ComponentOptions ALL_ROLES{0x23};

} // namespace Kiln::Tessel
