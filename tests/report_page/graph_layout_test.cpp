#include <kiln_prefab/report/graph_layout.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

[[nodiscard]] NestingGraph graphOf(std::size_t count,
                                   const std::vector<std::pair<std::uint32_t, std::uint32_t>>& edges) {
    NestingGraph graph;
    graph.uses.resize(count);
    graph.usedBy.resize(count);
    for (const auto& [user, used] : edges) {
        graph.uses[user].push_back(used);
        graph.usedBy[used].push_back(user);
    }
    return graph;
}

TEST(GraphLayout, users_standLeftOfWhatTheyNest) {
    const GraphLayout layout = layOut(graphOf(3, {{0, 1}, {1, 2}, {0, 2}}));
    EXPECT_LT(layout.whole.nodes[0].x + NODE_WIDTH, layout.whole.nodes[1].x);
    EXPECT_LT(layout.whole.nodes[1].x + NODE_WIDTH, layout.whole.nodes[2].x);
}

TEST(GraphLayout, nodes_doNotOverlap) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> edges;
    for (std::uint32_t i = 1; i < 60; ++i) {
        edges.emplace_back(i / 3, i);
    }
    const GraphLayout layout = layOut(graphOf(60, edges));
    for (std::size_t a = 0; a < 60; ++a) {
        for (std::size_t b = a + 1; b < 60; ++b) {
            const bool isApart = std::abs(layout.whole.nodes[a].x - layout.whole.nodes[b].x) >= NODE_WIDTH ||
                                 std::abs(layout.whole.nodes[a].y - layout.whole.nodes[b].y) >= NODE_HEIGHT;
            EXPECT_TRUE(isApart) << a << " and " << b;
        }
    }
}

TEST(GraphLayout, sameGraph_hasTheSameLayout) {
    const NestingGraph graph = graphOf(6, {{0, 1}, {0, 2}, {1, 3}, {2, 3}, {4, 5}, {5, 4}});
    const GraphLayout first = layOut(graph);
    const GraphLayout second = layOut(graph);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(first.whole.nodes[i].x, second.whole.nodes[i].x);
        EXPECT_EQ(first.whole.nodes[i].y, second.whole.nodes[i].y);
    }
}

TEST(GraphLayout, neighbourhood_hasUsersAndWhatIsNested) {
    const GraphLayout layout = layOut(graphOf(5, {{0, 1}, {1, 2}, {2, 3}, {4, 1}}));
    EXPECT_THAT(layout.neighbourhoods[1].files, testing::ElementsAre(1, 0, 4, 2));
    EXPECT_THAT(layout.neighbourhoods[3].files, testing::ElementsAre(3, 2));
    EXPECT_EQ(layout.neighbourhoods[1].leftOutCount, 0U);
}

TEST(GraphLayout, neighbourhoodsOfOneShape_shareADrawing) {
    const GraphLayout layout = layOut(graphOf(6, {{0, 1}, {2, 3}, {4, 5}}));
    ASSERT_EQ(layout.drawings.size(), 2U); // Of a file that nests another one, and of a nested one.
    EXPECT_EQ(layout.neighbourhoods[0].drawing, layout.neighbourhoods[4].drawing);
    EXPECT_EQ(layout.neighbourhoods[1].drawing, layout.neighbourhoods[5].drawing);
    EXPECT_EQ(layout.drawings[0].nodes.size(), 2U);
    EXPECT_THAT(layout.drawings[0].edges, testing::ElementsAre(std::pair(0U, 1U)));
}

TEST(GraphLayout, lines_leadFromTheRightSideOfTheUserToTheLeftSideOfTheNestedFile) {
    // The line from 0 to 3 has to pass the files between them, and 4 and 5 nest each other.
    const GraphLayout layout = layOut(graphOf(6, {{0, 1}, {0, 3}, {1, 2}, {2, 3}, {4, 5}, {5, 4}}));
    const Drawing& whole = layout.whole;
    ASSERT_EQ(whole.lines.size(), 6U);
    for (std::size_t edge = 0; edge < whole.edges.size(); ++edge) {
        SCOPED_TRACE(edge);
        const EdgeLine& line = whole.lines[edge];
        ASSERT_GE(line.size(), 4U);
        EXPECT_EQ(line.size() % 3, 1U);
        const Point& user = whole.nodes[whole.edges[edge].first];
        const Point& used = whole.nodes[whole.edges[edge].second];
        EXPECT_NEAR(line.front().x, user.x + NODE_WIDTH / 2, 2);
        EXPECT_NEAR(line.front().y, user.y, 2);
        EXPECT_NEAR(line.back().x, used.x - NODE_WIDTH / 2, 2);
        EXPECT_NEAR(line.back().y, used.y, 2);
    }
}

TEST(GraphLayout, neighbourhoodOfAHub_leavesFilesOut) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> edges;
    for (std::uint32_t user = 1; user < 100; ++user) {
        edges.emplace_back(user, 0);
    }
    const GraphLayout layout = layOut(graphOf(100, edges));
    EXPECT_EQ(layout.neighbourhoods[0].files.size(), 1 + MAX_NEIGHBOURS);
    EXPECT_EQ(layout.neighbourhoods[0].leftOutCount, 99 - MAX_NEIGHBOURS);
}

TEST(GraphLayout, fileThatNestsItself_isItsOwnNeighbourhood) {
    const GraphLayout layout = layOut(graphOf(1, {{0, 0}}));
    EXPECT_THAT(layout.neighbourhoods[0].files, testing::ElementsAre(0));
    EXPECT_EQ(layout.neighbourhoods[0].leftOutCount, 0U);
}

TEST(GraphLayout, noFiles_haveAnEmptyLayout) {
    EXPECT_THAT(layOut({}).whole.nodes, testing::IsEmpty());
}

} // namespace
} // namespace Kiln::PrefabTool
