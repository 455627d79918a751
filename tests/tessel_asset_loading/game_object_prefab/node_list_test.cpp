#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <limits>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::HierarchyComponent;
using Tessel::NativeComponent;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t NO_NODE = std::numeric_limits<std::size_t>::max();

class NodeList : public WorldFixture {
protected:
    /// A root and two children.
    GameObjectPrefab prefab =
        PrefabBuilder().root(id(1), "Root").child(id(2), "First", id(1)).child(id(3), "Second", id(2)).build();
};

// An empty prefab.

TEST_F(NodeList, nodesCount_emptyPrefab_isZero) {
    EXPECT_EQ(GameObjectPrefab().nodesCount(), 0U);
}

TEST_F(NodeList, isEmpty_emptyPrefab_isTrue) {
    EXPECT_TRUE(GameObjectPrefab().isEmpty());
}

TEST_F(NodeList, findRootGameObject_emptyPrefab_isNullAndSilent) {
    EXPECT_EQ(GameObjectPrefab().findRootGameObject(), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, countComponentsByType_emptyPrefab_isZero) {
    EXPECT_EQ(GameObjectPrefab().countComponentsByType(NativeComponent<HierarchyComponent>::getType()), 0U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, getGameObject_emptyPrefab_isReportedWithBothZeros) {
    EXPECT_EQ(GameObjectPrefab().getGameObject(0), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [0] >= [0]"));
}

// addGameObject.

TEST_F(NodeList, addGameObject_appendsAsLastNode) {
    const SmartPointer<GameObjectDescriptor> added = makeNode(id(4));
    prefab.addGameObject(added);
    EXPECT_EQ(prefab.nodesCount(), 4U);
    EXPECT_FALSE(prefab.isEmpty());
    EXPECT_EQ(prefab.getGameObject(3), added);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, addGameObject_takesOneReference) {
    const SmartPointer<GameObjectDescriptor> added = makeNode(id(4));
    prefab.addGameObject(added);
    EXPECT_EQ(added->refCount(), 2U);
}

TEST_F(NodeList, addGameObject_null_isRefusedAndReported) {
    prefab.addGameObject(nullptr);
    EXPECT_EQ(prefab.nodesCount(), 3U);
    EXPECT_THAT(logged(),
                ElementsAre("5: Cannot create Game Objects hierarchy node. Game object descriptor is nullptr."));
}

TEST_F(NodeList, addGameObject_sameDescriptorTwice_givesTwoNodes) {
    prefab.addGameObject(prefab.getGameObject(0));
    EXPECT_EQ(prefab.nodesCount(), 4U);
    EXPECT_EQ(prefab.getGameObject(3), prefab.getGameObject(0));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, addGameObject_sameUuidTwice_givesTwoNodes) {
    prefab.addGameObject(makeNode(id(1)));
    EXPECT_EQ(prefab.nodesCount(), 4U);
    EXPECT_THAT(logged(), IsEmpty());
}

// removeGameObject.

TEST_F(NodeList, removeGameObject_laterNodesMoveUp) {
    const SmartPointer<GameObjectDescriptor> second = prefab.getGameObject(2);
    prefab.removeGameObject(prefab.getGameObject(1));
    ASSERT_EQ(prefab.nodesCount(), 2U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "Root");
    EXPECT_EQ(prefab.getGameObject(1), second);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, removeGameObject_formerLastIdIsOutOfRangeAfterwards) {
    prefab.removeGameObject(prefab.getGameObject(0));
    EXPECT_EQ(prefab.getGameObject(2), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [2] >= [2]"));
}

TEST_F(NodeList, removeGameObject_releasesTheReference) {
    const SmartPointer<GameObjectDescriptor> removed = prefab.getGameObject(1);
    prefab.removeGameObject(removed);
    EXPECT_EQ(removed->refCount(), 1U);
}

TEST_F(NodeList, removeGameObject_descriptorAddedTwice_removesTheFirst) {
    const SmartPointer<GameObjectDescriptor> root = prefab.getGameObject(0);
    prefab.addGameObject(root);
    prefab.removeGameObject(root);
    ASSERT_EQ(prefab.nodesCount(), 3U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "First");
    EXPECT_EQ(prefab.getGameObject(2), root);
}

TEST_F(NodeList, removeGameObject_equalUuidOnly_isNotFoundAndReported) {
    prefab.removeGameObject(makeNode(id(1), "Root"));
    EXPECT_EQ(prefab.nodesCount(), 3U);
    EXPECT_THAT(logged(),
                ElementsAre("5: Cannot remove game object from hierarchy. Corresponding hierarchy node not found."));
}

TEST_F(NodeList, removeGameObject_notFound_dropsItsReference) {
    const SmartPointer<GameObjectDescriptor> stranger = makeNode(id(4));
    prefab.removeGameObject(stranger);
    EXPECT_EQ(stranger->refCount(), 1U);
}

TEST_F(NodeList, removeGameObject_first_keepsTheOrderOfTheOthers) {
    prefab.removeGameObject(prefab.getGameObject(0));
    ASSERT_EQ(prefab.nodesCount(), 2U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "First");
    EXPECT_EQ(prefab.getGameObject(1)->name(), "Second");
}

TEST_F(NodeList, removeGameObject_nullWithoutNullNode_isReported) {
    prefab.removeGameObject(nullptr);
    EXPECT_EQ(prefab.nodesCount(), 3U);
    EXPECT_THAT(logged(),
                ElementsAre("5: Cannot remove game object from hierarchy. Corresponding hierarchy node not found."));
}

// getGameObject.

TEST_F(NodeList, getGameObject_yieldsNodesInOrderOfInsertion) {
    EXPECT_EQ(prefab.getGameObject(0)->name(), "Root");
    EXPECT_EQ(prefab.getGameObject(1)->name(), "First");
    EXPECT_EQ(prefab.getGameObject(2)->name(), "Second");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, getGameObject_sharesTheDescriptor) {
    const SmartPointer<GameObjectDescriptor> root = prefab.getGameObject(0);
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(NodeList, getGameObject_outOfRange_isReportedWithBothBrackets) {
    EXPECT_EQ(prefab.getGameObject(7), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [7] >= [3]"));
}

TEST_F(NodeList, getGameObject_largestId_isReportedInFull) {
    EXPECT_EQ(prefab.getGameObject(NO_NODE), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [18446744073709551615] >= [3]"));
}

// isRootNode.

TEST_F(NodeList, isRootNode_isTrueWithoutHierarchyComponentOnly) {
    EXPECT_TRUE(prefab.isRootNode(0));
    EXPECT_FALSE(prefab.isRootNode(1));
    EXPECT_FALSE(prefab.isRootNode(2));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, isRootNode_idEqualsCount_isReportedWithoutTheBracket) {
    EXPECT_FALSE(prefab.isRootNode(3));
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [3 >= [3]"));
}

TEST_F(NodeList, isRootNode_outOfRange_namesTheIdThenTheCount) {
    EXPECT_FALSE(prefab.isRootNode(7));
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [7 >= [3]"));
}

TEST_F(NodeList, isRootNode_largestId_isReportedInFull) {
    EXPECT_FALSE(prefab.isRootNode(NO_NODE));
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [18446744073709551615 >= [3]"));
}

TEST_F(NodeList, isRootNode_twoRoots_isTrueForBoth) {
    prefab.addGameObject(makeNode(id(4)));
    EXPECT_TRUE(prefab.isRootNode(0));
    EXPECT_TRUE(prefab.isRootNode(3));
}

// parentNodeId.

TEST_F(NodeList, parentNodeId_yieldsTheNodeWithTheParentUuid) {
    EXPECT_EQ(prefab.parentNodeId(1), 0U);
    EXPECT_EQ(prefab.parentNodeId(2), 1U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, parentNodeId_parentLaterInTheList_isFound) {
    const GameObjectPrefab reversed = PrefabBuilder().child(id(2), "Child", id(1)).root(id(1)).build();
    EXPECT_EQ(reversed.parentNodeId(0), 1U);
}

TEST_F(NodeList, parentNodeId_root_isNoneAndSilent) {
    EXPECT_EQ(prefab.parentNodeId(0), NO_NODE);
    EXPECT_EQ(GameObjectPrefab::INVALID_NODE_ID, NO_NODE);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, parentNodeId_outOfRange_isReportedWithBothBrackets) {
    EXPECT_EQ(prefab.parentNodeId(3), NO_NODE);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [3] >= [3]"));
}

TEST_F(NodeList, parentNodeId_farOutOfRange_namesTheIdThenTheCount) {
    EXPECT_EQ(prefab.parentNodeId(7), NO_NODE);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [7] >= [3]"));
}

TEST_F(NodeList, parentNodeId_largestId_isReportedInFull) {
    EXPECT_EQ(prefab.parentNodeId(NO_NODE), NO_NODE);
    EXPECT_THAT(logged(), ElementsAre("5: Invalid Game Object Hierarchy node index. [18446744073709551615] >= [3]"));
}

TEST_F(NodeList, parentNodeId_unknownParent_isReported) {
    prefab.addGameObject(PrefabBuilder().child(id(4), "Stray", id(99)).build().getGameObject(0));
    EXPECT_EQ(prefab.parentNodeId(3), NO_NODE);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to find parent node for game object with non-zero parent UID"));
}

TEST_F(NodeList, parentNodeId_zeroParentUuid_isReportedLikeAnyOther) {
    prefab.addGameObject(PrefabBuilder().child(id(4), "Stray", Uuid::ZERO).build().getGameObject(0));
    EXPECT_EQ(prefab.parentNodeId(3), NO_NODE);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to find parent node for game object with non-zero parent UID"));
}

TEST_F(NodeList, parentNodeId_zeroParentUuidAndNodeWithZeroUuid_isThatNode) {
    const GameObjectPrefab zero = PrefabBuilder().root(Uuid::ZERO).child(id(2), "Child", Uuid::ZERO).build();
    EXPECT_EQ(zero.parentNodeId(1), 0U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, parentNodeId_repeatedUuid_isTheFirstMatch) {
    const GameObjectPrefab repeated = PrefabBuilder().root(id(1)).root(id(1)).child(id(2), "Child", id(1)).build();
    EXPECT_EQ(repeated.parentNodeId(2), 0U);
}

TEST_F(NodeList, parentNodeId_nodeNamesItself_isTheNode) {
    const GameObjectPrefab loop = PrefabBuilder().root(id(1)).child(id(2), "Loop", id(2)).build();
    EXPECT_EQ(loop.parentNodeId(1), 1U);
    EXPECT_THAT(logged(), IsEmpty());
}

// findRootGameObject.

TEST_F(NodeList, findRootGameObject_rootIsNotTheFirstNode_isFound) {
    const GameObjectPrefab reversed = PrefabBuilder().child(id(2), "Child", id(1)).root(id(1), "Root").build();
    ASSERT_NE(reversed.findRootGameObject(), nullptr);
    EXPECT_EQ(reversed.findRootGameObject()->name(), "Root");
}

TEST_F(NodeList, findRootGameObject_sharesTheDescriptor) {
    const SmartPointer<GameObjectDescriptor> root = prefab.findRootGameObject();
    EXPECT_EQ(root, prefab.getGameObject(0));
    EXPECT_EQ(root->refCount(), 2U);
}

TEST_F(NodeList, findRootGameObject_twoRoots_isTheEarlierAndSilent) {
    prefab.addGameObject(makeNode(id(4), "Late"));
    EXPECT_EQ(prefab.findRootGameObject()->name(), "Root");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NodeList, findRootGameObject_noRoot_isNullAndSilent) {
    const GameObjectPrefab rootless = PrefabBuilder().child(id(2), "Child", id(1)).build();
    EXPECT_EQ(rootless.findRootGameObject(), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

// countComponentsByType.

TEST_F(NodeList, countComponentsByType_countsNodesThatHaveIt) {
    EXPECT_EQ(prefab.countComponentsByType(NativeComponent<HierarchyComponent>::getType()), 2U);
    EXPECT_EQ(prefab.countComponentsByType(NativeComponent<TagComponent>::getType()), 0U);
}

TEST_F(NodeList, countComponentsByType_nodeWithTwoOfTheType_countsOnce) {
    addComponent<TagComponent>(*prefab.getGameObject(0));
    addComponent<TagComponent>(*prefab.getGameObject(0));
    EXPECT_EQ(prefab.countComponentsByType(NativeComponent<TagComponent>::getType()), 1U);
}

// clear.

TEST_F(NodeList, clear_removesAndReleasesEveryNode) {
    const SmartPointer<GameObjectDescriptor> root = prefab.getGameObject(0);
    prefab.clear();
    EXPECT_TRUE(prefab.isEmpty());
    EXPECT_EQ(root->refCount(), 1U);
}

TEST_F(NodeList, clear_prefabCanBeFilledAgain) {
    prefab.clear();
    prefab.addGameObject(makeNode(id(5), "New"));
    EXPECT_EQ(prefab.nodesCount(), 1U);
    EXPECT_EQ(prefab.getGameObject(0)->name(), "New");
}

} // namespace
} // namespace Kiln::TestSupport
