#include <tessel_asset_loading/support/service_fixture.h>
#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;

class Progress : public StreamingFixture {
protected:
    /// Runs frames with almost no time each, and checks that neither the ratio nor the phase falls.
    void followToTheEnd(const LoadHandle& handle) const {
        setFrameBudget(std::chrono::microseconds(0));
        LoadProgress last = handle.progress();
        for (int i = 0; i < 100'000 && !handle.isFinished(); ++i) {
            tick();
            const LoadProgress progress = handle.progress();
            EXPECT_GE(progress.ratio, last.ratio);
            EXPECT_GE(progress.phase, last.phase);
            EXPECT_GE(progress.objectsCreated, last.objectsCreated);
            EXPECT_GE(progress.filesTotal, progress.filesRead);
            EXPECT_EQ(progress.ratio == 1, handle.state() == LoadState::SUCCEEDED);
            last = progress;
        }
        EXPECT_TRUE(handle.isFinished());
    }
};

TEST_F(Progress, ofANewRequest_isZeroAndWaiting) {
    const WorkerGate gate;
    const LoadHandle handle = load("none.prefab", worldId);
    EXPECT_EQ(handle.progress().phase, LoadPhase::WAITING);
    EXPECT_EQ(handle.progress().ratio, 0);
}

TEST_F(Progress, neverFallsAndEndsWithOne) {
    writeNesting("a.prefab", "b.prefab");
    writeNesting("b.prefab", "tree.prefab");
    writeTree("tree.prefab", 100);
    const LoadHandle handle = load("a.prefab", worldId);
    followToTheEnd(handle);
    const LoadProgress progress = handle.progress();
    EXPECT_EQ(progress.ratio, 1);
    EXPECT_EQ(progress.filesRead, 3U);
    EXPECT_EQ(progress.filesTotal, 3U);
    EXPECT_EQ(progress.objectsCreated, 103U);
    EXPECT_EQ(progress.objectsTotal, 103U);
    EXPECT_GT(progress.bytesTotal, 0U);
    EXPECT_EQ(progress.bytesRead, progress.bytesTotal);
}

TEST_F(Progress, ofSeveralInstances_neverFalls) {
    writeTree("tree.prefab", 10);
    const std::vector<Matrix> placements(5);
    const LoadHandle handle = spawn("tree.prefab", worldId, placements);
    followToTheEnd(handle);
    EXPECT_EQ(handle.progress().objectsCreated, 55U);
}

TEST_F(Progress, ofAFailure_staysBelowOne) {
    writeNesting("a.prefab", "none.prefab");
    const LoadHandle handle = load("a.prefab", worldId);
    followToTheEnd(handle);
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    EXPECT_LT(handle.progress().ratio, 1);
}

TEST_F(Progress, ofAPreload_neverFallsAndEndsWithOne) {
    writeNesting("a.prefab", "b.prefab");
    writeRoot("b.prefab");
    const LoadHandle handle = preload({"a.prefab", "b.prefab"});
    followToTheEnd(handle);
    EXPECT_EQ(handle.progress().ratio, 1);
}

TEST_F(Progress, ofARequestThatNobodyPolled_isComplete) {
    writeTree("tree.prefab", 3);
    const LoadHandle handle = load("tree.prefab", worldId);
    finish(handle);
    EXPECT_EQ(handle.progress().filesRead, 1U);
    EXPECT_EQ(handle.progress().filesTotal, 1U);
    EXPECT_GT(handle.progress().bytesTotal, 0U);
    EXPECT_EQ(statistics().requests.at(0).progress.filesTotal, 1U);
}

} // namespace
} // namespace Kiln::TestSupport
