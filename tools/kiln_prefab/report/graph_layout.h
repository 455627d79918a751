#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// Which files nest which others, as indices of files: sorted lists without repetitions.
struct NestingGraph {
    std::vector<std::vector<std::uint32_t>> uses;
    std::vector<std::vector<std::uint32_t>> usedBy;
};

/// A position in points, with y growing downwards.
struct Point {
    std::int32_t x;
    std::int32_t y;
};

/// The line from the right side of a user to the left side of what it nests: the begin, and for each cubic Bézier curve
/// two control points and its end. Empty if there is no such line.
using EdgeLine = std::vector<Point>;

/// Pairs of indices of nodes: a user and what it nests.
using NodeEdges = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

struct Drawing {
    std::vector<Point> nodes; ///< The center of each node.
    NodeEdges edges;
    std::vector<EdgeLine> lines; ///< Of each edge.
};

/// A file and the files next to it in the graph.
struct Neighbourhood {
    std::vector<std::uint32_t> files; ///< Of each node of the drawing. The file itself comes first.
    std::uint32_t drawing = 0;        ///< Index of the drawing, which neighbourhoods of one shape share.
    std::size_t leftOutCount = 0;     ///< Neighbours that are not among the files.
};

struct GraphLayout {
    Drawing whole;                 ///< The nodes are the files, the edges in the order of NestingGraph::uses.
    std::vector<Drawing> drawings; ///< Of the neighbourhoods.
    std::vector<Neighbourhood> neighbourhoods; ///< Of each file.
};

/// Size of a node in points, the same for all.
inline constexpr int NODE_WIDTH = 168;
inline constexpr int NODE_HEIGHT = 30;

/// Neighbours that a neighbourhood has at most on each side.
inline constexpr std::size_t MAX_NEIGHBOURS = 24;

/// Lays out the graph with Graphviz, users on the left and what they nest on the right. The same graph always gets the
/// same layout. Graphviz has global state, so only one thread of the process may call this at a time.
[[nodiscard]] GraphLayout layOut(const NestingGraph& graph);

} // namespace Kiln::PrefabTool
