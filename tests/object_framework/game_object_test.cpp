#include "world_fixture.h"

#include <unordered_set>

namespace Kiln::Tessel::FrameworkTests {
namespace {

class GameObjectHandle : public WorldTest {};

TEST_F(GameObjectHandle, default_isTheInvalidObject) {
    const GameObject object;
    EXPECT_TRUE(object.isInvalid());
    EXPECT_EQ(object, GameObject::INVALID_GAME_OBJECT);
    EXPECT_EQ(object.getWorldId(), -1);
    EXPECT_FALSE(isValid(object));
}

TEST_F(GameObjectHandle, newObject_namesItsWorldAndIsValid) {
    const GameObject object = create();
    EXPECT_FALSE(object.isInvalid());
    EXPECT_EQ(object.getWorldId(), worldId);
    EXPECT_TRUE(isValid(object));
    EXPECT_TRUE(manager().isGameObjectValid(object));
}

TEST_F(GameObjectHandle, removedObject_isNotValidAndNotTheInvalidObject) {
    const GameObject object = create();
    manager().removeGameObject(object);
    EXPECT_FALSE(isValid(object));
    EXPECT_FALSE(object.isInvalid());
}

TEST_F(GameObjectHandle, reusedIndex_hasTheNextSerial) {
    const GameObject first = create();
    manager().removeGameObject(first);
    const GameObject second = create();
    EXPECT_EQ(second.index(), first.index());
    EXPECT_EQ(second.serial(), first.serial() + 1);
    EXPECT_NE(second, first);
    EXPECT_FALSE(isValid(first));
    EXPECT_TRUE(isValid(second));
}

TEST_F(GameObjectHandle, indicesAreReusedInTheOrderInWhichTheyWereFreed) {
    const GameObject a = create();
    const GameObject b = create();
    const GameObject c = create();
    manager().removeGameObject(b);
    manager().removeGameObject(c);
    manager().removeGameObject(a);
    EXPECT_EQ(create().index(), b.index());
    EXPECT_EQ(create().index(), c.index());
    EXPECT_EQ(create().index(), a.index());
    EXPECT_EQ(create().index(), c.index() + 1);
}

TEST_F(GameObjectHandle, staleHandle_reachesNothingOfTheNewObject) {
    const GameObject stale = create("old");
    manager().removeGameObject(stale);
    const GameObject current = create("new");
    add<ComponentA>(current);

    EXPECT_EQ(manager().getGameObjectName(stale), "");
    EXPECT_FALSE(manager().hasComponent(stale, typeOf<ComponentA>()));
    EXPECT_TRUE(manager().componentTypes(stale).empty());
    manager().setGameObjectName(stale, "changed");
    manager().setGameObjectUuid(stale, Uuid(1, 2));
    manager().setGameObjectFlags(stale, GameObjectFlag::HIDDEN);
    manager().activateGameObject(stale);
    removeComponent<ComponentA>(stale);
    manager().removeGameObject(stale);

    EXPECT_EQ(manager().getGameObjectName(current), "new");
    EXPECT_EQ(manager().getGameObjectUuid(current), Uuid::ZERO);
    EXPECT_TRUE(manager().getGameObjectFlags(current).none());
    EXPECT_FALSE(manager().isActive(current));
    EXPECT_TRUE(manager().hasComponent(current, typeOf<ComponentA>()));
    EXPECT_TRUE(log.texts().empty());
}

TEST_F(GameObjectHandle, newObjectAtAReusedIndex_hasNothingOfTheOldOne) {
    const GameObject parent = create();
    const GameObject old = createChild(parent, "old");
    const GameObject oldChild = createChild(old);
    manager().setGameObjectUuid(old, Uuid(1, 2));
    manager().setGameObjectFlags(old, GameObjectFlag::INACTIVE_BY_DEFAULT | GameObjectFlag::STATIC);
    add<ComponentA>(old);
    manager().activateGameObject(parent);
    manager().removeGameObject(old);
    EXPECT_FALSE(isValid(oldChild));

    create(); // Reuses the index of the child, which was freed first.
    const GameObject fresh = manager().createGameObject();
    ASSERT_EQ(fresh.index(), old.index());
    EXPECT_EQ(manager().getGameObjectName(fresh), "");
    EXPECT_EQ(manager().getGameObjectUuid(fresh), Uuid::ZERO);
    EXPECT_TRUE(manager().getGameObjectFlags(fresh).none());
    EXPECT_TRUE(manager().componentTypes(fresh).empty());
    EXPECT_TRUE(manager().getParent(fresh).isInvalid());
    EXPECT_TRUE(manager().getChildren(fresh).empty());
    EXPECT_FALSE(manager().isActive(fresh));
    EXPECT_TRUE(manager().isEnabled(fresh));
}

TEST_F(GameObjectHandle, objectOfAnotherWorld_isNotValidHere) {
    const int otherWorld = EntryPoint::instance().createWorld();
    GameObjectManager& otherManager = *getGameObjectManager(otherWorld);
    const GameObject here = create("here");
    const GameObject there = otherManager.createGameObject();
    ASSERT_EQ(there.index(), here.index());

    EXPECT_FALSE(manager().isGameObjectValid(there));
    EXPECT_TRUE(otherManager.isGameObjectValid(there));
    EXPECT_TRUE(isValid(there));
    manager().removeGameObject(there);
    EXPECT_TRUE(isValid(here));
    EXPECT_TRUE(isValid(there));
    EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(GameObjectHandle, worldDestroyed_isNotValidAndHasNoManager) {
    const int otherWorld = EntryPoint::instance().createWorld();
    const GameObject object = getGameObjectManager(otherWorld)->createGameObject();
    EXPECT_EQ(getGameObjectManager(object), getGameObjectManager(otherWorld));
    EntryPoint::instance().destroyWorld(otherWorld);
    EXPECT_FALSE(isValid(object));
    EXPECT_EQ(getGameObjectManager(object), nullptr);
    EXPECT_EQ(getGameObjectManager(otherWorld), nullptr);
    removeGameObject(object);
    EXPECT_TRUE(log.texts().empty());
}

TEST_F(GameObjectHandle, handleThatNoObjectEverHad_isNotValid) {
    EXPECT_FALSE(isValid(GameObject(worldId, 5000, 0)));
    EXPECT_EQ(getGameObjectManager(GameObject::INVALID_GAME_OBJECT), nullptr);
}

TEST_F(GameObjectHandle, freeFunctionRemoveGameObject_removesItFromItsWorld) {
    const GameObject object = create();
    removeGameObject(object);
    EXPECT_FALSE(isValid(object));
    removeGameObject(GameObject::INVALID_GAME_OBJECT);
}

TEST_F(GameObjectHandle, hashDistinguishesIndexSerialAndWorld) {
    const std::unordered_set<GameObject> objects{{1, 0, 0}, {1, 1, 0}, {1, 0, 1}, {2, 0, 0}, {1, 0, 0}};
    EXPECT_EQ(objects.size(), 4U);
    EXPECT_EQ(std::hash<GameObject>()(GameObject(1, 2, 3)), std::hash<GameObject>()(GameObject(1, 2, 3)));
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
