#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace Kiln::Benchmarks {

/// A kind of hostile prefab.
struct GrowthCase {
    const char* name;

    /// Writes `top.prefab` and the prefabs that it nests into a folder below the resource root. The size of the files
    /// is proportional to `scale`. Up to a scale of 10, all data fits into the second cache of a usual processor:
    /// beyond, each object takes longer, whatever the code does.
    void (*write)(const std::string& folder, std::size_t scale);
};

[[nodiscard]] std::span<const GrowthCase> growthCases();

/// A chain of parents, the top first.
void writeChain(const std::string& folder, std::size_t scale);

} // namespace Kiln::Benchmarks
