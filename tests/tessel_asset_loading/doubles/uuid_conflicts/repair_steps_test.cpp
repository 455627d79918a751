#include "conflict_fixture.h"

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Uuid FIRST_NEW{0xE1, 0};
constexpr Uuid SECOND_NEW{0xE2, 0};

using Combined = std::set<std::pair<Uuid, Uuid>>;

/// Which UUIDs a repair chooses and combines, and which it keeps.
class RepairSteps : public ConflictFixture {
protected:
    /// The colliding children as a nested prefab, with a child between them.
    static void cacheInner(const Uuid& between) {
        PrefabBuilder inner;
        inner.root(id(9), "inner root").child(between, "Between", id(9));
        inner.child(id(3), "Third", id(9)).child(id(0x13), "Fourth", id(9));
        cachePrefab("inner.prefab", inner);
    }
};

TEST_F(RepairSteps, success_combinesTheOldAndTheNewInstanceWithEachItem) {
    PrefabBuilder builder = collidingChildren();
    builder.child(id(3), "Third", id(1));
    const UuidScript script({FIRST_NEW});
    create(builder, COLLIDING_INSTANCE);

    EXPECT_EQ(script.combined(), (Combined{{COLLIDING_INSTANCE, id(1)},
                                           {COLLIDING_INSTANCE, id(2)},
                                           {COLLIDING_INSTANCE, id(0x12)}, // Conflict.
                                           {COLLIDING_INSTANCE, id(3)},
                                           {FIRST_NEW, id(1)},
                                           {FIRST_NEW, id(2)},
                                           {FIRST_NEW, id(0x12)}, // The second attempt.
                                           {FIRST_NEW, id(3)}})); // The item after it.
    EXPECT_EQ(script.generatedCount(), 1U);
    EXPECT_EQ(uuidOf("Second"), Uuid(FIRST_NEW.high(), 0x12));
}

TEST_F(RepairSteps, failureInsideAnInstance_endsAfterOneGeneratedUuid) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(2), "Twin", id(1)).child(id(3), "Late", id(1));
    const UuidScript script({FIRST_NEW});
    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));

    EXPECT_EQ(script.combined(), (Combined{{PLAIN_INSTANCE, id(1)},
                                           {PLAIN_INSTANCE, id(2)}, // Conflict.
                                           {PLAIN_INSTANCE, id(3)},
                                           {FIRST_NEW, id(1)},
                                           {FIRST_NEW, id(2)}, // Taken by "First".
                                           {FIRST_NEW, id(3)}}));
    EXPECT_EQ(script.generatedCount(), 1U);
}

TEST_F(RepairSteps, failureAcrossInstances_movesTheOneWithTheConflictAlone) {
    PrefabBuilder inner;
    inner.root(id(9), "inner root").child(id(2), "Inner child", id(9));
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).nested(id(5), "Nested", id(1), "inner.prefab");
    const UuidScript script({FIRST_NEW});
    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));

    const Uuid nested(PLAIN_INSTANCE.high(), 5);
    EXPECT_EQ(script.combined(), (Combined{{PLAIN_INSTANCE, id(5)}, // Nested instance.
                                           {PLAIN_INSTANCE, id(1)},
                                           {PLAIN_INSTANCE, id(2)},
                                           {nested, id(9)},
                                           {nested, id(2)}, // Conflict with "First".
                                           {FIRST_NEW, id(9)},
                                           {FIRST_NEW, id(2)}})); // Taken by "First", which was moved.
    EXPECT_EQ(script.generatedCount(), 1U);
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(RepairSteps, newInstanceThatCollidesToo_isNotReplacedByAnother) {
    const UuidScript script({Uuid(COLLIDING_INSTANCE.high(), 7)});
    expectNothingIsLeft(create(collidingChildren(), COLLIDING_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
    EXPECT_EQ(script.generatedCount(), 1U);
}

TEST_F(RepairSteps, laterConflictInAMovedInstance_hasARepairOfItsOwn) {
    PrefabBuilder builder = collidingChildren();
    builder.child(id(2), "Twin of the first", id(1));
    const UuidScript script({FIRST_NEW, SECOND_NEW});
    expectNothingIsLeft(create(builder, COLLIDING_INSTANCE));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT, CONFLICT_STAYS, FAILED));
    EXPECT_EQ(script.generatedCount(), 2U);
}

TEST_F(RepairSteps, failure_removesTheObjectsAfterItsLastMessage) {
    std::vector<std::size_t> counts;
    const ScopedLogSink sink([&](const LogMessage& /*message*/) { counts.push_back(manager().gameObjectsCount()); });
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(2), "Twin", id(1)).child(id(3), "Late", id(1));
    expectNothingIsLeft(create(builder, PLAIN_INSTANCE));
    EXPECT_THAT(counts, ElementsAre(3U, 3U, 3U));
}

// Several instances.

TEST_F(RepairSteps, conflictInsideANestedInstance_movesThatOneAlone) {
    cacheInner(id(4));
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(5), "Nested", id(1), "inner.prefab").child(id(6), "Last", id(1));
    const UuidScript script({FIRST_NEW});
    EXPECT_THAT(create(builder, COLLIDING_INSTANCE), SizeIs(6));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT));
    EXPECT_EQ(uuidOf("Root"), Uuid(COLLIDING_INSTANCE.high(), 1));
    EXPECT_EQ(uuidOf("Nested"), Uuid(FIRST_NEW.high(), 9));
    EXPECT_EQ(uuidOf("Between"), Uuid(FIRST_NEW.high(), 4));
    EXPECT_EQ(uuidOf("Third"), Uuid(FIRST_NEW.high(), 3));
    EXPECT_EQ(uuidOf("Fourth"), Uuid(FIRST_NEW.high(), 0x13));
    EXPECT_EQ(uuidOf("Last"), Uuid(COLLIDING_INSTANCE.high(), 6));
    EXPECT_EQ(parentOf("Nested"), "Root");
    EXPECT_EQ(parentOf("Fourth"), "Nested");
}

TEST_F(RepairSteps, conflictsInTwoInstances_areRepairedOneByOne) {
    cacheInner(id(4));
    PrefabBuilder builder = collidingChildren();
    builder.nested(id(5), "Nested", id(1), "inner.prefab");
    const UuidScript script({FIRST_NEW, SECOND_NEW});
    EXPECT_THAT(create(builder, COLLIDING_INSTANCE), SizeIs(7));
    EXPECT_EQ(script.generatedCount(), 2U);
    EXPECT_EQ(uuidOf("Second"), Uuid(FIRST_NEW.high(), 0x12));
    EXPECT_EQ(uuidOf("Nested"), Uuid(SECOND_NEW.high(), 9));
    EXPECT_EQ(uuidOf("Fourth"), Uuid(SECOND_NEW.high(), 0x13));
}

// The parent was derived from the old instance UUID while gathering, and is not derived again.
TEST_F(RepairSteps, parentOfANestedRoot_staysThatOfTheOldInstance) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(9), "inner root"));
    PrefabBuilder builder = collidingChildren();
    builder.nested(id(5), "Nested", id(1), "inner.prefab");
    EXPECT_THAT(create(builder, COLLIDING_INSTANCE), SizeIs(4));
    EXPECT_EQ(parentOf("First"), "Root");
    EXPECT_EQ(parentOf("Nested"), "");
}

TEST_F(RepairSteps, movedEntryWhoseNewUuidIsTaken_isDiscarded) {
    cacheInner(id(1)); // Under the new instance, "Between" has the UUID of "Root".
    PrefabBuilder builder = collidingChildren();
    builder.nested(id(5), "Nested", id(1), "inner.prefab");
    const UuidScript script({FIRST_NEW, FIRST_NEW});
    const std::vector<GameObject> created = create(builder, COLLIDING_INSTANCE);
    ASSERT_THAT(created, SizeIs(7));
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{Uuid(FIRST_NEW.high(), 1), created[0]},
                                                                    {Uuid(FIRST_NEW.high(), 2), created[1]},
                                                                    {Uuid(FIRST_NEW.high(), 0x12), created[2]},
                                                                    {Uuid(FIRST_NEW.high(), 9), created[3]},
                                                                    {Uuid(FIRST_NEW.high(), 3), created[5]},
                                                                    {Uuid(FIRST_NEW.high(), 0x13), created[6]}}));
    // The object that has the UUID gets both items' components; the other one gets none.
    EXPECT_EQ(manager().getGameObjectName(created[0]), "Between");
    EXPECT_EQ(manager().getGameObjectName(created[4]), "");
}

// The caller's map.

TEST_F(RepairSteps, newUuidThatTheCallersMapHolds_keepsTheCallersObject) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[Uuid(FIRST_NEW.high(), 0x12)] = existing;
    const UuidScript script({FIRST_NEW});
    const std::vector<GameObject> created = create(collidingChildren(), COLLIDING_INSTANCE);
    ASSERT_THAT(created, SizeIs(3));
    EXPECT_THAT(logged(), ElementsAre(CONFLICT));
    EXPECT_EQ(manager().gameObjectsCount(), 4U);
    EXPECT_NE(created[2], existing);
    EXPECT_EQ(config.uuidMap.at(Uuid(FIRST_NEW.high(), 0x12)), existing);
    EXPECT_EQ(manager().getGameObjectName(existing), "Second");
    EXPECT_EQ(manager().getGameObjectName(created[2]), "");
}

TEST_F(RepairSteps, failureBesideAnObjectOfTheCallersMap_leavesTheMapAsItWas) {
    const GameObject existing = manager().createGameObject();
    config.uuidMap[Uuid(COLLIDING_INSTANCE.high(), 1)] = existing;
    const UuidScript script({Uuid(COLLIDING_INSTANCE.high(), 7)});
    EXPECT_THAT(create(collidingChildren(), COLLIDING_INSTANCE), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
    EXPECT_EQ(config.uuidMap, (std::unordered_map<Uuid, GameObject>{{Uuid(COLLIDING_INSTANCE.high(), 1), existing}}));
    EXPECT_EQ(manager().gameObjectsCount(), 0U); // The reused root was removed with the others.
}

// Documents that get new UUIDs.

TEST_F(RepairSteps, regenerateHierarchyUuids_generatesOnePerDistinctUuidAndCombinesTheSeedFirst) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "First", id(1)).child(id(2), "Twin", id(1));
    Tessel::GameObjectPrefab prefab = builder.build();
    const Uuid seed(0x5EED, 0);
    const UuidScript script({id(101), id(102)});
    prefab.regenerateHierarchyUuids(seed);

    EXPECT_EQ(script.generatedCount(), 2U);
    EXPECT_THAT(script.combined(), ElementsAre(std::pair(seed, id(101)), std::pair(seed, id(102))));
    EXPECT_THAT((std::vector{prefab.getGameObject(0)->uuid().low(), prefab.getGameObject(1)->uuid().low()}),
                testing::UnorderedElementsAre(101U, 102U));
    EXPECT_EQ(prefab.getGameObject(2)->uuid(), prefab.getGameObject(1)->uuid());
}

} // namespace
} // namespace Kiln::TestSupport
