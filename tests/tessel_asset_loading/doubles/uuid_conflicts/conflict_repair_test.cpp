#include "conflict_fixture.h"

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ConflictRepair : public ConflictFixture {
protected:
    /// With one more below the second.
    [[nodiscard]] static PrefabBuilder collidingChildren() {
        return ConflictFixture::collidingChildren().child(id(3), "Third", id(0x12));
    }
};

TEST_F(ConflictRepair, instanceWithoutConflict_keepsItsUuid) {
    EXPECT_THAT(create(collidingChildren(), PLAIN_INSTANCE), SizeIs(4));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(uuidOf("Second"), Uuid(PLAIN_INSTANCE.high(), 0x12));
}

TEST_F(ConflictRepair, descriptorsThatCollideInOneInstanceOnly_areCreatedInAnother) {
    EXPECT_THAT(create(collidingChildren(), COLLIDING_INSTANCE), SizeIs(4));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT));
    EXPECT_EQ(manager().gameObjectsCount(), 4U);
}

TEST_F(ConflictRepair, repair_movesTheWholeInstance) {
    create(collidingChildren(), COLLIDING_INSTANCE);

    const std::uint64_t instance = uuidOf("Root").high(); // Generated.
    EXPECT_NE(instance, COLLIDING_INSTANCE.high());
    EXPECT_EQ(uuidOf("Root"), Uuid(instance, 1));
    EXPECT_EQ(uuidOf("First"), Uuid(instance, 2));
    EXPECT_EQ(uuidOf("Second"), Uuid(instance, 0x12));
    EXPECT_EQ(uuidOf("Third"), Uuid(instance, 3));
}

TEST_F(ConflictRepair, repairedInstance_isInTheUuidMapUnderItsNewUuidsOnly) {
    const std::vector<GameObject> created = create(collidingChildren(), COLLIDING_INSTANCE);

    const std::uint64_t instance = uuidOf("Root").high();
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{Uuid(instance, 1), created[0]},
                                                                    {Uuid(instance, 2), created[1]},
                                                                    {Uuid(instance, 0x12), created[2]},
                                                                    {Uuid(instance, 3), created[3]}}));
}

TEST_F(ConflictRepair, repairedInstance_keepsItsHierarchy) {
    create(collidingChildren(), COLLIDING_INSTANCE);

    const GameObject root = findByName(manager(), "Root");
    const GameObject second = findByName(manager(), "Second");
    EXPECT_THAT(manager().getChildren(root), ElementsAre(findByName(manager(), "First"), second));
    EXPECT_THAT(manager().getChildren(second), ElementsAre(findByName(manager(), "Third")));
}

TEST_F(ConflictRepair, twoConflictsInOneInstance_needOneRepair) {
    PrefabBuilder builder = collidingChildren();
    builder.child(id(0x22), "Fourth", id(1)); // Collided with the two others as well.

    EXPECT_THAT(create(builder, COLLIDING_INSTANCE), SizeIs(5));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT));
}

TEST_F(ConflictRepair, instancesNestedInAMovedOne_keepTheirUuids) {
    PrefabBuilder inner;
    inner.root(id(9), "Inner").child(id(0xA), "Inner child", id(9));
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(5), "Nested", id(1), "inner.prefab");
    builder.child(id(2), "First", id(1)).child(id(0x12), "Second", id(1));

    EXPECT_THAT(create(builder, COLLIDING_INSTANCE), SizeIs(5));
    EXPECT_EQ(uuidOf("Inner child"), Uuid(COLLIDING_INSTANCE.high(), 0xA));
    EXPECT_EQ(uuidOf("Nested"), Uuid(COLLIDING_INSTANCE.high(), 9));
    EXPECT_NE(uuidOf("Root").high(), COLLIDING_INSTANCE.high());
}

TEST_F(ConflictRepair, descriptorsThatCollideInEveryInstance_areNotCreated) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(2), "Second", id(1));

    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(ConflictRepair, conflictAfterARepairThatDoesNotHelp_endsTheCreationAtOnce) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(2), "Second", id(1)).child(id(1), "Third", id(2));

    expectNothingIsLeft(create(builder, COLLIDING_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(ConflictRepair, objectsOfTwoInstancesThatCollide_areNotCreated) {
    PrefabBuilder inner;
    inner.root(id(9), "Inner").child(id(2), "Inner child", id(9)); // Collides with "First", of the outer instance.
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).nested(id(5), "Nested", id(1), "inner.prefab");

    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(ConflictRepair, mergedRootThatCollidesWithTheOuterInstance_isNotCreated) {
    PrefabBuilder inner;
    inner.root(id(1), "Inner");
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(5), "Nested", id(1), "inner.prefab");

    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(ConflictRepair, conflictOnAnObjectOfTheCallersMap_isNotRepaired) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[Uuid(COLLIDING_INSTANCE.high(), 2)] = existing;

    EXPECT_THAT(create(collidingChildren(), COLLIDING_INSTANCE), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_WITH_MAP, FAILED));
    EXPECT_THAT(config.uuidMap, SizeIs(1));
}

TEST_F(ConflictRepair, repairBesideAnObjectOfTheCallersMap_takesTheObjectAlong) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[Uuid(COLLIDING_INSTANCE.high(), 1)] = existing;

    const std::vector<GameObject> created = create(collidingChildren(), COLLIDING_INSTANCE);
    EXPECT_THAT(created, SizeIs(4));
    EXPECT_EQ(created.front(), existing);
    EXPECT_EQ(manager().getGameObjectName(existing), "Root");
    EXPECT_NE(manager().getGameObjectUuid(existing).high(), COLLIDING_INSTANCE.high());
    EXPECT_EQ(config.uuidMap.at(Uuid(COLLIDING_INSTANCE.high(), 1)), existing); // The caller's entry stays.
    EXPECT_THAT(config.uuidMap, SizeIs(5));
    EXPECT_EQ(manager().gameObjectsCount(), 4U);
}

TEST_F(ConflictRepair, repairedInstance_isLoadedThroughTheService) {
    writePrefab("colliding.prefab", [] {
        PrefabText text;
        text.root(id(1), "Root");
        text.child(id(2), "First", id(1));
        text.child(id(0x12), "Second", id(1));
        return text;
    }());
    bool isLoaded = false;
    Tessel::Loading::loadGameObject(
        "colliding.prefab", worldId, std::nullopt,
        [&isLoaded](GameObject, Tessel::GameObjectManager&) { return isLoaded = true; }, COLLIDING_INSTANCE);
    waitForWorkers();
    tick();

    EXPECT_TRUE(isLoaded);
    EXPECT_THAT(logged(), testing::Contains(CONFLICT).Times(1));
    // The root's component gets the requested instance UUID; the root's own UUID is of the other instance.
    const GameObject root = findByName(manager(), "Root");
    EXPECT_EQ(find<Tessel::PrefabComponent>(root)->instanceUuid(), COLLIDING_INSTANCE);
    EXPECT_NE(manager().getGameObjectUuid(root).high(), COLLIDING_INSTANCE.high());
}

} // namespace
} // namespace Kiln::TestSupport
