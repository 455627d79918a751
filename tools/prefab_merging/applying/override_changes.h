#pragma once

#include "../place.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// A new value for a property of override data.
struct OverrideChange {
    std::span<const OverrideKey> path;  ///< Several keys lead into override data that is the value of a property.
    const std::string* value = nullptr; ///< The new element; null to remove the property.
};

/// The override text with the changes; records that become empty are removed. Returns nothing if the text can't be
/// changed by key.
[[nodiscard]] std::optional<std::string> withOverrides(const std::string& text,
                                                       const std::vector<OverrideChange>& changes);

} // namespace Kiln::PrefabMerging
