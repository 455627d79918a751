#include <tessel_asset_loading/support/creation_fixture.h>

#include <object_framework/entry_point.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using testing::ElementsAre;

class CreationFailure : public CreationFixture {
protected:
    /// Creates and expects a failure that leaves no object; returns what was logged.
    std::vector<std::string> logOfFailure(const PrefabBuilder& builder) {
        EXPECT_THAT(create(builder), IsFailure());
        EXPECT_EQ(manager().gameObjectsCount(), 0U);
        EXPECT_TRUE(config.uuidMap.empty());
        return logged();
    }
};

// Roots.

TEST_F(CreationFailure, twoRoots) {
    PrefabBuilder builder;
    builder.root(id(1), "One").child(id(2), "Child", id(1)).root(id(3), "Two").child(id(4), "Late", id(3));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(SECOND_ROOT, FAILED));
}

TEST_F(CreationFailure, threeRoots_endsAtTheSecond) {
    EXPECT_THAT(logOfFailure(PrefabBuilder().root(id(1)).root(id(2)).root(id(3))), ElementsAre(SECOND_ROOT, FAILED));
}

TEST_F(CreationFailure, noRoot) {
    PrefabBuilder builder;
    builder.child(id(2), "Child", id(1)).child(id(3), "Other", id(2));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(NO_ROOT, FAILED));
}

// Worlds.

TEST_F(CreationFailure, worldThatNeverExisted_hasNoRoot) {
    config.worldId = 123456;
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Child", id(1));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(NO_ROOT, FAILED));
}

TEST_F(CreationFailure, destroyedWorld_hasNoRoot) {
    config.worldId = Tessel::EntryPoint::instance().createWorld();
    Tessel::EntryPoint::instance().destroyWorld(config.worldId);
    EXPECT_THAT(logOfFailure(PrefabBuilder().root(id(1))), ElementsAre(NO_ROOT, FAILED));
}

// Duplicate UUIDs.

TEST_F(CreationFailure, duplicateDescriptorUuid) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Child", id(1)).child(id(2), "Twin", id(1));
    builder.child(id(3), "Late", id(1));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(CreationFailure, childWithTheUuidOfTheRoot) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(1), "Twin", id(1));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(CreationFailure, twoRootsWithOneUuid_isAConflictFirst) {
    EXPECT_THAT(logOfFailure(PrefabBuilder().root(id(1)).root(id(1))), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(CreationFailure, sameDescriptorTwice) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(id(2), "Child", id(1));
    GameObjectPrefab prefab = builder.build();
    prefab.addGameObject(prefab.getGameObject(1));
    EXPECT_THAT(create(prefab), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(CreationFailure, clashWithAnObjectOfANestedInstance) {
    PrefabBuilder inner;
    inner.root(id(1), "Inner").child(id(2), "Inner child", id(1));
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "Nested", id(1), "inner.prefab");
    builder.child(Uuid::combine(id(2), id(2)), "Clashes with the inner child", id(1)).child(id(3), "Late", id(1));
    EXPECT_THAT(logOfFailure(builder), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(CreationFailure, clashOfANestedInstanceWithAnEarlierObject) {
    PrefabBuilder inner;
    inner.root(id(1), "Inner").child(id(2), "Inner child", id(1));
    cachePrefab("inner.prefab", inner);
    PrefabBuilder builder;
    builder.root(id(1), "Root").child(Uuid::combine(id(2), id(2)), "Early", id(1));
    builder.nested(id(2), "Nested", id(1), "inner.prefab");
    EXPECT_THAT(logOfFailure(builder), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

TEST_F(CreationFailure, twoIntegrationPointsWithOneUuid_clashInTheirInstances) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1), "Inner"));
    PrefabBuilder builder;
    builder.root(id(1), "Root").nested(id(2), "One", id(1), "inner.prefab");
    builder.nested(id(2), "Two", id(1), "inner.prefab");
    EXPECT_THAT(logOfFailure(builder), ElementsAre(CONFLICT, CONFLICT_STAYS, FAILED));
}

// What a failure leaves.

TEST_F(CreationFailure, otherObjectsOfTheWorldStay) {
    const GameObject present = manager().createGameObject();
    EXPECT_THAT(create(PrefabBuilder().root(id(1)).root(id(2))), IsFailure());
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_TRUE(manager().isGameObjectValid(present));
}

TEST_F(CreationFailure, objectsAreRemovedAfterTheLastMessage) {
    std::vector<std::size_t> counts;
    const ScopedLogSink sink([&](const LogMessage& /*message*/) { counts.push_back(manager().gameObjectsCount()); });
    EXPECT_THAT(create(PrefabBuilder().root(id(1)).child(id(2), "Child", id(1)).root(id(3))), IsFailure());
    EXPECT_THAT(counts, ElementsAre(3U, 3U));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(CreationFailure, withoutRoot_theOtherObjectsAreRemovedToo) {
    const GameObject present = manager().createGameObject();
    EXPECT_THAT(create(PrefabBuilder().child(id(2), "Child", id(1)).child(id(3), "Other", id(1))), IsFailure());
    EXPECT_THAT(manager().gameObjects(), ElementsAre(present));
}

TEST_F(CreationFailure, noComponentIsMade) {
    std::size_t components = 0;
    HookComponent::onConstruct = [&](const HookComponent::Config&) { ++components; };
    create(PrefabBuilder().root(id(1)).with<HookComponent>().root(id(2)));
    EXPECT_EQ(components, 0U);
}

TEST_F(CreationFailure, correctedPrefab_canBeCreated) {
    PrefabBuilder builder;
    builder.root(id(1), "Root").root(id(2), "Too many");
    GameObjectPrefab prefab = builder.build();
    create(prefab);
    prefab.removeGameObject(prefab.getGameObject(1));
    EXPECT_EQ(create(prefab).size(), 1U);
    EXPECT_EQ(uuidOf("Root"), Uuid::combine(INSTANCE, id(1)));
}

} // namespace
} // namespace Kiln::TestSupport
