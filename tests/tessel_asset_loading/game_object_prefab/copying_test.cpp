#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <latch>
#include <memory>
#include <thread>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using testing::IsEmpty;

/// A component whose descriptor calls a function when it is destroyed.
class ReleaseProbe final : public Tessel::PoolableComponent<ReleaseProbe, Tessel::IComponent> {
public:
    struct Config {
        std::shared_ptr<void> onRelease;
    };

    explicit ReleaseProbe(const Config& /*config*/) {}
};

class Copying : public WorldFixture {
protected:
    GameObjectPrefab source = PrefabBuilder().root(id(1), "Root").child(id(2), "Child", id(1)).build();
    SmartPointer<GameObjectDescriptor> root = source.getGameObject(0); // Two references at the start.
};

/// Assigns to itself through a reference, which compilers do not see through.
void assign(GameObjectPrefab& target, const GameObjectPrefab& value) {
    target = value;
}
void moveAssign(GameObjectPrefab& target, GameObjectPrefab& value) {
    target = std::move(value);
}

TEST_F(Copying, copyConstruction_sharesTheDescriptors) {
    const GameObjectPrefab copy(source);
    ASSERT_EQ(copy.nodesCount(), 2U);
    EXPECT_EQ(copy.getGameObject(0), root);
    EXPECT_EQ(copy.getGameObject(1), source.getGameObject(1));
    EXPECT_EQ(root->refCount(), 3U);
}

TEST_F(Copying, copyConstruction_changeOfADescriptorShowsInTheCopy) {
    const GameObjectPrefab copy(source);
    source.getGameObject(1)->setName("Renamed");
    EXPECT_EQ(copy.getGameObject(1)->name(), "Renamed");
}

TEST_F(Copying, copyConstruction_listsAreIndependent) {
    GameObjectPrefab copy(source);
    copy.addGameObject(makeNode(id(3)));
    EXPECT_EQ(source.nodesCount(), 2U);
    EXPECT_EQ(copy.nodesCount(), 3U);
}

TEST_F(Copying, clear_ofTheCopy_leavesTheSourceAsItWas) {
    GameObjectPrefab copy(source);
    copy.clear();
    ASSERT_EQ(source.nodesCount(), 2U);
    EXPECT_EQ(source.getGameObject(0), root);
    EXPECT_EQ(root->name(), "Root");
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(Copying, copyAssignment_replacesTheNodes) {
    GameObjectPrefab target = PrefabBuilder().root(id(9), "Old").build();
    const SmartPointer<GameObjectDescriptor> old = target.getGameObject(0);
    target = source;
    ASSERT_EQ(target.nodesCount(), 2U);
    EXPECT_EQ(target.getGameObject(0), root);
    EXPECT_EQ(root->refCount(), 3U);
    EXPECT_EQ(old->refCount(), 1U);
}

TEST_F(Copying, copyAssignment_toItself_changesNothing) {
    assign(source, source);
    ASSERT_EQ(source.nodesCount(), 2U);
    EXPECT_EQ(source.getGameObject(0), root);
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(Copying, moveConstruction_takesTheListOver) {
    const GameObjectPrefab target(std::move(source));
    ASSERT_EQ(target.nodesCount(), 2U);
    EXPECT_EQ(target.getGameObject(0), root);
    EXPECT_EQ(root->refCount(), 2U);
    EXPECT_TRUE(source.isEmpty()); // NOLINT(bugprone-use-after-move): stated
}

TEST_F(Copying, moveAssignment_takesTheListOverAndReleasesTheOldNodes) {
    GameObjectPrefab target = PrefabBuilder().root(id(9), "Old").build();
    const SmartPointer<GameObjectDescriptor> old = target.getGameObject(0);
    target = std::move(source);
    ASSERT_EQ(target.nodesCount(), 2U);
    EXPECT_EQ(target.getGameObject(0), root);
    EXPECT_EQ(root->refCount(), 2U);
    EXPECT_EQ(old->refCount(), 1U);
    EXPECT_TRUE(source.isEmpty()); // NOLINT(bugprone-use-after-move): stated
}

TEST_F(Copying, moveAssignment_oldNodesGoBeforeTheSourceIsTaken) {
    std::size_t sourceNodes = 0;
    GameObjectPrefab target = PrefabBuilder().root(id(9), "Old").build();
    SmartPointer<ComponentDescriptor<ReleaseProbe>> probe =
        makeSmart<ComponentDescriptor<ReleaseProbe>>("ReleaseProbe", "Tests");
    probe->config().onRelease =
        std::shared_ptr<void>(nullptr, [this, &sourceNodes](void*) { sourceNodes = source.nodesCount(); });
    target.getGameObject(0)->addComponent(std::move(probe));

    target = std::move(source);
    EXPECT_EQ(sourceNodes, 2U);
}

TEST_F(Copying, clear_placesAreEmptyWhenTheirDescriptorsGo) {
    bool isPlaceEmpty = false;
    std::size_t nodes = 0;
    SmartPointer<ComponentDescriptor<ReleaseProbe>> probe =
        makeSmart<ComponentDescriptor<ReleaseProbe>>("ReleaseProbe", "Tests");
    probe->config().onRelease = std::shared_ptr<void>(nullptr, [&](void*) {
        isPlaceEmpty = !source.getGameObject(1);
        nodes = source.nodesCount();
    });
    source.getGameObject(1)->addComponent(std::move(probe));

    source.clear();
    EXPECT_TRUE(isPlaceEmpty);
    EXPECT_EQ(nodes, 2U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Copying, moveAssignment_toItself_changesNothing) {
    moveAssign(source, source);
    ASSERT_EQ(source.nodesCount(), 2U);
    EXPECT_EQ(source.getGameObject(0), root);
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(Copying, destruction_releasesOneReferencePerNode) {
    {
        GameObjectPrefab copy(source);
        copy.addGameObject(root);
        ASSERT_EQ(root->refCount(), 4U);
    }
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(Copying, copiesOnSeveralThreads_leaveTheCountAsItWas) {
    std::latch start(2);
    const auto copyAgainAndAgain = [&] {
        start.arrive_and_wait();
        for (int i = 0; i < 500000; ++i) {
            const GameObjectPrefab copy(source);
        }
    };
    std::thread other(copyAgainAndAgain);
    copyAgainAndAgain();
    other.join();
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(Copying, allOperations_logNothing) {
    GameObjectPrefab copy(source);
    copy = source;
    source = std::move(copy);
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
