#pragma once

#include <prefab_comparison/change.h>
#include <prefab_inspection/composition/composition.h>

#include <vector>

namespace Kiln::PrefabComparison {

/// The differences between the live hierarchies of two prefabs, whose compositions have not failed. Objects correspond
/// if their live UUIDs are the same, and the properties that a file leaves out have their default values.
///
/// A change is inherited if the compared files do not contain it as a value or object of their own: it comes from a
/// file that is nested, at any depth, or from an override, in whatever file.
[[nodiscard]] std::vector<Change> compareCompositions(const PrefabInspection::Composition& a,
                                                      const PrefabInspection::Composition& b);

} // namespace Kiln::PrefabComparison
