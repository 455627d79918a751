#include "dependency_text.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/view/object_text.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabInspection::DependencyGraph;
using PrefabInspection::PrefabFile;

namespace {

/// Files that are deeper are not indented; their lines begin with their depth instead.
constexpr std::size_t MAX_INDENTED_DEPTH = 40;

/// Files that are nested in a file, or that nest it, with the number of times.
struct Neighbour {
    std::size_t file;
    std::size_t count;
    std::size_t edge; ///< The first one.
};

/// Writes files as trees, in either direction and without recursion.
class DependencyTree {
public:
    DependencyTree(std::ostream& stream, const DependencyGraph& graph, bool followsUses)
        : m_stream(stream), m_graph(graph), m_followsUses(followsUses), m_isWritten(graph.files().size()) {}

    [[nodiscard]] bool isWritten(std::size_t file) const { return m_isWritten[file]; }

    void write(std::size_t top) {
        m_stream << describe(top) << '\n';
        expand(top, 1, "");
        while (!m_pending.empty()) {
            const Line line = std::move(m_pending.back());
            m_pending.pop_back();
            writeLine(line);
        }
    }

private:
    struct Line {
        Neighbour neighbour;
        std::size_t depth;
        std::string indent;
        bool isLast;
    };

    void writeLine(const Line& line) {
        const std::size_t file = line.neighbour.file;
        const bool isIndented = line.depth <= MAX_INDENTED_DEPTH;
        m_stream << (isIndented ? line.indent + (line.isLast ? "└── " : "├── ")
                                : "(" + std::to_string(line.depth) + ") ")
                 << describe(file);
        if (line.neighbour.count > 1) {
            m_stream << ", " << line.neighbour.count << " times";
        }
        const DependencyGraph::Edge& edge = m_graph.edges()[line.neighbour.edge];
        if (edge.isOverride) {
            m_stream << ", by an override at " << printable(placeText(edge.place));
        } else if (m_graph.files()[edge.used].status != PrefabFile::Status::READ) {
            m_stream << ", named at " << printable(placeText(edge.place));
        }
        const bool isRepeated = m_isWritten[file] && !neighbours(file).empty();
        m_stream << (isRepeated ? ", see above" : "") << '\n';
        if (!isRepeated) {
            expand(file, line.depth + 1, isIndented ? line.indent + (line.isLast ? "    " : "│   ") : std::string());
        }
    }

    void expand(std::size_t file, std::size_t depth, const std::string& indent) {
        m_isWritten[file] = true;
        const std::vector<Neighbour> below = neighbours(file);
        for (auto neighbour = below.rbegin(); neighbour != below.rend(); ++neighbour) {
            m_pending.push_back({*neighbour, depth, indent, neighbour == below.rbegin()});
        }
    }

    /// Each once, in the order of the file.
    [[nodiscard]] std::vector<Neighbour> neighbours(std::size_t file) const {
        const DependencyGraph::File& described = m_graph.files()[file];
        std::vector<Neighbour> found;
        for (const std::size_t index : m_followsUses ? described.uses : described.usedBy) {
            const DependencyGraph::Edge& edge = m_graph.edges()[index];
            const std::size_t other = m_followsUses ? edge.used : edge.user;
            const auto known = std::find_if(found.begin(), found.end(),
                                            [other](const Neighbour& neighbour) { return neighbour.file == other; });
            if (known != found.end()) {
                ++known->count;
            } else {
                found.push_back({other, 1, index});
            }
        }
        return found;
    }

    [[nodiscard]] std::string describe(std::size_t file) const {
        const DependencyGraph::File& described = m_graph.files()[file];
        if (described.status == PrefabFile::Status::READ) {
            return printable(described.path);
        }
        const bool isState = described.problem.starts_with("is ");
        return printable(described.path + " (" + described.problem.substr(isState ? 3 : 0) + ")");
    }

    std::ostream& m_stream;
    const DependencyGraph& m_graph;
    const bool m_followsUses;
    std::vector<bool> m_isWritten;
    std::vector<Line> m_pending;
};

} // namespace

void writeUses(std::ostream& stream, const DependencyGraph& graph) {
    DependencyTree tree(stream, graph, true);
    for (const std::size_t root : graph.roots()) {
        tree.write(root);
    }
    for (std::size_t file = 0; file < graph.files().size(); ++file) {
        if (!tree.isWritten(file)) {
            tree.write(file);
        }
    }
}

void writeUsers(std::ostream& stream, const DependencyGraph& graph, std::size_t file) {
    DependencyTree(stream, graph, false).write(file);
}

void writeCycles(std::ostream& stream, const DependencyGraph& graph,
                 const std::vector<std::vector<std::size_t>>& cycles) {
    for (const std::vector<std::size_t>& cycle : cycles) {
        stream << "cycle of " << counted(cycle.size(), "file") << ":\n";
        for (const std::size_t index : cycle) {
            const DependencyGraph::Edge& edge = graph.edges()[index];
            stream << "    "
                   << printable(placeText(edge.place) + ": '" + edge.place.text + "' nests " +
                                graph.files()[edge.used].path + (edge.isOverride ? " by an override" : ""))
                   << '\n';
        }
    }
}

} // namespace Kiln::PrefabTool
