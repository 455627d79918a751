#include "composition_fixture.h"

#include <prefab_inspection/composition/dependency_graph.h>

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DependencyGraphTest : public CompositionFixture {
protected:
    /// Writes a prefab that nests others.
    void writeNesting(const std::string& name, const std::vector<std::string>& nested) const {
        PrefabText prefab;
        prefab.object(id(1), "Root");
        for (std::size_t i = 0; i < nested.size(); ++i) {
            prefab.object(id(i + 2), "Point " + std::to_string(i)).parent(i + 1, id(1)).nest(i + 1, nested[i]);
        }
        write(name, prefab);
    }

    /// "user -> used" of each edge, with " (override)" for those of override data.
    [[nodiscard]] static std::vector<std::string> edges(const DependencyGraph& graph) {
        std::vector<std::string> result;
        for (const DependencyGraph::Edge& edge : graph.edges()) {
            result.push_back(graph.files()[edge.user].path + " -> " + graph.files()[edge.used].path +
                             (edge.isOverride ? " (override)" : ""));
        }
        return result;
    }

    [[nodiscard]] static std::vector<std::string> names(const DependencyGraph& graph,
                                                        const std::vector<std::size_t>& files) {
        std::vector<std::string> result;
        for (const std::size_t file : files) {
            result.push_back(graph.files()[file].path);
        }
        return result;
    }

    /// The users of the edges of each cycle.
    [[nodiscard]] static std::vector<std::string> cycles(const DependencyGraph& graph) {
        std::vector<std::string> result;
        for (const std::vector<std::size_t>& cycle : graph.cycles()) {
            std::string text;
            for (const std::size_t edge : cycle) {
                text += graph.files()[graph.edges()[edge].user].path + " ";
            }
            result.push_back(text);
        }
        return result;
    }
};

TEST_F(DependencyGraphTest, edges_areInTheOrderOfFilesAndPositions) {
    writeNesting("b.prefab", {"c.prefab", "a.prefab", "c.prefab"});
    writeNesting("a.prefab", {"c.prefab"});
    writeNesting("c.prefab", {});
    const DependencyGraph graph({"b.prefab"});
    EXPECT_THAT(edges(graph), ElementsAre("a.prefab -> c.prefab", "b.prefab -> c.prefab", "b.prefab -> a.prefab",
                                          "b.prefab -> c.prefab"));
    EXPECT_TRUE(graph.files()[1].isTarget);
    EXPECT_FALSE(graph.files()[0].isTarget);
    EXPECT_EQ(graph.edges()[2].place.text, "Point 1");
    EXPECT_THAT(names(graph, graph.roots()), ElementsAre("b.prefab"));
}

TEST_F(DependencyGraphTest, overrideDataAtAnyDepth_isAUse) {
    const std::string inner =
        OverridesText().record(id(8), "PrefabComponent", element("resource", "deep.prefab")).escapedText();
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "B")
                          .parent(1, id(1))
                          .nest(1, "b.prefab",
                                OverridesText()
                                    .record(id(9), "PrefabComponent",
                                            element("resource", "near.prefab") + element("overridesData", inner))
                                    .text()));
    const DependencyGraph graph({"a.prefab"});
    EXPECT_THAT(edges(graph), ElementsAre("a.prefab -> b.prefab", "a.prefab -> near.prefab (override)",
                                          "a.prefab -> deep.prefab (override)"));
}

TEST_F(DependencyGraphTest, rootWithAPrefabComponent_usesNothing) {
    write("a.prefab", PrefabText().object(id(1), "A").nest(0, "b.prefab"));
    EXPECT_THAT(edges(DependencyGraph({"a.prefab"})), IsEmpty());
}

TEST_F(DependencyGraphTest, missingAndBrokenFiles_areFilesWithoutUses) {
    writeNesting("a.prefab", {"b.prefab", "gone.prefab"});
    write("b.prefab", "<prefab>");
    const DependencyGraph graph({"a.prefab"});
    ASSERT_EQ(graph.files().size(), 3U);
    EXPECT_EQ(graph.files()[1].status, PrefabFile::Status::NOT_WELL_FORMED);
    EXPECT_EQ(graph.files()[1].problemRange.line, 1U);
    EXPECT_EQ(graph.files()[2].status, PrefabFile::Status::MISSING);
    EXPECT_EQ(graph.files()[2].problem, "is missing");
}

TEST_F(DependencyGraphTest, cycles_areOneShortestPerSetOfFiles) {
    writeNesting("a.prefab", {"b.prefab"});
    writeNesting("b.prefab", {"c.prefab", "d.prefab"});
    writeNesting("c.prefab", {"b.prefab", "a.prefab"});
    writeNesting("d.prefab", {});
    writeNesting("self.prefab", {"self.prefab", "d.prefab"});
    EXPECT_THAT(cycles(DependencyGraph({"a.prefab", "self.prefab"})),
                ElementsAre("a.prefab b.prefab c.prefab ", "self.prefab "));
}

TEST_F(DependencyGraphTest, diamond_isNoCycle) {
    writeNesting("a.prefab", {"b.prefab", "c.prefab"});
    writeNesting("b.prefab", {"d.prefab"});
    writeNesting("c.prefab", {"d.prefab"});
    writeNesting("d.prefab", {});
    EXPECT_THAT(cycles(DependencyGraph({"a.prefab"})), IsEmpty());
}

TEST_F(DependencyGraphTest, fileThatOnlyNestsItself_isARoot) {
    writeNesting("self.prefab", {"self.prefab"});
    const DependencyGraph graph({"self.prefab"});
    EXPECT_THAT(names(graph, graph.roots()), ElementsAre("self.prefab"));
}

TEST_F(DependencyGraphTest, reachable_followsUses) {
    writeNesting("a.prefab", {"b.prefab"});
    writeNesting("b.prefab", {});
    writeNesting("c.prefab", {"b.prefab"});
    const DependencyGraph graph({"a.prefab", "c.prefab"});
    EXPECT_THAT(graph.reachable({graph.find("a.prefab")}), ElementsAre(true, true, false));
    EXPECT_EQ(graph.find("d.prefab"), DependencyGraph::NONE);
}

TEST_F(DependencyGraphTest, files_areReportedBeforeTheyAreRead) {
    writeNesting("a.prefab", {"b.prefab"});
    writeNesting("b.prefab", {});
    std::vector<std::string> calls;
    const DependencyGraph graph({"a.prefab"}, [&calls](std::size_t count, const std::string& path) {
        calls.push_back(std::to_string(count) + " " + path);
    });
    EXPECT_THAT(calls, ElementsAre("0 a.prefab", "1 b.prefab"));
}

} // namespace

} // namespace Kiln::PrefabInspection
