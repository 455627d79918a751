#include <tessel_streaming/support/streaming_fixture.h>

#include <generic_components/transform_component.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SeveralInstances : public StreamingFixture {
protected:
    void writePlaced(const std::string& path) const {
        PrefabText prefab;
        prefab.component("TransformComponent", prefab.root(id(1), "root"));
        writePrefab(path, prefab);
    }
    [[nodiscard]] static Matrix at(float x) { return Matrix::translation(x, 0, 0); }
};

TEST_F(SeveralInstances, spawn_makesOnePerPlacementInTheirOrder) {
    writePlaced("placed.prefab");
    const std::vector<Matrix> placements{at(1), at(2), at(3)};
    const LoadHandle handle = spawn("placed.prefab", worldId, placements, {}, noting("spawn"));
    finish(handle);
    ASSERT_EQ(handle.result().roots.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(find<Tessel::TransformComponent>(handle.result().roots[i])->local, placements[i]);
    }
    EXPECT_EQ(handle.result().instanceUuids.size(), 3U);
    EXPECT_NE(handle.result().instanceUuids[0], handle.result().instanceUuids[1]);
    EXPECT_THAT(events, ElementsAre("spawn: SUCCEEDED"));
}

TEST_F(SeveralInstances, spawnWithoutPlacements_succeedsInTheNextFrame) {
    const LoadHandle handle = spawn("none.prefab", worldId, {});
    EXPECT_FALSE(handle.isFinished());
    tick();
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_THAT(handle.result().roots, IsEmpty());
}

TEST_F(SeveralInstances, cancelledSpawn_removesAllOfThem) {
    writeTree("tree.prefab", 20);
    const std::vector<Matrix> placements(10);
    const LoadHandle handle = spawn("tree.prefab", worldId, placements);
    setFrameBudget(std::chrono::microseconds(0));
    for (int i = 0; i < 10'000 && objectsCount() < 100; ++i) {
        frame();
    }
    handle.cancel();
    for (const Tessel::GameObject object : manager().gameObjects()) {
        EXPECT_FALSE(manager().isActive(object));
    }
    setFrameBudget(NO_FRAME_BUDGET);
    frame();
    EXPECT_EQ(objectsCount(), 0U);
}

TEST_F(SeveralInstances, spawnThatFails_leavesNoneOfThem) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1), "root"));
    writePrefab("hook.prefab", prefab);
    int constructed = 0;
    HookComponent::onConstruct = [&constructed](const HookComponent::Config&) {
        if (++constructed == 3) {
            throw std::runtime_error("third");
        }
    };
    const LoadHandle handle = spawn("hook.prefab", worldId, std::vector<Matrix>(5));
    finish(handle);
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    frames(2);
    EXPECT_EQ(objectsCount(), 0U);
    EXPECT_EQ(constructed, 3);
}

TEST_F(SeveralInstances, preload_readsFilesAndCreatesNothing) {
    writeNesting("a.prefab", "b.prefab");
    writeRoot("b.prefab");
    const LoadHandle handle = preload({"a.prefab"}, {}, noting("preload"));
    finish(handle);
    EXPECT_THAT(events, ElementsAre("preload: SUCCEEDED"));
    EXPECT_EQ(objectsCount(), 0U);
    EXPECT_TRUE(service().findSharedPrefab("b.prefab"));
}

TEST_F(SeveralInstances, preloadOfNothing_succeeds) {
    const LoadHandle handle = preload({});
    tick();
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
}

TEST_F(SeveralInstances, preload_listsEveryFailureWithItsChain) {
    writeNesting("a.prefab", "none.prefab");
    const LoadHandle handle = preload({"a.prefab", "missing.prefab"});
    finish(handle);
    EXPECT_EQ(handle.state(), LoadState::FAILED);
    ASSERT_EQ(handle.result().failures.size(), 2U);
    EXPECT_THAT(handle.result().failures[0].chain, ElementsAre("a.prefab", "none.prefab"));
    EXPECT_THAT(handle.result().failures[1].chain, ElementsAre("missing.prefab"));
}

TEST_F(SeveralInstances, keptDocuments_stayWhenTheHandleIsGone) {
    writeRoot("root.prefab");
    {
        PreloadOptions options;
        options.keep = true;
        finish(preload({"root.prefab"}, options));
    }
    frame();
    EXPECT_EQ(statistics().keptDocuments, 1U);
    EXPECT_TRUE(service().findSharedPrefab("root.prefab"));
    setKeptDocumentsLimit(0);
    frame();
    EXPECT_EQ(statistics().keptDocuments, 0U);
    EXPECT_FALSE(service().findSharedPrefab("root.prefab"));
    setKeptDocumentsLimit(std::uint64_t{256} * 1024 * 1024);
}

} // namespace
} // namespace Kiln::TestSupport
