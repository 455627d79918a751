#include "world_fixture.h"

#include <gmock/gmock.h>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Message = TestSupport::LogCapture::Message;

class Components : public WorldTest {
protected:
    [[nodiscard]] static Message error(std::string text) {
        return {LogSeverity::ERROR, "", std::move(text), "object_framework/game_object_manager"};
    }
};

TEST_F(Components, addComponent_isFoundOnItsObjectAlone) {
    const GameObject object = create();
    const GameObject other = create();
    ComponentA* const component = add<ComponentA>(object);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(manager().findComponent<ComponentA>(object), component);
    EXPECT_EQ(manager().findComponent(object, typeOf<ComponentA>()), component);
    EXPECT_TRUE(manager().hasComponent(object, typeOf<ComponentA>()));
    EXPECT_FALSE(manager().hasComponent(object, typeOf<ComponentB>()));
    EXPECT_EQ(manager().findComponent<ComponentB>(object), nullptr);
    EXPECT_FALSE(manager().hasComponent(other, typeOf<ComponentA>()));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Components, componentTypes_areInTheOrderOfAdding) {
    const GameObject object = create();
    add<ComponentB>(object);
    add<ComponentA>(object);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<ComponentB>(), typeOf<ComponentA>()));
    removeComponent<ComponentB>(object);
    add<ComponentB>(object);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<ComponentA>(), typeOf<ComponentB>()));
}

TEST_F(Components, addComponent_secondOfAType_isRefusedAndDestroyed) {
    const GameObject object = create("lamp");
    ComponentA* const first = add<ComponentA>(object);
    EXPECT_EQ(add<ComponentA>(object), nullptr);
    EXPECT_EQ(manager().findComponent<ComponentA>(object), first);
    EXPECT_EQ(ComponentA::livingCount, 1);
    EXPECT_THAT(log.messages(), ElementsAre(error("Game object 'lamp' has a component of that type already")));
}

TEST_F(Components, addComponent_null_isRefused) {
    const GameObject object = create("lamp");
    EXPECT_EQ(manager().addComponent(object, nullptr, typeOf<ComponentA>()), nullptr);
    EXPECT_FALSE(manager().hasComponent(object, typeOf<ComponentA>()));
    EXPECT_THAT(log.messages(), ElementsAre(error("No component to add to game object 'lamp'")));
}

TEST_F(Components, addComponent_deadObject_isRefusedAndDestroyed) {
    const GameObject object = create();
    manager().removeGameObject(object);
    EXPECT_EQ(add<ComponentA>(object), nullptr);
    EXPECT_EQ(ComponentA::livingCount, 0);
    EXPECT_THAT(log.messages(), ElementsAre(error("A component can't be added: its game object is not alive")));
}

TEST_F(Components, addComponent_nullToADeadObject_reportsTheObject) {
    EXPECT_EQ(manager().addComponent(GameObject::INVALID_GAME_OBJECT, nullptr, typeOf<ComponentA>()), nullptr);
    EXPECT_THAT(log.messages(), ElementsAre(error("A component can't be added: its game object is not alive")));
}

TEST_F(Components, addComponent_inactiveObject_leavesItInactive) {
    EXPECT_FALSE(add<ComponentA>(create())->isActive);
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>())->activeCount(), 0U);
}

TEST_F(Components, addComponent_activeObject_activatesIt) {
    const GameObject object = create();
    manager().activateGameObject(object);
    EXPECT_TRUE(add<ComponentA>(object)->isActive);
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>())->activeCount(), 1U);
}

TEST_F(Components, removeComponent_destroysIt) {
    const GameObject object = create();
    add<ComponentA>(object);
    add<ComponentB>(object);
    removeComponent<ComponentA>(object);
    EXPECT_EQ(ComponentA::livingCount, 0);
    EXPECT_EQ(manager().findComponent<ComponentA>(object), nullptr);
    EXPECT_TRUE(manager().hasComponent(object, typeOf<ComponentB>()));
}

TEST_F(Components, removeComponent_active_deactivatesItFirst) {
    const GameObject object = create();
    add<ComponentA>(object, &journal);
    manager().activateGameObject(object);
    removeComponent<ComponentA>(object);
    EXPECT_THAT(journal, ElementsAre("activate A", "deactivate A", "destroy A"));
}

TEST_F(Components, removeComponent_absentOrOfADeadObject_doesNothing) {
    const GameObject object = create();
    removeComponent<ComponentA>(object);
    manager().removeGameObject(object);
    removeComponent<ComponentA>(object);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Components, removeGameObject_deactivatesAllBeforeItDestroysTheLastAddedFirst) {
    const GameObject object = create();
    add<ComponentA>(object, &journal);
    add<ComponentB>(object, &journal);
    manager().activateGameObject(object);
    journal.clear();
    manager().removeGameObject(object);
    EXPECT_THAT(journal, ElementsAre("deactivate A", "deactivate B", "destroy B", "destroy A"));
}

TEST_F(Components, removeGameObject_neverActivated_destroysComponentsSilently) {
    const GameObject object = create();
    add<ComponentA>(object);
    manager().removeGameObject(object);
    EXPECT_EQ(ComponentA::livingCount, 0);
    EXPECT_EQ(world().findStorage(typeOf<ComponentA>())->componentsCount(), 0U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
