#pragma once

#include <cstdint>
#include <string_view>

namespace Kiln::PrefabTool {

/// The 64-bit FNV-1a hash of a text: the same in every process, on every machine and in every version of the program.
[[nodiscard]] constexpr std::uint64_t stableHash(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3U;
    }
    return hash;
}

} // namespace Kiln::PrefabTool
