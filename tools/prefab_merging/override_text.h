#pragma once

#include "place.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// The parts of an override text.
struct KeyedOverrides {
    std::map<OverrideKey, std::string> properties; ///< The elements of the overridden properties.
    std::multiset<std::string> comments;           ///< Outside of properties.
};

/// None if the text can't be merged by key: it is not well-formed, names a property twice, or has elements that the
/// format does not know.
[[nodiscard]] std::optional<KeyedOverrides> readOverrides(const std::string& text);

/// The value of an element that has override data.
[[nodiscard]] std::string overrideTextOf(const std::string& element);

/// The element with other override data, in a CDATA section if it has one, and escaped otherwise.
[[nodiscard]] std::string withOverrideText(const std::string& element, const std::string& text);

} // namespace Kiln::PrefabMerging
