#pragma once

#include <kiln_prefab/view/json_text.h>
#include <prefab_inspection/composition/composition.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

/// What `explain` says about an object and its values.
namespace Kiln::PrefabTool {

/// A component of the object that is explained, and those of its values that are explained.
struct ExplainedComponent {
    std::string type;
    PrefabInspection::Composition::Component component;
    std::string prefix; ///< Path to the values, such as "moorings[0]"; empty for the properties.
    std::vector<PrefabInspection::ComposedValue> values;
};

/// Writes names, places and UUIDs, and the components without their values.
void writeObjectText(std::ostream& stream, const PrefabInspection::Composition& composition, std::size_t object);
[[nodiscard]] OrderedJson objectExplanationJson(const PrefabInspection::Composition& composition, std::size_t object);

/// Writes every layer of each value.
void writeValuesText(std::ostream& stream, const PrefabInspection::Composition& composition, std::size_t object,
                     const ExplainedComponent& component);
[[nodiscard]] OrderedJson valuesJson(const PrefabInspection::Composition& composition, std::size_t object,
                                     const ExplainedComponent& component);

} // namespace Kiln::PrefabTool
