#include <resource/pack_checksum.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace Kiln {

std::uint64_t packChecksum(std::span<const std::byte> bytes) noexcept {
    return XXH3_64bits(bytes.data(), bytes.size());
}

} // namespace Kiln
