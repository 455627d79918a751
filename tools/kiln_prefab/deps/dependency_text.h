#pragma once

#include <prefab_inspection/composition/dependency_graph.h>

#include <cstddef>
#include <iosfwd>
#include <vector>

namespace Kiln::PrefabTool {

/// Writes the files that no other file nests, and below each what it nests. A file that nests others is expanded once;
/// further lines refer to the first one. Files that are only nested in a cycle begin a tree, too.
void writeUses(std::ostream& stream, const PrefabInspection::DependencyGraph& graph);

/// Writes a file, and below each file those that nest it.
void writeUsers(std::ostream& stream, const PrefabInspection::DependencyGraph& graph, std::size_t file);

/// Writes each cycle as a chain of places, and how many there are.
void writeCycles(std::ostream& stream, const PrefabInspection::DependencyGraph& graph,
                 const std::vector<std::vector<std::size_t>>& cycles);

} // namespace Kiln::PrefabTool
