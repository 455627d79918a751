#include "world_fixture.h"

#include <gmock/gmock.h>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GameObjects : public WorldTest {};

TEST_F(GameObjects, createGameObject_isEmptyEnabledAndInactive) {
    const GameObject object = manager().createGameObject();
    EXPECT_EQ(manager().getGameObjectName(object), "");
    EXPECT_EQ(manager().getGameObjectUuid(object), Uuid::ZERO);
    EXPECT_TRUE(manager().getGameObjectFlags(object).none());
    EXPECT_THAT(manager().componentTypes(object), IsEmpty());
    EXPECT_TRUE(manager().isEnabled(object));
    EXPECT_FALSE(manager().isActive(object));
}

TEST_F(GameObjects, manager_knowsItsWorld) {
    EXPECT_EQ(manager().worldId(), worldId);
}

TEST_F(GameObjects, removeGameObject_twiceOrOfTheInvalidObject_doesNothing) {
    const GameObject object = create();
    const GameObject other = create();
    manager().removeGameObject(object);
    manager().removeGameObject(object);
    manager().removeGameObject(GameObject::INVALID_GAME_OBJECT);
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_TRUE(manager().isGameObjectValid(other));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(GameObjects, names_mayRepeatAndChange) {
    const GameObject a = create("lamp");
    const GameObject b = create("lamp");
    manager().setGameObjectName(a, "torch \"1\"");
    EXPECT_EQ(manager().getGameObjectName(a), "torch \"1\"");
    EXPECT_EQ(manager().getGameObjectName(b), "lamp");
}

TEST_F(GameObjects, flags_areKeptAsSet) {
    const GameObject object = create();
    manager().setGameObjectFlags(object, GameObjectFlag::STATIC | GameObjectFlag::LOCKED);
    EXPECT_EQ(manager().getGameObjectFlags(object).to_ulong(), 0x22U);
    manager().setGameObjectFlags(object, {});
    EXPECT_TRUE(manager().getGameObjectFlags(object).none());
}

TEST_F(GameObjects, flagConstants_areTheBitsOfTheFileFormat) {
    EXPECT_EQ(GameObjectFlag::INACTIVE_BY_DEFAULT.to_ulong(), 0x01U);
    EXPECT_EQ(GameObjectFlag::STATIC.to_ulong(), 0x02U);
    EXPECT_EQ(GameObjectFlag::HIDDEN.to_ulong(), 0x04U);
    EXPECT_EQ(GameObjectFlag::EDITOR_ONLY.to_ulong(), 0x08U);
    EXPECT_EQ(GameObjectFlag::DO_NOT_SAVE.to_ulong(), 0x10U);
    EXPECT_EQ(GameObjectFlag::LOCKED.to_ulong(), 0x20U);
}

TEST_F(GameObjects, flagsOfADeadObject_areNone) {
    const GameObject object = create();
    manager().setGameObjectFlags(object, GameObjectFlag::STATIC);
    manager().removeGameObject(object);
    EXPECT_TRUE(manager().getGameObjectFlags(object).none());
}

TEST_F(GameObjects, gameObjectsCount_followsCreationAndRemoval) {
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    const GameObject a = create();
    create();
    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    manager().removeGameObject(a);
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(GameObjects, manyObjects_spreadOverChunksKeepTheirData) {
    std::vector<GameObject> objects;
    for (int i = 0; i < 3000; ++i) {
        objects.push_back(create(std::to_string(i)));
    }
    EXPECT_EQ(manager().gameObjectsCount(), 3000U);
    EXPECT_EQ(manager().getGameObjectName(objects[0]), "0");
    EXPECT_EQ(manager().getGameObjectName(objects[1023]), "1023");
    EXPECT_EQ(manager().getGameObjectName(objects[1024]), "1024");
    EXPECT_EQ(manager().getGameObjectName(objects[2999]), "2999");
}

TEST_F(GameObjects, gameObjects_areInOrderOfCreationAlsoAfterIndicesWereReused) {
    const GameObject a = create("a");
    create("b");
    const GameObject c = create("c");
    manager().removeGameObject(c);
    manager().removeGameObject(a);
    create("d"); // Reuses the index of c.
    create("e"); // Reuses the index of a.
    EXPECT_THAT(namesOf(manager().gameObjects()), ElementsAre("b", "d", "e"));
}

TEST_F(GameObjects, gameObjectsSinceASerial_areThoseCreatedAfterIt) {
    EXPECT_EQ(manager().lastSerial(), 0U);
    const GameObject a = create("a");
    create("b");
    const std::uint64_t serial = manager().lastSerial();
    EXPECT_EQ(serial, 2U);
    EXPECT_THAT(manager().gameObjects(serial), IsEmpty());
    manager().removeGameObject(a);
    create("c");
    create("d");
    EXPECT_THAT(namesOf(manager().gameObjects(serial)), ElementsAre("c", "d"));
    EXPECT_EQ(manager().lastSerial(), 4U);
}

TEST_F(GameObjects, clear_removesEveryObject) {
    const GameObject a = create();
    const GameObject b = createChild(a);
    add<ComponentA>(b);
    manager().activateGameObject(a);
    manager().clear();
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_FALSE(manager().isGameObjectValid(a));
    EXPECT_FALSE(manager().isGameObjectValid(b));
    EXPECT_EQ(ComponentA::livingCount, 0);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
