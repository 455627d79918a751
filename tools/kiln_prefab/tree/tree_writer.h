#pragma once

#include "object_tree.h"

#include <kiln_prefab/view/object_text.h>
#include <prefab_inspection/composition/prefab_view.h>

#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string>

namespace Kiln::PrefabTool {

struct TreeOptions {
    bool isComposed = false;
    bool showsUuids = false;
    Detail detail = Detail::OBJECTS;
    std::size_t depth = std::numeric_limits<std::size_t>::max(); ///< Levels below the top objects.
};

/// Writes the kept objects as an indented tree, one per line, each followed by its values.
void writeTree(std::ostream& stream, const PrefabInspection::PrefabView& view, const ObjectTree& tree,
               const TreeOptions& options);

/// Writes the kept objects as JSON objects, one per line and separated by commas, in the order of the view.
void writeTreeJson(std::ostream& stream, const PrefabInspection::PrefabView& view, const ObjectTree& tree,
                   const TreeOptions& options);

} // namespace Kiln::PrefabTool
