#include <tessel_streaming/support/streaming_fixture.h>

#include <object_framework/world.h>

#include <gmock/gmock.h>

#include <chrono>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using std::chrono::microseconds;
using Tessel::GameObject;

class Budget : public StreamingFixture {};

TEST_F(Budget, ofZero_stillEndsEveryRequest) {
    writeTree("tree.prefab", 30);
    setFrameBudget(microseconds(0));
    const LoadHandle handle = load("tree.prefab", worldId);
    EXPECT_GT(finish(handle), 31); // At least a frame per object.
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
}

TEST_F(Budget, negative_countsAsZero) {
    writeTree("tree.prefab", 5);
    setFrameBudget(microseconds(-1));
    EXPECT_GT(finish(load("tree.prefab", worldId)), -1);
}

TEST_F(Budget, none_createsInTheFrameAfterReading) {
    writeTree("tree.prefab", 1000);
    const LoadHandle handle = load("tree.prefab", worldId);
    EXPECT_EQ(finish(handle), 1);
}

TEST_F(Budget, halfMadeInstance_isInactiveAndInNoQuery) {
    using TagQuery = Tessel::Query<TagComponent, GameObject>;
    writeTree("tree.prefab", 50);
    const auto query =
        world().manager().getQuery<TagQuery>(TagQuery::makeConfig(), [] { return std::make_unique<TagQuery>(); });
    setFrameBudget(microseconds(0));
    const LoadHandle handle = load("tree.prefab", worldId);
    std::size_t halfMadeFrames = 0;
    while (!handle.isFinished()) {
        frame();
        if (query->size() == 0) {
            halfMadeFrames += objectsCount() > 0 ? 1 : 0;
        } else {
            EXPECT_EQ(query->size(), 51U);
        }
    }
    EXPECT_GT(halfMadeFrames, 50U);
    EXPECT_EQ(query->size(), 51U);
}

TEST_F(Budget, ofAFewObjects_isUsedInSeveralFrames) {
    writeTree("tree.prefab", 20'000);
    const LoadHandle preloaded = preload({"tree.prefab"});
    finish(preloaded);
    setFrameBudget(microseconds(500));
    EXPECT_EQ(frameBudget(), microseconds(500));
    EXPECT_GT(finish(load("tree.prefab", worldId)), 5);
}

TEST_F(Budget, stepThatExceedsIt_isCountedWithItsPathAndName) {
    PrefabText prefab;
    prefab.component("WakingComponent", prefab.root(id(1), "root"));
    writePrefab("slow.prefab", prefab);
    WakingComponent::onActivate = [](const WakingComponent::Config&) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
        while (std::chrono::steady_clock::now() < end) {
        }
    };
    setFrameBudget(microseconds(20'000));
    const std::uint64_t before = statistics().overrunsCount;
    finish(load("slow.prefab", worldId));
    const Statistics after = statistics();
    EXPECT_GT(after.overrunsCount, before);
    ASSERT_FALSE(after.overruns.empty());
    EXPECT_EQ(after.overruns.back().path, "slow.prefab");
    EXPECT_EQ(after.overruns.back().step, "activation");
    EXPECT_GE(after.overruns.back().excess, microseconds(10'000));
    EXPECT_GE(after.usedMaximum, microseconds(30'000));
}

} // namespace
} // namespace Kiln::TestSupport
