#pragma once

#include <resource/resource_pack.h>

#include <string>
#include <vector>

namespace Kiln::PrefabPacking {

/// A document that two packs do not have in common.
struct PackDifference {
    enum class Kind { ONLY_IN_A, ONLY_IN_B, CHANGED };

    Kind kind = Kind::CHANGED;
    std::string path;

    friend bool operator==(const PackDifference&, const PackDifference&) = default;
};

struct PackComparison {
    std::vector<PackDifference> differences; ///< Sorted by path.

    /// Documents that cannot be read, as sentences without full stop.
    std::vector<std::string> problems;
};

/// Compares the documents of two packs by the files that unpacking makes of them; how they are stored does not matter.
[[nodiscard]] PackComparison comparePacks(const ResourcePack& a, const ResourcePack& b);

/// Reads every document of a pack and makes its file. Returns what is wrong, as sentences without full stop.
[[nodiscard]] std::vector<std::string> verifyPack(const ResourcePack& pack);

} // namespace Kiln::PrefabPacking
