#pragma once

#include "file_block.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kiln::PrefabTool {

/// What a whole instance of a prefab has. Counts stop at MAX.
struct PrefabNumbers {
    /// The page counts with double precision.
    static constexpr std::uint64_t MAX = std::uint64_t{1} << 53U;

    std::uint64_t objects = 0;
    std::uint64_t components = 0;
    std::uint64_t instances = 0; ///< Nested ones, at any depth.
    std::uint32_t depth = 0;     ///< How many prefabs are nested in each other, 0 for one that nests nothing.
};

/// The numbers of each file. In a cycle of files, the one that is nested again counts as if it were empty.
[[nodiscard]] std::vector<PrefabNumbers> countPrefabs(const std::vector<FileBlock>& blocks, const FileIndices& indices);

} // namespace Kiln::PrefabTool
