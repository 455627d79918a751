#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Cancellation : public StreamingFixture {
protected:
    /// Runs frames without time for more than one step each until the request is creating objects.
    void makeHalf(const LoadHandle& handle) const {
        setFrameBudget(std::chrono::microseconds(0));
        for (int i = 0; i < 10'000 && handle.progress().objectsCreated == 0; ++i) {
            frame();
        }
        EXPECT_GT(handle.progress().objectsCreated, 0U);
        EXPECT_FALSE(handle.isFinished());
    }
};

TEST_F(Cancellation, beforeReading_reportsCancelledAndReadsNothing) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, noting("load"));
    handle.cancel();
    EXPECT_EQ(handle.state(), LoadState::CANCELLED);
    EXPECT_THAT(events, IsEmpty());
    frame();
    EXPECT_THAT(events, ElementsAre("load: CANCELLED"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(Cancellation, ofAHalfMadeInstance_removesItsObjects) {
    writeTree("tree.prefab", 50);
    const LoadHandle handle = load("tree.prefab", worldId);
    makeHalf(handle);
    EXPECT_GT(objectsCount(), 0U);
    handle.cancel();
    setFrameBudget(NO_FRAME_BUDGET);
    frame();
    EXPECT_EQ(objectsCount(), 0U);
    EXPECT_EQ(handle.state(), LoadState::CANCELLED);
    EXPECT_TRUE(handle.root().isInvalid());
}

TEST_F(Cancellation, withoutTime_removesAFewObjectsPerFrame) {
    writeTree("tree.prefab", 50);
    const LoadHandle handle = load("tree.prefab", worldId);
    makeHalf(handle);
    handle.cancel();
    const std::size_t before = objectsCount();
    frame();
    EXPECT_LT(objectsCount(), before);
    EXPECT_GT(objectsCount(), 0U);
}

TEST_F(Cancellation, ofACompleteInstanceThatHasNotReported_hidesItImmediately) {
    // The first request is never finished in time, so that the second one waits to report.
    writeTree("big.prefab", 2000);
    writeTree("small.prefab", 1);
    const LoadHandle first = load("big.prefab", worldId);
    const LoadHandle second = load("small.prefab", worldId, {}, noting("small"));
    waitForWorkers();
    second.setPriority(MAX_PRIORITY);
    setFrameBudget(std::chrono::microseconds(0));
    for (int i = 0; i < 1000 && second.progress().phase != LoadPhase::ACTIVATING; ++i) {
        tick();
    }
    frames(1);
    second.cancel();
    for (const Tessel::GameObject object : manager().gameObjects()) {
        EXPECT_FALSE(manager().isActive(object));
    }
    first.cancel();
    setFrameBudget(NO_FRAME_BUDGET);
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
    EXPECT_THAT(events, ElementsAre("small: CANCELLED"));
}

TEST_F(Cancellation, ofARequestThatHasReported_changesNothing) {
    writeRoot("root.prefab");
    const LoadHandle handle = loaded("root.prefab");
    handle.cancel();
    frames(2);
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 1U);
}

TEST_F(Cancellation, ofOneOfSeveralRequestsForAPath_letsTheOthersGoOn) {
    writeRoot("root.prefab");
    const LoadHandle first = load("root.prefab", worldId);
    const LoadHandle second = load("root.prefab", worldId);
    const LoadHandle third = load("root.prefab", worldId);
    second.cancel();
    finish(third);
    EXPECT_EQ(first.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(second.state(), LoadState::CANCELLED);
    EXPECT_EQ(third.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(objectsCount(), 2U);
}

TEST_F(Cancellation, fromInsideOfAComponentOfTheInstance_removesIt) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "root"));
    prefab.child(id(2), "child", id(1));
    writePrefab("hook.prefab", prefab);
    const LoadHandle handle = load("hook.prefab", worldId, {}, noting("load"));
    HookComponent::onConstruct = [&handle](const HookComponent::Config&) { handle.cancel(); };
    frames(3);
    EXPECT_THAT(events, ElementsAre("load: CANCELLED"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(Cancellation, fromInsideOfAnActivation_removesTheInstance) {
    PrefabText prefab;
    prefab.component("WakingComponent", prefab.root(id(1), "root"));
    writePrefab("waking.prefab", prefab);
    const LoadHandle handle = load("waking.prefab", worldId, {}, noting("load"));
    WakingComponent::onActivate = [&handle](const WakingComponent::Config&) { handle.cancel(); };
    frames(3);
    EXPECT_THAT(events, ElementsAre("load: CANCELLED"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(Cancellation, fromInsideOfAnotherCompletionFunction_works) {
    writeRoot("root.prefab");
    LoadHandle second;
    const LoadHandle first =
        load("root.prefab", worldId, {}, [&second](const LoadHandle&, const LoadResult&) { second.cancel(); });
    second = load("root.prefab", worldId, {}, noting("second"));
    frames(3);
    EXPECT_EQ(first.state(), LoadState::SUCCEEDED);
    EXPECT_THAT(events, ElementsAre("second: CANCELLED"));
    EXPECT_EQ(objectsCount(), 1U);
}

TEST_F(Cancellation, ofASpawnFromInsideOfItsLastActivation_hidesTheOtherInstancesImmediately) {
    PrefabText prefab;
    prefab.component("WakingComponent", prefab.root(id(1), "root"));
    writePrefab("waking.prefab", prefab);
    const LoadHandle handle = spawn("waking.prefab", worldId, std::vector<Matrix>(3));
    int activations = 0;
    std::size_t activeCount = 0;
    WakingComponent::onActivate = [this, &handle, &activations, &activeCount](const WakingComponent::Config&) {
        if (++activations == 3) {
            handle.cancel();
            for (const Tessel::GameObject object : manager().gameObjects()) {
                activeCount += manager().isActive(object) ? 1 : 0;
            }
        }
    };
    finish(handle);
    EXPECT_LE(activeCount, 1U); // The one whose activation is under way.
    frames(3);
    EXPECT_EQ(objectsCount(), 0U);
}

} // namespace
} // namespace Kiln::TestSupport
