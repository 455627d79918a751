#pragma once

#include <prefab_comparison/change.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

class Terminal;

/// Writes changes as a tree: the objects, and below each what has changed. Nothing if there are none.
void writeChanges(Terminal& terminal, const std::vector<PrefabComparison::Change>& changes);

/// Writes one line: the name and how many changes there are of each kind. Nothing if there are none.
void writeBrief(Terminal& terminal, const std::string& name, const std::vector<PrefabComparison::Change>& changes);

} // namespace Kiln::PrefabTool
