#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Kiln {

/// The checksum of all parts of a pack: XXH3 with 64 bits and without a seed. It finds damage, not forgery.
[[nodiscard]] std::uint64_t packChecksum(std::span<const std::byte> bytes) noexcept;

} // namespace Kiln
