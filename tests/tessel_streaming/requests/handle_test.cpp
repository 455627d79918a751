#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Handle : public StreamingFixture {};

TEST_F(Handle, withoutRequest_reportsThatAndDoesNothing) {
    const LoadHandle handle;
    EXPECT_FALSE(handle.isValid());
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    EXPECT_THAT(handle.result().failures, IsEmpty());
    EXPECT_EQ(handle.number(), 0U);
    EXPECT_EQ(handle.progress().ratio, 0);
    handle.cancel();
    handle.detach();
    handle.setPriority(1);
    handle.onCompleted(noting("never"));
    frame();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(Handle, copies_shareTheRequest) {
    writeRoot("root.prefab");
    const LoadHandle first = load("root.prefab", worldId);
    LoadHandle second;
    second = first;
    EXPECT_EQ(first, second);
    EXPECT_EQ(second.number(), first.number());
    finish(second);
    EXPECT_EQ(first.root(), second.root());
}

TEST_F(Handle, numbers_ascendInTheOrderOfTheRequests) {
    const LoadHandle first = load("a.prefab", worldId);
    const LoadHandle second = load("b.prefab", worldId);
    EXPECT_EQ(second.number(), first.number() + 1);
}

TEST_F(Handle, lastOneDropped_cancels) {
    writeRoot("root.prefab");
    {
        LoadHandle first = load("root.prefab", worldId, {}, noting("load"));
        const LoadHandle second = first;
        first = LoadHandle();
        EXPECT_EQ(second.state(), LoadState::PENDING);
    }
    frame();
    EXPECT_THAT(events, ElementsAre("load: CANCELLED"));
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(Handle, detached_canBeDropped) {
    writeRoot("root.prefab");
    load("root.prefab", worldId, {}, noting("load")).detach();
    for (int i = 0; i < 10 && events.empty(); ++i) {
        frame();
    }
    EXPECT_THAT(events, ElementsAre("load: SUCCEEDED"));
    EXPECT_EQ(objectsCount(), 1U);
}

TEST_F(Handle, droppedAfterSuccess_keepsTheObjectsAndReleasesTheDocuments) {
    writeNesting("a.prefab", "b.prefab");
    writeRoot("b.prefab");
    {
        const LoadHandle handle = loaded("a.prefab");
        EXPECT_EQ(statistics().heldDocuments, 2U);
        EXPECT_TRUE(service().findSharedPrefab("b.prefab"));
    }
    tick();
    EXPECT_EQ(objectsCount(), 2U);
    EXPECT_EQ(statistics().heldDocuments, 0U);
    EXPECT_FALSE(service().findSharedPrefab("a.prefab"));
    EXPECT_FALSE(service().findSharedPrefab("b.prefab"));
    EXPECT_EQ(FileIOTaskManager::instance().unfinishedTasks(), 0U);
}

TEST_F(Handle, fromACompletionFunction_canBeKept) {
    writeRoot("root.prefab");
    LoadHandle kept;
    load("root.prefab", worldId, {}, [&kept](const LoadHandle& handle, const LoadResult&) { kept = handle; }).detach();
    for (int i = 0; i < 10 && !kept.isValid(); ++i) {
        frame();
    }
    EXPECT_EQ(kept.state(), LoadState::SUCCEEDED);
    EXPECT_TRUE(manager().isGameObjectValid(kept.root()));
}

TEST_F(Handle, ofAnInstanceThatWasRemoved_stillHasItsResult) {
    writeRoot("root.prefab");
    const LoadHandle handle = loaded("root.prefab");
    manager().removeGameObject(handle.root());
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_FALSE(Tessel::isValid(handle.root()));
}

TEST_F(Handle, pendingRequests_areListedInTheStatistics) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId);
    const Statistics before = statistics();
    EXPECT_EQ(before.pendingRequests, 1U);
    ASSERT_EQ(before.requests.size(), 1U);
    EXPECT_EQ(before.requests.front().path, "root.prefab");
    EXPECT_EQ(before.requests.front().number, handle.number());
    finish(handle);
    EXPECT_EQ(statistics().pendingRequests, 0U);
    EXPECT_EQ(statistics().requests.front().state, LoadState::SUCCEEDED);
}

} // namespace
} // namespace Kiln::TestSupport
