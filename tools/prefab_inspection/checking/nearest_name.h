#pragma once

#include <prefab_inspection/export.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// The name that a misspelt one most likely stands for: the one with the fewest changed letters, if these are at most
/// a third of the word; the first of several in alphabetical order. None if no name is near.
struct NearestName {
    std::string name;
    bool isUnique = false;    ///< No other name is as near.
    std::size_t distance = 0; ///< Letters inserted, removed, replaced or exchanged with their neighbour.
};

[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::optional<NearestName> nearestName(std::string_view misspelt,
                                                                                   std::vector<std::string> names);

/// " Did you mean 'NAME'?" or nothing.
[[nodiscard]] std::string suggestion(const std::optional<NearestName>& nearest);

} // namespace Kiln::PrefabInspection
