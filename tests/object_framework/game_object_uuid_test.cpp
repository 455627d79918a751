#include "world_fixture.h"

namespace Kiln::Tessel::FrameworkTests {
namespace {

class GameObjectUuids : public WorldTest {
protected:
    GameObject createWith(const Uuid& uuid) const {
        const GameObject object = manager().createGameObject();
        manager().setGameObjectUuid(object, uuid);
        return object;
    }

    static constexpr Uuid U{1, 1};
    static constexpr Uuid V{2, 2};
};

TEST_F(GameObjectUuids, getGameObjectUuid_isWhatWasSet) {
    const GameObject object = createWith(U);
    EXPECT_EQ(manager().getGameObjectUuid(object), U);
    manager().removeGameObject(object);
    EXPECT_EQ(manager().getGameObjectUuid(object), Uuid::ZERO);
}

TEST_F(GameObjectUuids, findGameObject_beforeAndAfterTheFirstSearch_findsObjects) {
    const GameObject early = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), early);
    EXPECT_TRUE(manager().findGameObject(V).isInvalid());
    const GameObject late = createWith(V);
    EXPECT_EQ(manager().findGameObject(V), late);
    EXPECT_EQ(manager().findGameObject(U), early);
}

TEST_F(GameObjectUuids, findGameObject_zeroUuid_isNotFound) {
    create();
    EXPECT_TRUE(manager().findGameObject(Uuid::ZERO).isInvalid());
    createWith(Uuid::ZERO);
    EXPECT_TRUE(manager().findGameObject(Uuid::ZERO).isInvalid());
}

TEST_F(GameObjectUuids, findGameObject_removedObject_isNotFound) {
    const GameObject object = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), object);
    manager().removeGameObject(object);
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
    create(); // Reuses the index.
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
}

TEST_F(GameObjectUuids, findGameObject_changedUuid_movesTheObject) {
    const GameObject object = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), object);
    manager().setGameObjectUuid(object, V);
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
    EXPECT_EQ(manager().findGameObject(V), object);
    manager().setGameObjectUuid(object, Uuid::ZERO);
    EXPECT_TRUE(manager().findGameObject(V).isInvalid());
}

TEST_F(GameObjectUuids, findGameObject_duplicates_returnsTheEarliestCreated) {
    const GameObject first = create();
    const GameObject second = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), second);
    const GameObject third = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), second);
    manager().setGameObjectUuid(first, U);
    EXPECT_EQ(manager().findGameObject(U), first);
    EXPECT_EQ(manager().getGameObjectUuid(third), U);
}

TEST_F(GameObjectUuids, findGameObject_earliestByCreationNotByIndex) {
    const GameObject removed = create();
    const GameObject early = createWith(U);
    manager().removeGameObject(removed);
    const GameObject late = createWith(U);
    ASSERT_LT(late.index(), early.index());
    EXPECT_EQ(manager().findGameObject(U), early);
}

TEST_F(GameObjectUuids, findGameObject_duplicateRemoved_returnsTheNext) {
    const GameObject first = createWith(U);
    const GameObject second = createWith(U);
    const GameObject third = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), first);
    manager().removeGameObject(first);
    EXPECT_EQ(manager().findGameObject(U), second);
    manager().setGameObjectUuid(second, V);
    EXPECT_EQ(manager().findGameObject(U), third);
    manager().removeGameObject(third);
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
    EXPECT_EQ(manager().findGameObject(V), second);
}

TEST_F(GameObjectUuids, findGameObject_sameUuidSetTwice_isStillOneObject) {
    const GameObject object = createWith(U);
    EXPECT_EQ(manager().findGameObject(U), object);
    manager().setGameObjectUuid(object, U);
    manager().removeGameObject(object);
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
}

TEST_F(GameObjectUuids, findGameObject_objectsOfAnotherWorld_areNotFound) {
    const int otherWorld = EntryPoint::instance().createWorld();
    GameObjectManager& other = *getGameObjectManager(otherWorld);
    other.setGameObjectUuid(other.createGameObject(), U);
    EXPECT_TRUE(manager().findGameObject(U).isInvalid());
    EXPECT_FALSE(other.findGameObject(U).isInvalid());
    EntryPoint::instance().destroyWorld(otherWorld);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
