#include "graph_layout.h"

#include <core/non_copyable.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <gvc.h>

namespace Kiln::PrefabTool {

namespace {

/// More effort than that improves a layout of thousands of nodes hardly, but takes seconds.
constexpr std::size_t LARGE_GRAPH = 500;

/// Graphviz, which is not thread-safe: other threads wait. Its functions take texts that are not const, but do not
/// change them.
class Graphviz : NonCopyable {
public:
    Graphviz() : m_lock(mutex()), m_context(context()) {}

    [[nodiscard]] Drawing layOut(std::size_t nodesCount, NodeEdges edges) const {
        const std::unique_ptr<Agraph_t, decltype(&agclose)> graph(agopen(text("prefabs"), Agstrictdirected, nullptr),
                                                                  &agclose);
        setAttributes(graph.get(), nodesCount);
        std::vector<Agnode_t*> nodes;
        nodes.reserve(nodesCount);
        for (std::size_t i = 0; i < nodesCount; ++i) {
            nodes.push_back(agnode(graph.get(), text(std::to_string(i).c_str()), 1));
        }
        std::vector<Agedge_t*> lines;
        lines.reserve(edges.size());
        for (const auto& [user, used] : edges) {
            lines.push_back(agedge(graph.get(), nodes[user], nodes[used], nullptr, 1));
        }
        Drawing drawing{std::vector<Point>(nodesCount), std::move(edges), std::vector<EdgeLine>(lines.size())};
        if (nodesCount == 0 || gvLayout(m_context, graph.get(), "dot") != 0) {
            return drawing;
        }
        for (std::size_t i = 0; i < nodesCount; ++i) {
            drawing.nodes[i] = pointOf(ND_coord(nodes[i]));
        }
        for (std::size_t i = 0; i < lines.size(); ++i) {
            drawing.lines[i] = lineOf(lines[i]);
        }
        gvFreeLayout(m_context, graph.get());
        return drawing;
    }

private:
    [[nodiscard]] static char* text(const char* constant) { return const_cast<char*>(constant); }

    [[nodiscard]] static Point pointOf(const pointf& point) {
        return {static_cast<std::int32_t>(std::lround(point.x)), static_cast<std::int32_t>(std::lround(-point.y))};
    }

    [[nodiscard]] static EdgeLine lineOf(Agedge_t* edge) {
        EdgeLine line;
        if (const splines* const curves = ED_spl(edge); curves && curves->size > 0) {
            const bezier& curve = curves->list[0];
            line.reserve(static_cast<std::size_t>(curve.size));
            for (int i = 0; i < static_cast<int>(curve.size); ++i) {
                line.push_back(pointOf(curve.list[i]));
            }
        }
        return line;
    }

    static void setAttributes(Agraph_t* graph, std::size_t nodesCount) {
        const auto set = [graph](int kind, const char* name, const char* value) {
            agattr(graph, kind, text(name), text(value));
        };
        const std::string width = std::to_string(double{NODE_WIDTH} / POINTS_PER_INCH);
        const std::string height = std::to_string(double{NODE_HEIGHT} / POINTS_PER_INCH);
        set(AGNODE, "label", ""); // The page draws the texts, so that no fonts are needed here.
        set(AGNODE, "shape", "box");
        set(AGNODE, "fixedsize", "true");
        set(AGNODE, "width", width.c_str());
        set(AGNODE, "height", height.c_str());
        set(AGRAPH, "rankdir", "LR");
        // Lines end in the middle of a side. The page draws the heads of the arrows.
        set(AGEDGE, "tailport", "e");
        set(AGEDGE, "headport", "w");
        set(AGEDGE, "dir", "none");
        set(AGRAPH, "ranksep", "1");
        set(AGRAPH, "newrank", "true"); // Without clusters the result is the same; the other one is quadratic.
        set(AGRAPH, "nodesep", "0.15");
        if (nodesCount > LARGE_GRAPH) {
            set(AGRAPH, "nslimit", "0.1");
            set(AGRAPH, "nslimit1", "0.1");
            set(AGRAPH, "mclimit", "0.1");
        }
    }

    [[nodiscard]] static std::mutex& mutex() {
        static std::mutex mutex;
        return mutex;
    }

    /// One for the process, which is not freed, because Graphviz does not free all that belongs to a context.
    [[nodiscard]] static GVC_t* context() {
        static GVC_t* const context = gvContext();
        return context;
    }

    std::lock_guard<std::mutex> m_lock;
    GVC_t* m_context;
};

/// Lays out neighbourhoods. Those of one shape share a drawing.
class Neighbourhoods {
public:
    Neighbourhoods(const Graphviz& graphviz, const NestingGraph& graph) : m_graphviz(graphviz), m_graph(graph) {}

    [[nodiscard]] Neighbourhood of(std::uint32_t file) {
        Neighbourhood result{{file}, 0, 0};
        for (const std::vector<std::uint32_t>* const neighbours : {&m_graph.usedBy[file], &m_graph.uses[file]}) {
            std::size_t added = 0;
            for (const std::uint32_t neighbour : *neighbours) {
                if (std::find(result.files.begin(), result.files.end(), neighbour) != result.files.end()) {
                    continue;
                }
                if (added == MAX_NEIGHBOURS) {
                    ++result.leftOutCount;
                } else {
                    ++added;
                    result.files.push_back(neighbour);
                }
            }
        }
        result.drawing = drawingOf(result.files);
        return result;
    }

    [[nodiscard]] std::vector<Drawing> takeDrawings() { return std::move(m_drawings); }

private:
    [[nodiscard]] std::uint32_t drawingOf(const std::vector<std::uint32_t>& files) {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> sorted; // File, index in `files`.
        sorted.reserve(files.size());
        for (std::uint32_t i = 0; i < files.size(); ++i) {
            sorted.emplace_back(files[i], i);
        }
        std::sort(sorted.begin(), sorted.end());
        NodeEdges edges;
        for (std::uint32_t i = 0; i < files.size(); ++i) {
            const std::vector<std::uint32_t>& uses = m_graph.uses[files[i]];
            for (const auto& [file, index] : sorted) {
                if (std::binary_search(uses.begin(), uses.end(), file)) {
                    edges.emplace_back(i, index);
                }
            }
        }
        std::sort(edges.begin(), edges.end());
        const auto next = static_cast<std::uint32_t>(m_drawings.size());
        const auto [entry, isNew] = m_byShape.try_emplace({files.size(), edges}, next);
        if (isNew) {
            m_drawings.push_back(m_graphviz.layOut(files.size(), std::move(edges)));
        }
        return entry->second;
    }

    const Graphviz& m_graphviz;
    const NestingGraph& m_graph;
    std::map<std::pair<std::size_t, NodeEdges>, std::uint32_t> m_byShape;
    std::vector<Drawing> m_drawings;
};

} // namespace

GraphLayout layOut(const NestingGraph& graph) {
    NodeEdges edges;
    for (std::uint32_t user = 0; user < graph.uses.size(); ++user) {
        for (const std::uint32_t used : graph.uses[user]) {
            edges.emplace_back(user, used);
        }
    }
    const Graphviz graphviz;
    GraphLayout layout;
    layout.whole = graphviz.layOut(graph.uses.size(), std::move(edges));
    Neighbourhoods neighbourhoods(graphviz, graph);
    layout.neighbourhoods.reserve(graph.uses.size());
    for (std::uint32_t file = 0; file < graph.uses.size(); ++file) {
        layout.neighbourhoods.push_back(neighbourhoods.of(file));
    }
    layout.drawings = neighbourhoods.takeDrawings();
    return layout;
}

} // namespace Kiln::PrefabTool
