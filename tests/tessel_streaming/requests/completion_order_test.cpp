#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CompletionOrder : public StreamingFixture {
protected:
    /// Loads three files of different sizes, of which the second one is missing.
    std::vector<std::string> loadThree() {
        events.clear();
        const LoadHandle big = load("big.prefab", worldId, {}, noting("big"));
        const LoadHandle missing = load("none.prefab", worldId, {}, noting("missing"));
        const LoadHandle small = load("small.prefab", worldId, {}, noting("small"));
        while (!small.isFinished()) {
            tick(); // Without waiting for the workers.
        }
        return events;
    }
};

TEST_F(CompletionOrder, isThatOfTheRequests_cachedOrNot) {
    writeTree("big.prefab", 3000);
    writeTree("small.prefab", 1);
    const std::vector<std::string> uncached = loadThree();
    const LoadHandle kept = preload({"big.prefab", "small.prefab"});
    finish(kept);
    const std::vector<std::string> cached = loadThree();
    EXPECT_THAT(uncached, ElementsAre("big: SUCCEEDED", "missing: FAILED", "small: SUCCEEDED"));
    EXPECT_EQ(cached, uncached);
}

TEST_F(CompletionOrder, anotherPriority_doesNotWait) {
    writeTree("big.prefab", 200);
    writeTree("small.prefab", 1);
    setFrameBudget(std::chrono::microseconds(0));
    LoadOptions high;
    high.priority = 200;
    const LoadHandle big = load("big.prefab", worldId, {}, noting("big"));
    const LoadHandle small = load("small.prefab", worldId, high, noting("small"));
    finish(small);
    EXPECT_THAT(events, ElementsAre("small: SUCCEEDED"));
    finish(big);
}

TEST_F(CompletionOrder, unorderedRequest_doesNotMakeOthersWait) {
    writeTree("big.prefab", 200);
    writeTree("small.prefab", 1);
    LoadOptions unordered;
    unordered.reportsInOrder = false;
    const LoadHandle big = load("missing.prefab", worldId, unordered, noting("unordered"));
    const LoadHandle small = load("small.prefab", worldId, {}, noting("ordered"));
    finish(small);
    finish(big);
    EXPECT_THAT(events, ::testing::UnorderedElementsAre("unordered: FAILED", "ordered: SUCCEEDED"));
}

TEST_F(CompletionOrder, completionFunctions_areNeverCalledFromInsideOfARequest) {
    writeRoot("root.prefab");
    const LoadHandle cached = loaded("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, noting("load"));
    EXPECT_THAT(events, IsEmpty());
    EXPECT_FALSE(handle.isFinished());
    finish(handle);
    EXPECT_THAT(events, ElementsAre("load: SUCCEEDED"));
}

TEST_F(CompletionOrder, severalFunctions_areCalledInTheOrderInWhichTheyWereAdded) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, noting("first"));
    handle.onCompleted(noting("second"));
    finish(handle);
    EXPECT_THAT(events, ElementsAre("first: SUCCEEDED", "second: SUCCEEDED"));
}

TEST_F(CompletionOrder, functionThatIsAddedLate_isCalledInTheNextFrame) {
    writeRoot("root.prefab");
    const LoadHandle handle = loaded("root.prefab");
    handle.onCompleted(noting("late"));
    EXPECT_THAT(events, IsEmpty());
    tick();
    EXPECT_THAT(events, ElementsAre("late: SUCCEEDED"));
    tick();
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(CompletionOrder, functionThatThrows_isLoggedAndTheOthersAreCalled) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, [](const LoadHandle&, const LoadResult&) {
        throw std::runtime_error("no handler");
    });
    handle.onCompleted(noting("second"));
    const LoadHandle next = load("root.prefab", worldId, {}, noting("next"));
    finish(next);
    EXPECT_THAT(events, ElementsAre("second: SUCCEEDED", "next: SUCCEEDED"));
    EXPECT_THAT(logged(), ElementsAre("5: The completion function of a load of 'root.prefab' has thrown an exception: "
                                      "no handler"));
}

TEST_F(CompletionOrder, requestFromInsideOfACompletionFunction_isCarriedOut) {
    writeRoot("root.prefab");
    LoadHandle second;
    const LoadHandle first = load("root.prefab", worldId, {}, [this, &second](const LoadHandle&, const LoadResult&) {
        second = load("root.prefab", worldId, {}, noting("second"));
    });
    finish(first);
    finish(second);
    EXPECT_THAT(events, ElementsAre("second: SUCCEEDED"));
}

TEST_F(CompletionOrder, frameFromInsideOfACompletionFunction_doesNothingTwice) {
    writeRoot("root.prefab");
    const LoadHandle first = load("root.prefab", worldId, {}, [this](const LoadHandle&, const LoadResult&) {
        events.emplace_back("outer");
        tick();
    });
    const LoadHandle second = load("root.prefab", worldId, {}, noting("second"));
    finish(second);
    EXPECT_THAT(events, ElementsAre("outer", "second: SUCCEEDED"));
}

TEST_F(CompletionOrder, functionThatIsAddedByAFunction_isCalledInALaterFrame) {
    writeRoot("root.prefab");
    const LoadHandle handle = load("root.prefab", worldId, {}, [this](const LoadHandle& same, const LoadResult&) {
        events.emplace_back("outer");
        same.onCompleted(noting("inner"));
    });
    finish(handle);
    EXPECT_THAT(events, ElementsAre("outer"));
    tick();
    EXPECT_THAT(events, ElementsAre("outer", "inner: SUCCEEDED"));
}

TEST_F(CompletionOrder, functionsThatAddThemselvesAgain_doNotKeepOthersFromReporting) {
    writeRoot("root.prefab");
    const LoadHandle first = loaded("root.prefab");
    CompletionFunction again = [&again](const LoadHandle& handle, const LoadResult&) { handle.onCompleted(again); };
    first.onCompleted(again);
    setFrameBudget(std::chrono::microseconds(0));
    const LoadHandle second = load("root.prefab", worldId);
    EXPECT_GE(finish(second), 0);
    again = [](const LoadHandle&, const LoadResult&) {};
    frames(2);
}

} // namespace
} // namespace Kiln::TestSupport
