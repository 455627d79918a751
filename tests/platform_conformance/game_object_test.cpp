#include "platform_access.h"
#include "test_components.h"

#include <core/log.h>
#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>

#include <gmock/gmock.h>

#include <bitset>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

class GameObjects : public testing::Test {
protected:
    ~GameObjects() override { destroyWorld(worldId); }

    [[nodiscard]] GameObjectManager& manager() const { return *getGameObjectManager(worldId); }
    [[nodiscard]] GameObject create() const { return createObject(worldId); }

    [[nodiscard]] GameObject createUnder(GameObject parent) const {
        const GameObject object = create();
        addComponent<HierarchyComponent>(object, parent);
        return object;
    }

    const int worldId = createWorld();
};

TEST_F(GameObjects, nullHandle_isInvalid) {
    EXPECT_TRUE(GameObject().isInvalid());
    EXPECT_TRUE(GameObject::INVALID_GAME_OBJECT.isInvalid());
    EXPECT_FALSE(isValid(GameObject::INVALID_GAME_OBJECT));
    EXPECT_EQ(getGameObjectManager(GameObject::INVALID_GAME_OBJECT), nullptr);
    EXPECT_FALSE(manager().isGameObjectValid(GameObject::INVALID_GAME_OBJECT));
}

TEST_F(GameObjects, newObject_isValidInItsWorld) {
    const GameObject object = create();
    EXPECT_FALSE(object.isInvalid());
    EXPECT_TRUE(isValid(object));
    EXPECT_TRUE(manager().isGameObjectValid(object));
    EXPECT_EQ(object.getWorldId(), worldId);
    EXPECT_EQ(getGameObjectManager(object), &manager());
    EXPECT_FALSE(manager().isActive(object));
}

TEST_F(GameObjects, objectOfAnotherWorld_isNotValidHere) {
    const int otherWorld = createWorld();
    const GameObject foreign = createObject(otherWorld);
    EXPECT_FALSE(manager().isGameObjectValid(foreign));
    destroyWorld(otherWorld);
    EXPECT_FALSE(isValid(foreign));
    EXPECT_EQ(getGameObjectManager(foreign), nullptr);
    removeGameObject(foreign);
}

TEST_F(GameObjects, deadHandle_isNotTheNullHandle) {
    const GameObject object = create();
    removeGameObject(object);
    EXPECT_FALSE(isValid(object));
    EXPECT_FALSE(object.isInvalid());
}

TEST_F(GameObjects, deadHandle_staysDeadWhenItsSlotIsUsedAgain) {
    const GameObject dead = create();
    addComponent<Bell>(dead, Bell::Config());
    manager().removeGameObject(dead);
    for (int i = 0; i < 1000; ++i) {
        const GameObject object = create();
        addComponent<Bell>(object, Bell::Config());
        ASSERT_FALSE(object == dead);
        ASSERT_FALSE(isValid(dead));
        manager().removeGameObject(dead); // Does nothing.
        ASSERT_TRUE(isValid(object));
        ASSERT_EQ(manager().findComponent<Bell>(dead), nullptr);
        manager().removeGameObject(object);
    }
}

TEST_F(GameObjects, operationsOnADeadObject_doNothing) {
    const GameObject dead = create();
    manager().removeGameObject(dead);
    manager().activateGameObject(dead);
    manager().deactivateGameObject(dead);
    manager().removeComponent(dead, NativeComponent<Bell>::getType());
    EXPECT_FALSE(manager().isActive(dead));
    EXPECT_FALSE(manager().hasComponent(dead, NativeComponent<Bell>::getType()));
    EXPECT_EQ(manager().getGameObjectName(dead), "");
}

TEST_F(GameObjects, component_isFoundUntilItIsRemoved) {
    const GameObject object = create();
    const Bell* const bell = addComponent<Bell>(object, Bell::Config());
    ASSERT_NE(bell, nullptr);
    EXPECT_EQ(manager().findComponent<Bell>(object), bell);
    EXPECT_TRUE(manager().hasComponent(object, NativeComponent<Bell>::getType()));
    EXPECT_FALSE(manager().hasComponent(object, NativeComponent<Beacon>::getType()));
    manager().removeComponent(object, NativeComponent<Bell>::getType());
    EXPECT_EQ(manager().findComponent<Bell>(object), nullptr);
}

TEST_F(GameObjects, secondComponentOfOneType_isRefused) {
    const LogCapture log;
    const GameObject object = create();
    Bell* const first = addComponent<Bell>(object, Bell::Config());
    EXPECT_EQ(addComponent<Bell>(object, Bell::Config()), nullptr);
    EXPECT_EQ(manager().findComponent<Bell>(object), first);
}

TEST_F(GameObjects, componentOfADeadObject_isRefused) {
    const LogCapture log;
    const GameObject dead = create();
    manager().removeGameObject(dead);
    EXPECT_EQ(addComponent<Bell>(dead, Bell::Config()), nullptr);
}

TEST_F(GameObjects, componentsGoBackToTheirStorage) {
    World& world = *EntryPoint::instance().findValidWorld(worldId);
    const GameObject object = create();
    addComponent<Bell>(object, Bell::Config());
    manager().activateGameObject(object);
    EXPECT_EQ(world.getStorage<Bell>().componentsCount(), 1U);
    EXPECT_EQ(world.getStorage<Bell>().activeCount(), 1U);
    manager().removeGameObject(object);
    EXPECT_EQ(world.getStorage<Bell>().componentsCount(), 0U);
}

TEST_F(GameObjects, transform_startsWithTheConfiguredMatrix) {
    TransformComponent::Config config;
    config.local.values[12] = 5;
    const TransformComponent* const transform = addComponent<TransformComponent>(create(), config);
    EXPECT_EQ(transform->local, config.local);
    EXPECT_EQ(transform->state, 0);
}

using Hierarchy = GameObjects;

TEST_F(Hierarchy, addingTheComponent_attachesTheObject) {
    const GameObject parent = create();
    const GameObject child = createUnder(parent);
    EXPECT_EQ(manager().findComponent<HierarchyComponent>(child)->parent(), parent);
    EXPECT_EQ(parentOf(child), parent);
    EXPECT_TRUE(parentOf(parent).isInvalid());
}

TEST_F(Hierarchy, removingTheParent_removesItsDescendants) {
    const GameObject parent = create();
    const GameObject child = createUnder(parent);
    const GameObject grandchild = createUnder(child);
    const GameObject other = create();
    manager().removeGameObject(parent);
    EXPECT_FALSE(isValid(child));
    EXPECT_FALSE(isValid(grandchild));
    EXPECT_TRUE(isValid(other));
}

TEST_F(Hierarchy, invalidParent_makesARoot) {
    const GameObject object = createUnder(GameObject::INVALID_GAME_OBJECT);
    EXPECT_TRUE(parentOf(object).isInvalid());
}

TEST_F(Hierarchy, cycle_isRefusedWithAnError) {
    const LogCapture log;
    const GameObject parent = create();
    const GameObject child = createUnder(parent);
    addComponent<HierarchyComponent>(parent, child);
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
    EXPECT_TRUE(parentOf(parent).isInvalid());
    manager().activateGameObject(parent);
    EXPECT_TRUE(manager().isActive(child));
    manager().removeGameObject(parent);
    EXPECT_FALSE(isValid(child));
}

TEST_F(Hierarchy, ownParent_isRefusedWithAnError) {
    const LogCapture log;
    const GameObject object = create();
    addComponent<HierarchyComponent>(object, object);
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
    EXPECT_TRUE(parentOf(object).isInvalid());
}

TEST_F(Hierarchy, deepChain_isActivatedAndRemoved) {
    const GameObject root = create();
    GameObject last = root;
    for (int i = 0; i < 20000; ++i) {
        last = createUnder(last);
    }
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(last));
    manager().removeGameObject(root);
    EXPECT_FALSE(isValid(last));
}

using Activation = GameObjects;

TEST_F(Activation, components_areActiveWithTheirObject) {
    const GameObject object = create();
    const Bell& bell = *addComponent<Bell>(object, Bell::Config());
    EXPECT_EQ(bell.activationsCount, 0);
    manager().activateGameObject(object);
    manager().activateGameObject(object);
    EXPECT_TRUE(manager().isActive(object));
    EXPECT_EQ(bell.activationsCount, 1);
    manager().deactivateGameObject(object);
    EXPECT_FALSE(manager().isActive(object));
    EXPECT_EQ(bell.deactivationsCount, 1);
}

TEST_F(Activation, componentAddedToAnActiveObject_isActivated) {
    const GameObject object = create();
    manager().activateGameObject(object);
    EXPECT_EQ(addComponent<Bell>(object, Bell::Config())->activationsCount, 1);
}

TEST_F(Activation, activatingTheRoot_activatesEnabledDescendants) {
    const GameObject root = create();
    const GameObject child = createUnder(root);
    const GameObject grandchild = createUnder(child);
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(child));
    EXPECT_TRUE(manager().isActive(grandchild));
    manager().deactivateGameObject(root);
    EXPECT_FALSE(manager().isActive(child));
    EXPECT_FALSE(manager().isActive(grandchild));
}

TEST_F(Activation, objectUnderAnInactiveParent_staysInactive) {
    const GameObject root = create();
    const GameObject child = createUnder(root);
    manager().activateGameObject(child);
    EXPECT_FALSE(manager().isActive(child));
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(child));
}

TEST_F(Activation, childDeactivatedByHand_staysInactiveWithItsDescendants) {
    const GameObject root = create();
    const GameObject child = createUnder(root);
    const GameObject grandchild = createUnder(child);
    manager().activateGameObject(root);
    manager().deactivateGameObject(child);
    manager().deactivateGameObject(root);
    manager().activateGameObject(root);
    EXPECT_FALSE(manager().isActive(child));
    EXPECT_FALSE(manager().isActive(grandchild));
}

TEST_F(Activation, attachingToAnActiveParent_activatesNothing) {
    const GameObject root = create();
    manager().activateGameObject(root);
    EXPECT_FALSE(manager().isActive(createUnder(root)));
}

} // namespace
} // namespace Conformance
