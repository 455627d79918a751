#include "world_fixture.h"

#include <gmock/gmock.h>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Activation : public WorldTest {
protected:
    void disable(GameObject object) const { manager().setGameObjectFlags(object, GameObjectFlag::INACTIVE_BY_DEFAULT); }
};

TEST_F(Activation, root_isActivatedAndDeactivatedByHand) {
    const GameObject object = create();
    manager().activateGameObject(object);
    EXPECT_TRUE(manager().isActive(object));
    manager().deactivateGameObject(object);
    EXPECT_FALSE(manager().isActive(object));
    EXPECT_FALSE(manager().isEnabled(object));
}

TEST_F(Activation, components_areActiveWithTheirObject) {
    const GameObject object = create();
    ComponentA* const a = add<ComponentA>(object);
    ComponentB* const b = add<ComponentB>(object);
    manager().activateGameObject(object);
    EXPECT_TRUE(a->isActive);
    EXPECT_TRUE(b->isActive);
    manager().deactivateGameObject(object);
    EXPECT_FALSE(a->isActive);
    EXPECT_FALSE(b->isActive);
}

TEST_F(Activation, activatedTwice_activatesComponentsOnce) {
    const GameObject object = create();
    add<ComponentA>(object, &journal);
    manager().activateGameObject(object);
    manager().activateGameObject(object);
    EXPECT_THAT(journal, ElementsAre("activate A"));
}

TEST_F(Activation, deactivatedTwice_deactivatesComponentsOnce) {
    const GameObject object = create();
    add<ComponentA>(object, &journal);
    manager().activateGameObject(object);
    manager().deactivateGameObject(object);
    manager().deactivateGameObject(object);
    EXPECT_THAT(journal, ElementsAre("activate A", "deactivate A"));
}

TEST_F(Activation, inactiveByDefault_isNotEnabledUntilActivatedByHand) {
    const GameObject object = create();
    disable(object);
    EXPECT_FALSE(manager().isEnabled(object));
    manager().activateGameObject(object);
    EXPECT_TRUE(manager().isEnabled(object));
    EXPECT_TRUE(manager().isActive(object));
    EXPECT_EQ(manager().getGameObjectFlags(object), GameObjectFlag::INACTIVE_BY_DEFAULT);
}

TEST_F(Activation, flagsWithoutInactiveByDefault_enableAndActivateNothing) {
    const GameObject object = create();
    disable(object);
    manager().setGameObjectFlags(object, GameObjectFlag::HIDDEN);
    EXPECT_TRUE(manager().isEnabled(object));
    EXPECT_FALSE(manager().isActive(object));
}

TEST_F(Activation, flagInactiveByDefault_onAnActiveObject_leavesItActive) {
    const GameObject object = create();
    manager().activateGameObject(object);
    disable(object);
    EXPECT_TRUE(manager().isActive(object));
    EXPECT_FALSE(manager().isEnabled(object));
}

TEST_F(Activation, activatingTheRoot_activatesEnabledDescendantsParentsFirst) {
    const GameObject root = create();
    const GameObject a = createChild(root);
    const GameObject b = createChild(root);
    const GameObject aa = createChild(a);
    add<ComponentA>(aa, &journal, " aa");
    add<ComponentA>(b, &journal, " b");
    add<ComponentA>(a, &journal, " a");
    add<ComponentA>(root, &journal, " root");
    manager().activateGameObject(root);
    EXPECT_THAT(journal, ElementsAre("activate A root", "activate A a", "activate A aa", "activate A b"));
}

TEST_F(Activation, activatingTheRoot_leavesDisabledDescendantsAndWhatIsBelowThem) {
    const GameObject root = create("root");
    const GameObject a = createChild(root, "a");
    const GameObject aa = createChild(a, "aa");
    createChild(root, "b");
    disable(a);
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "b"));
    EXPECT_TRUE(manager().isEnabled(aa));
    manager().activateGameObject(a);
    EXPECT_THAT(activeNames(), ElementsAre("root", "a", "aa", "b"));
}

TEST_F(Activation, activatingUnderAnInactiveParent_enablesOnly) {
    const GameObject root = create("root");
    const GameObject child = createChild(root, "child");
    disable(child);
    manager().activateGameObject(child);
    EXPECT_TRUE(manager().isEnabled(child));
    EXPECT_FALSE(manager().isActive(child));
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "child"));
}

TEST_F(Activation, activatingUnderAnInactiveGrandparent_enablesOnly) {
    const GameObject grandchild = createChild(createChild(create()));
    manager().activateGameObject(grandchild);
    EXPECT_FALSE(manager().isActive(grandchild));
}

TEST_F(Activation, deactivatingTheRoot_deactivatesAllDescendantsAndKeepsThemEnabled) {
    const GameObject root = create("root");
    const GameObject a = createChild(root, "a");
    const GameObject aa = createChild(a, "aa");
    manager().activateGameObject(root);
    manager().deactivateGameObject(root);
    EXPECT_THAT(activeNames(), IsEmpty());
    EXPECT_TRUE(manager().isEnabled(a));
    EXPECT_TRUE(manager().isEnabled(aa));
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "a", "aa"));
}

TEST_F(Activation, childDeactivatedByHand_staysInactiveWhenTheRootIsActivatedAgain) {
    const GameObject root = create("root");
    const GameObject a = createChild(root, "a");
    createChild(a, "aa");
    createChild(root, "b");
    manager().activateGameObject(root);
    manager().deactivateGameObject(a);
    EXPECT_THAT(activeNames(), ElementsAre("root", "b"));
    manager().deactivateGameObject(root);
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "b"));
}

TEST_F(Activation, deactivatingAnInactiveChild_disablesIt) {
    const GameObject root = create("root");
    manager().deactivateGameObject(createChild(root, "child"));
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root"));
}

TEST_F(Activation, attachingToAnActiveParent_doesNotActivateByItself) {
    const GameObject root = create("root");
    manager().activateGameObject(root);
    const GameObject child = createChild(root, "child");
    EXPECT_FALSE(manager().isActive(child));
    manager().activateGameObject(child);
    EXPECT_TRUE(manager().isActive(child));
}

TEST_F(Activation, activatingAnActiveRoot_activatesEnabledDescendantsThatCameLater) {
    const GameObject root = create("root");
    const GameObject old = createChild(root, "old");
    manager().activateGameObject(root);
    createChild(old, "new");
    manager().setGameObjectFlags(createChild(old, "disabled"), GameObjectFlag::INACTIVE_BY_DEFAULT);
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "old", "new"));
}

TEST_F(Activation, activeObjectAttachedToAnActiveParent_staysActive) {
    const GameObject root = create("root");
    const GameObject object = create("object");
    manager().activateGameObject(root);
    manager().activateGameObject(object);
    attach(object, root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "object"));
    manager().deactivateGameObject(root);
    EXPECT_THAT(activeNames(), IsEmpty());
}

TEST_F(Activation, activeTreeAttachedToAnInactiveParent_isDeactivatedAndStaysEnabled) {
    const GameObject root = create("root");
    const GameObject object = create("object");
    const GameObject child = createChild(object, "child");
    ComponentA* const component = add<ComponentA>(child);
    manager().activateGameObject(object);
    attach(object, root);
    EXPECT_THAT(activeNames(), IsEmpty());
    EXPECT_FALSE(component->isActive);
    EXPECT_EQ(world().findStorage(typeOf<HierarchyComponent>())->activeCount(), 0U);
    manager().activateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("root", "object", "child"));
}

TEST_F(Activation, activeObjectWhoseParentIsRefused_staysActive) {
    const GameObject object = create("object");
    createChild(object, "child");
    manager().activateGameObject(object);
    attach(object, object);
    EXPECT_THAT(activeNames(), ElementsAre("object", "child"));
}

TEST_F(Activation, detachedObject_keepsItsState) {
    const GameObject root = create("root");
    const GameObject active = createChild(root, "active");
    const GameObject inactive = createChild(root, "inactive");
    disable(inactive);
    manager().activateGameObject(root);
    removeComponent<HierarchyComponent>(active);
    removeComponent<HierarchyComponent>(inactive);
    manager().deactivateGameObject(root);
    EXPECT_THAT(activeNames(), ElementsAre("active"));
}

TEST_F(Activation, deadObject_isNeitherActiveNorEnabled) {
    const GameObject object = create();
    manager().activateGameObject(object);
    manager().removeGameObject(object);
    manager().activateGameObject(object);
    manager().deactivateGameObject(object);
    EXPECT_FALSE(manager().isActive(object));
    EXPECT_FALSE(manager().isEnabled(object));
}

/// Each bit of the parameter tells whether one of the three levels below an active root is enabled.
class ActivationOfThreeLevels : public WorldTest, public testing::WithParamInterface<int> {};

TEST_P(ActivationOfThreeLevels, objectIsActive_whenItAndAllAboveAreEnabled) {
    const int enabled = GetParam();
    const GameObject root = create("root");
    std::vector<GameObject> levels;
    GameObject parent = root;
    for (int level = 0; level < 3; ++level) {
        parent = createChild(parent);
        levels.push_back(parent);
        if ((enabled >> level & 1) == 0) {
            manager().setGameObjectFlags(parent, GameObjectFlag::INACTIVE_BY_DEFAULT);
        }
    }
    manager().activateGameObject(root);
    bool areAllEnabled = true;
    for (int level = 0; level < 3; ++level) {
        areAllEnabled = areAllEnabled && (enabled >> level & 1) != 0;
        EXPECT_EQ(manager().isActive(levels[static_cast<std::size_t>(level)]), areAllEnabled) << "level " << level;
    }
    for (const GameObject object : levels) {
        manager().activateGameObject(object);
        EXPECT_TRUE(manager().isActive(object));
    }
}

INSTANTIATE_TEST_SUITE_P(Enabled, ActivationOfThreeLevels, testing::Range(0, 8));

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
