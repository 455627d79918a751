#include <object_framework/ticking_graph.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Graph : public testing::Test {
protected:
    /// Adds a tick reaction that records its name.
    int add(const std::string& group, const std::string& name) {
        return graph.add(ReactionKind::TICK, group, name, [this, name] { journal.push_back(name); });
    }

    [[nodiscard]] std::vector<std::string> run() {
        journal.clear();
        graph.run();
        return journal;
    }

    TickingGraph graph;
    std::vector<std::string> journal;
};

TEST_F(Graph, add_idsTellTheKind) {
    const int tick = graph.add(ReactionKind::TICK, "g", "tick", [] {});
    const int trigger = graph.add(ReactionKind::TRIGGER, "g", "trigger", [] {});
    EXPECT_EQ(tick & 0x40000000, 0);
    EXPECT_EQ(trigger & 0x40000000, 0x40000000);
    EXPECT_GT(trigger, 0);
    EXPECT_EQ(ReactionId::kind(tick), ReactionKind::TICK);
    EXPECT_EQ(ReactionId::kind(trigger), ReactionKind::TRIGGER);
    EXPECT_NE(tick, trigger & ~0x40000000);
}

TEST_F(Graph, find_returnsTheAddedReaction) {
    const int id = add("group", "name");
    const TickingGraph::Reaction* const reaction = graph.find(id);
    ASSERT_NE(reaction, nullptr);
    EXPECT_EQ(reaction->id, id);
    EXPECT_EQ(reaction->group, "group");
    EXPECT_EQ(reaction->name, "name");
    EXPECT_EQ(graph.find(id + 1), nullptr);
}

TEST_F(Graph, run_groupsInTheOrderOfTheirFirstReaction) {
    add("physics", "p1");
    add("logic", "l1");
    add("physics", "p2");
    add("logic", "l2");
    EXPECT_THAT(run(), ElementsAre("p1", "p2", "l1", "l2"));
}

TEST_F(Graph, run_initialisationGroupFirstWheneverItWasAdded) {
    add("physics", "p");
    add(ReactionGroup::SYNC_INIT, "i1");
    add("logic", "l");
    add("SyncInit", "i2");
    EXPECT_THAT(run(), ElementsAre("i1", "i2", "p", "l"));
}

TEST_F(Graph, fillTickingOrder_replacesTheOrderByTheRunningOne) {
    const int p = add("physics", "p");
    const int i = add(ReactionGroup::SYNC_INIT, "i");
    std::vector<int> order{-1, -2, -3};
    graph.fillTickingOrder(order);
    EXPECT_THAT(order, ElementsAre(i, p));
    graph.remove(p);
    graph.remove(i);
    graph.fillTickingOrder(order);
    EXPECT_THAT(order, IsEmpty());
}

TEST_F(Graph, remove_reactionNoLongerRuns) {
    const int a = add("g", "a");
    add("g", "b");
    EXPECT_TRUE(graph.remove(a));
    EXPECT_FALSE(graph.remove(a));
    EXPECT_EQ(graph.find(a), nullptr);
    EXPECT_THAT(run(), ElementsAre("b"));
}

TEST_F(Graph, ids_areNotUsedAgain) {
    const int first = add("g", "a");
    graph.remove(first);
    EXPECT_NE(add("g", "b"), first);
}

TEST_F(Graph, reactionAddedWhileRunning_firstRunsInTheNextFrame) {
    bool isAdded = false;
    graph.add(ReactionKind::TICK, "g", "adder", [this, &isAdded] {
        if (!isAdded) {
            isAdded = true;
            add(ReactionGroup::SYNC_INIT, "new");
        }
    });
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_THAT(run(), ElementsAre("new"));
}

TEST_F(Graph, reactionRemovedWhileRunningBeforeItsTurn_doesNotRun) {
    int later = 0;
    graph.add(ReactionKind::TICK, "g", "remover", [this, &later] { graph.remove(later); });
    later = add("g", "later");
    EXPECT_THAT(run(), IsEmpty());
}

TEST_F(Graph, reactionThatRemovesItself_runsToItsEnd) {
    int self = 0;
    const std::string text = "a text that is longer than what a string keeps in itself";
    self = graph.add(ReactionKind::TICK, "g", "self", [this, &self, text] {
        graph.remove(self);
        for (int i = 0; i < 100; ++i) {
            add("g", "filler"); // Reallocates the graph's storage.
        }
        journal.push_back(text);
    });
    EXPECT_THAT(run(), ElementsAre(text));
    EXPECT_EQ(run().size(), 100U);
}

TEST_F(Graph, reactionWithStateOfItsOwn_keepsItBetweenFrames) {
    graph.add(ReactionKind::TICK, "g", "counter",
              [this, frame = 0]() mutable { journal.push_back(std::to_string(++frame)); });
    EXPECT_THAT(run(), ElementsAre("1"));
    EXPECT_THAT(run(), ElementsAre("2"));
}

TEST_F(Graph, nestedRun_runsEverythingAgain) {
    int depth = 0;
    graph.add(ReactionKind::TICK, "g", "nested", [this, &depth] {
        journal.push_back("outer");
        if (depth++ == 0) {
            graph.run();
        }
    });
    EXPECT_THAT(run(), ElementsAre("outer", "outer"));
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
