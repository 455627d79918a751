#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;

class LoadPriority : public StreamingFixture {
protected:
    /// The files exist; objects are created in the order in which their names are noted.
    void writeNoted(const std::string& name) const {
        PrefabText prefab;
        prefab.component("HookComponent", prefab.root(id(1), name), element("tag", name));
        writePrefab(name, prefab);
    }
    void noteConstructions() {
        HookComponent::onConstruct = [this](const HookComponent::Config& config) { events.push_back(config.tag); };
    }
    [[nodiscard]] LoadHandle loadAt(const std::string& path, int priority) const {
        LoadOptions options;
        options.priority = priority;
        return load(path, worldId, options);
    }
};

TEST_F(LoadPriority, higher_isCreatedFirst) {
    noteConstructions();
    writeNoted("low");
    writeNoted("high");
    const LoadHandle low = loadAt("low", 10);
    const LoadHandle high = loadAt("high", 200);
    finish(low);
    EXPECT_THAT(events, ElementsAre("high", "low"));
}

TEST_F(LoadPriority, equal_isCreatedInTheOrderOfTheRequests) {
    noteConstructions();
    writeNoted("a");
    writeNoted("b");
    const LoadHandle a = load("a", worldId);
    const LoadHandle b = load("b", worldId);
    finish(b);
    EXPECT_THAT(events, ElementsAre("a", "b"));
}

TEST_F(LoadPriority, changed_countsAtOnce) {
    noteConstructions();
    writeNoted("a");
    writeNoted("b");
    const LoadHandle a = load("a", worldId);
    const LoadHandle b = load("b", worldId);
    b.setPriority(200);
    EXPECT_EQ(b.priority(), 200);
    finish(a);
    EXPECT_THAT(events, ElementsAre("b", "a"));
}

TEST_F(LoadPriority, outOfRange_isClamped) {
    const LoadHandle low = loadAt("a", -5);
    const LoadHandle high = loadAt("a", 5000);
    EXPECT_EQ(low.priority(), MIN_PRIORITY);
    EXPECT_EQ(high.priority(), MAX_PRIORITY);
}

TEST_F(LoadPriority, low_isCreatedAtLastUnderAFloodOfHighOnes) {
    noteConstructions();
    writeNoted("low");
    writeNoted("high");
    setFrameBudget(std::chrono::microseconds(0));
    const LoadHandle cached = preload({"low", "high"});
    finish(cached);
    const LoadHandle low = loadAt("low", 0);
    std::vector<LoadHandle> flood;
    // One more request of a higher priority in each frame than a frame can complete.
    for (int i = 0; i < 2000 && !low.isFinished(); ++i) {
        flood.push_back(loadAt("high", 5));
        frame();
    }
    EXPECT_TRUE(low.isFinished());
    const auto highBefore = std::find(events.begin(), events.end(), "low") - events.begin();
    EXPECT_GT(highBefore, 1);
    EXPECT_LE(highBefore, 5 * 16); // Five levels, a level per 16 requests.
    setFrameBudget(NO_FRAME_BUDGET);
    finish(flood.back());
}

} // namespace
} // namespace Kiln::TestSupport
