#pragma once

#include "json_text.h"

#include <prefab_inspection/composition/composed_value.h>
#include <prefab_inspection/composition/prefab_view.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Texts about objects and values, for the commands that show prefabs. Texts that are not JSON are not printable yet.
namespace Kiln::PrefabTool {

/// "file:line", or only the file if the place is the file as a whole.
[[nodiscard]] std::string placeText(const std::string& file, const PrefabInspection::SourceRange& range);
[[nodiscard]] std::string placeText(const PrefabInspection::Place& place);

/// The place of an element; empty without one.
[[nodiscard]] std::string elementPlace(const PrefabInspection::Origin& origin);
[[nodiscard]] std::string valuePlace(const PrefabInspection::Origin& origin);

/// The names of the flags that are set, such as "inactive".
[[nodiscard]] std::vector<std::string> flagNames(std::uint32_t flags);

/// " (inactive, static)"; empty without flags.
[[nodiscard]] std::string flagsSuffix(std::uint32_t flags);

/// Calls `onValue` with the path and the text of each value that has a text, such as "moorings[0].line". A vector or
/// structure that contains nothing has the text "[]" or "{}".
void forEachText(const std::vector<PrefabInspection::ComposedValue>& values,
                 const std::function<void(const std::string& path, const std::string& text)>& onValue);

/// The properties as a JSON object; vectors and structures are nested, all other values are strings. If a name occurs
/// several times, the last value counts, as in the loader.
[[nodiscard]] OrderedJson propertiesJson(const std::vector<PrefabInspection::ComposedValue>& values);

/// What the JSON of an object contains.
enum class Detail { OBJECTS, COMPONENTS, VALUES };

/// An object of a view. The keys are the same for every object of a view.
[[nodiscard]] OrderedJson objectJson(const PrefabInspection::PrefabView& view, std::size_t index, bool isComposed,
                                     Detail detail);

} // namespace Kiln::PrefabTool
