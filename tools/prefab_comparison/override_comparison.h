#pragma once

#include <prefab_comparison/change.h>
#include <prefab_comparison/value_comparison.h>

#include <string>
#include <vector>

namespace Kiln::PrefabComparison {

/// Appends the differences between two override texts, record by record and at any depth. The changes are copies of
/// `base`, which describes the property that has the texts. The order of the records does not count, except among those
/// of one property of one object, where the last one wins. A text that the loader ignores as a whole is compared as a
/// plain text.
void compareOverrideTexts(ValueComparison& values, const std::string& a, const std::string& b, const Change& base,
                          std::vector<Change>& changes);

} // namespace Kiln::PrefabComparison
