#pragma once

#include <prefab_inspection/checking/nearest_name.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// The name that was probably meant by a misspelt one; empty if none is near.
[[nodiscard]] inline std::string similarName(std::string_view misspelt, std::vector<std::string> names) {
    const std::optional<PrefabInspection::NearestName> nearest =
        PrefabInspection::nearestName(misspelt, std::move(names));
    return nearest ? nearest->name : std::string();
}

} // namespace Kiln::PrefabTool
