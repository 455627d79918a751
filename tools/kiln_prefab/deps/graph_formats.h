#pragma once

#include <prefab_inspection/composition/dependency_graph.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

/// Dependencies in the formats of other programs.
namespace Kiln::PrefabTool {

/// The graph as a JSON document: the files, sorted by path, with the files that they nest.
void writeGraphJson(std::ostream& stream, const PrefabInspection::DependencyGraph& graph);

/// The graph for Graphviz.
void writeDot(std::ostream& stream, const PrefabInspection::DependencyGraph& graph);

/// The graph as a Mermaid flowchart.
void writeMermaid(std::ostream& stream, const PrefabInspection::DependencyGraph& graph);

/// A rule for make or ninja for each target of the graph, with every file that it nests at any depth and that can be
/// read. `fileName` converts resource paths to names of files.
void writeMakeRules(std::ostream& stream, const PrefabInspection::DependencyGraph& graph,
                    const std::function<std::string(const std::string&)>& fileName);

/// A file name in a rule of make. Names with control characters cannot be written; resource paths have none.
[[nodiscard]] std::string makeName(const std::string& name);

} // namespace Kiln::PrefabTool
