#pragma once

#include <prefab_comparison/change.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The version of the JSON form, which docs/diff.schema.json describes. It is raised when a reader of the earlier form
/// could misread the new one.
inline constexpr int DIFF_SCHEMA_VERSION = 1;

/// What was compared.
struct ComparedSides {
    std::string before; ///< Names.
    std::string after;
    bool isComposed = false;
};

/// Writes one JSON document.
void writeChangesJson(std::ostream& stream, const ComparedSides& sides,
                      const std::vector<PrefabComparison::Change>& changes);

} // namespace Kiln::PrefabTool
