#include <tessel_streaming/support/streaming_fixture.h>

#include <gmock/gmock.h>

namespace Kiln::TestSupport {
namespace {

using namespace Tessel::Streaming;
using Tessel::GameObject;
using ::testing::ElementsAre;

class InstanceActivation : public StreamingFixture {
protected:
    [[nodiscard]] static LoadOptions withActivation(Activation activation) {
        LoadOptions options;
        options.activation = activation;
        return options;
    }
    [[nodiscard]] std::size_t activeCount() const {
        std::size_t count = 0;
        for (const GameObject object : manager().gameObjects()) {
            count += manager().isActive(object) ? 1 : 0;
        }
        return count;
    }
};

TEST_F(InstanceActivation, atOnce_makesAllObjectsActiveInOneFrame) {
    writeTree("tree.prefab", 100);
    const LoadHandle handle = load("tree.prefab", worldId);
    setFrameBudget(std::chrono::microseconds(0));
    while (!handle.isFinished()) {
        frame();
        EXPECT_TRUE(activeCount() == 0 || activeCount() == 101);
    }
    EXPECT_EQ(activeCount(), 101U);
}

TEST_F(InstanceActivation, bySubtree_beginsWithTheRootAndEndsWithAll) {
    writeTree("tree.prefab", 20);
    const LoadHandle handle = load("tree.prefab", worldId, withActivation(Activation::BY_SUBTREE));
    setFrameBudget(std::chrono::microseconds(0));
    std::size_t steps = 0;
    std::size_t last = 0;
    while (!handle.isFinished()) {
        frame();
        steps += activeCount() != last ? 1 : 0;
        last = activeCount();
    }
    EXPECT_EQ(last, 21U);
    EXPECT_EQ(steps, 21U);
}

TEST_F(InstanceActivation, bySubtree_leavesWhatIsInactiveByDefault) {
    PrefabText prefab;
    prefab.root(id(1), "root");
    prefab.child(id(2), "off", id(1), 1);
    prefab.child(id(3), "on", id(1));
    writePrefab("tree.prefab", prefab);
    const LoadHandle handle = loaded("tree.prefab", withActivation(Activation::BY_SUBTREE));
    EXPECT_EQ(activeCount(), 2U);
    EXPECT_FALSE(manager().isActive(findByName(manager(), "off")));
    EXPECT_FALSE(manager().isEnabled(findByName(manager(), "off")));
}

TEST_F(InstanceActivation, none_leavesTheInstanceInactiveAndDisabled) {
    writeTree("tree.prefab", 1);
    const LoadHandle handle = loaded("tree.prefab", withActivation(Activation::NONE));
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_EQ(activeCount(), 0U);
    EXPECT_FALSE(manager().isEnabled(handle.root()));
    manager().activateGameObject(handle.root());
    EXPECT_EQ(activeCount(), 2U);
}

TEST_F(InstanceActivation, underAnInactiveParent_waitsForTheParent) {
    writeTree("tree.prefab", 1);
    LoadOptions options;
    options.parent = manager().createGameObject();
    const LoadHandle handle = loaded("tree.prefab", options);
    EXPECT_EQ(handle.state(), LoadState::SUCCEEDED);
    EXPECT_FALSE(manager().isActive(handle.root()));
    manager().activateGameObject(options.parent);
    EXPECT_TRUE(manager().isActive(handle.root()));
}

TEST_F(InstanceActivation, prefabThatIsInactiveByDefault_isAttachedAndStaysInactive) {
    PrefabText prefab;
    prefab.root(id(1), "root", 1);
    writePrefab("off.prefab", prefab);
    writeRoot("root.prefab");
    const LoadHandle parent = loaded("root.prefab");
    LoadOptions options;
    options.parent = parent.root();
    const LoadHandle handle = loaded("off.prefab", options);
    EXPECT_EQ(manager().getParent(handle.root()), parent.root());
    EXPECT_FALSE(manager().isActive(handle.root()));
}

} // namespace
} // namespace Kiln::TestSupport
