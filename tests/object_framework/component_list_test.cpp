#include "world_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

/// Objects with more components than fit into their record.
class ManyComponents : public WorldTest {
protected:
    static constexpr int COUNT = 8;

    template <char... Letters>
    void addAll(GameObject object) {
        (add<Journaled<Letters>>(object, &journal), ...);
        m_types = {typeOf<Journaled<Letters>>()...};
    }

    void addEight(GameObject object) { addAll<'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H'>(object); }

    /// In the order in which they were added.
    [[nodiscard]] const std::vector<ComponentTypeId>& types() const { return m_types; }

    [[nodiscard]] std::vector<std::string> takeJournal() { return std::exchange(journal, {}); }

private:
    std::vector<ComponentTypeId> m_types;
};

TEST_F(ManyComponents, componentTypes_areInTheOrderOfAdding) {
    const GameObject object = create();
    addEight(object);
    EXPECT_EQ(manager().componentTypes(object), types());
    for (const ComponentTypeId type : types()) {
        EXPECT_EQ(manager().findComponent(object, type)->type(), type);
    }
}

TEST_F(ManyComponents, activation_isInTheOrderOfAdding) {
    const GameObject object = create();
    addEight(object);
    manager().activateGameObject(object);
    EXPECT_THAT(takeJournal(), ElementsAre("activate A", "activate B", "activate C", "activate D", "activate E",
                                           "activate F", "activate G", "activate H"));
}

TEST_F(ManyComponents, removeGameObject_destroysTheLastFirst) {
    const GameObject object = create();
    addEight(object);
    manager().removeGameObject(object);
    EXPECT_THAT(takeJournal(), ElementsAre("destroy H", "destroy G", "destroy F", "destroy E", "destroy D", "destroy C",
                                           "destroy B", "destroy A"));
}

TEST_F(ManyComponents, removeComponent_oneAfterTheOther_keepsTheOrderOfTheOthers) {
    // At every index, while the list shrinks until it fits into the record, and then until it is empty.
    for (int index = 0; index < COUNT; ++index) {
        const GameObject object = create();
        addEight(object);
        std::vector<ComponentTypeId> left = types();
        while (!left.empty()) {
            const auto removed = left.begin() + std::min<std::ptrdiff_t>(index, std::ssize(left) - 1);
            manager().removeComponent(object, *removed);
            EXPECT_EQ(manager().findComponent(object, *removed), nullptr);
            left.erase(removed);
            ASSERT_THAT(manager().componentTypes(object), ElementsAreArray(left));
        }
        EXPECT_EQ(ComponentA::livingCount, 0);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ManyComponents, addComponent_afterTheListHasShrunk_isTheLast) {
    const GameObject object = create();
    addEight(object);
    for (std::size_t i = 1; i < types().size(); ++i) {
        manager().removeComponent(object, types()[i]);
    }
    add<ComponentB>(object);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<ComponentA>(), typeOf<ComponentB>()));
}

/// Components of one type with different deleters.
class ComponentDeleters : public WorldTest {
protected:
    static void deleteFirst(IComponent* component) { deleteAs("first", component); }
    static void deleteSecond(IComponent* component) { deleteAs("second", component); }

    GameObject createWith(void (*deallocate)(IComponent* component)) {
        const GameObject object = create();
        manager().addComponent(object, ComponentPointer(new ComponentA, IComponentDeleter{deallocate}),
                               typeOf<ComponentA>());
        return object;
    }

    static inline std::vector<std::string> s_deleted;

private:
    static void deleteAs(const char* name, IComponent* component) {
        s_deleted.push_back(name);
        delete component;
    }
};

TEST_F(ComponentDeleters, eachComponent_isFreedByItsOwnDeleter) {
    s_deleted.clear();
    const GameObject first = createWith(&deleteFirst);
    const GameObject second = createWith(&deleteSecond);
    const GameObject third = createWith(&deleteFirst);
    add<ComponentA>(create()); // Allocated from its pool.
    manager().removeGameObject(second);
    manager().removeGameObject(first);
    manager().removeComponent(third, typeOf<ComponentA>());
    EXPECT_THAT(s_deleted, ElementsAre("second", "first", "first"));
    EXPECT_EQ(ComponentA::livingCount, 1);
}

/// A component that runs an action of the test when it is activated or deactivated.
class Meddler final : public PoolableComponent<Meddler, IComponent> {
public:
    void activate() override { run(onActivate); }
    void deactivate() override { run(onDeactivate); }

    std::function<void()> onActivate;
    std::function<void()> onDeactivate;

private:
    /// By value, because the action may destroy the component that holds it.
    static void run(std::function<void()> action) {
        if (action) {
            action();
        }
    }
};

class MeddlingComponents : public WorldTest {
protected:
    /// An active object with components A and B and, last, a meddler.
    GameObject createActive() {
        const GameObject object = create();
        add<ComponentA>(object);
        add<ComponentB>(object);
        meddler = add<Meddler>(object);
        manager().activateGameObject(object);
        return object;
    }

    Meddler* meddler = nullptr;
};

TEST_F(MeddlingComponents, removed_removesAnother_bothAreGone) {
    const GameObject object = createActive();
    meddler->onDeactivate = [this, object] { removeComponent<ComponentA>(object); };
    removeComponent<Meddler>(object);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<ComponentB>()));
    EXPECT_EQ(ComponentA::livingCount, 0);
    EXPECT_EQ(ComponentB::livingCount, 1);
}

TEST_F(MeddlingComponents, removed_bringsItsObjectIntoAQuery_theObjectIsOutOfItAgain) {
    using BothQuery = Query<ComponentA, Meddler>;
    const auto query =
        manager().getQuery<BothQuery>(BothQuery::makeConfig(), [] { return std::make_unique<BothQuery>(); });
    const GameObject object = create();
    meddler = add<Meddler>(object);
    manager().activateGameObject(object);
    meddler->onDeactivate = [this, object] { add<ComponentA>(object); };
    removeComponent<Meddler>(object);
    EXPECT_EQ(query->size(), 0U);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<ComponentA>()));
}

TEST_F(MeddlingComponents, removed_removesItsObject_everythingIsGone) {
    const GameObject object = createActive();
    meddler->onDeactivate = [this, object] {
        meddler->onDeactivate = nullptr;
        manager().removeGameObject(object);
    };
    removeComponent<Meddler>(object);
    EXPECT_FALSE(manager().isGameObjectValid(object));
    EXPECT_EQ(ComponentA::livingCount, 0);
    EXPECT_EQ(ComponentB::livingCount, 0);
}

TEST_F(MeddlingComponents, activated_addsAnother_isActivatedOnce) {
    const GameObject object = create();
    meddler = add<Meddler>(object);
    meddler->onActivate = [this, object] { add<ComponentA>(object, &journal); };
    manager().activateGameObject(object);
    EXPECT_THAT(journal, ElementsAre("activate A"));
}

TEST_F(MeddlingComponents, activated_leavesItsParent_itsChildrenAndSiblingsAreActivated) {
    const GameObject root = create();
    const GameObject child = createChild(root);
    const GameObject grandchild = createChild(child);
    const GameObject sibling = createChild(root);
    meddler = add<Meddler>(child);
    meddler->onActivate = [this, child] { removeComponent<HierarchyComponent>(child); };
    manager().activateGameObject(root);
    for (const GameObject object : {root, child, grandchild, sibling}) {
        EXPECT_TRUE(manager().isActive(object));
    }
    EXPECT_THAT(manager().getChildren(root), ElementsAre(sibling));
}

TEST_F(MeddlingComponents, activated_removesItsObject_siblingsAreActivated) {
    const GameObject root = create();
    const GameObject child = createChild(root);
    const GameObject sibling = createChild(root);
    meddler = add<Meddler>(child);
    meddler->onActivate = [this, child] { manager().removeGameObject(child); };
    manager().activateGameObject(root);
    EXPECT_FALSE(manager().isGameObjectValid(child));
    EXPECT_TRUE(manager().isActive(sibling));
}

TEST_F(MeddlingComponents, activated_movesToAnInactiveTree_noneOfItsNewNeighboursIsActivated) {
    const GameObject root = create();
    const GameObject mover = createChild(root);
    const GameObject sibling = createChild(root);
    const GameObject otherRoot = create();
    const GameObject newParent = createChild(otherRoot);
    const GameObject newUncle = createChild(otherRoot);
    meddler = add<Meddler>(mover);
    meddler->onActivate = [&] {
        removeComponent<HierarchyComponent>(mover);
        add<HierarchyComponent>(mover, newParent);
    };
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(sibling));
    for (const GameObject object : {mover, otherRoot, newParent, newUncle}) {
        EXPECT_FALSE(manager().isActive(object));
    }
}

TEST_F(MeddlingComponents, deactivated_leavesItsParent_siblingsAreDeactivated) {
    const GameObject root = create();
    const GameObject child = createChild(root);
    const GameObject grandchild = createChild(child);
    const GameObject sibling = createChild(root);
    meddler = add<Meddler>(child);
    manager().activateGameObject(root);
    meddler->onDeactivate = [this, child] { removeComponent<HierarchyComponent>(child); };
    manager().deactivateGameObject(root);
    for (const GameObject object : {root, child, grandchild, sibling}) {
        EXPECT_FALSE(manager().isActive(object));
    }
}

TEST_F(MeddlingComponents, removedObject_removesItselfAgain_isGoneOnce) {
    const GameObject object = createActive();
    meddler->onDeactivate = [this, object] {
        meddler->onDeactivate = nullptr;
        manager().removeGameObject(object);
    };
    manager().removeGameObject(object);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_NE(create().index(), create().index());
}

TEST_F(MeddlingComponents, removedChild_removesTheRoot_allAreGoneOnce) {
    const GameObject root = create();
    const GameObject child = createChild(root);
    createChild(root);
    meddler = add<Meddler>(child);
    manager().activateGameObject(root);
    meddler->onDeactivate = [this, root] {
        meddler->onDeactivate = nullptr;
        manager().removeGameObject(root);
    };
    manager().removeGameObject(root);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_NE(create().index(), create().index());
}

TEST_F(MeddlingComponents, activated_removesAnother_theOthersAreActivated) {
    const GameObject object = create();
    meddler = add<Meddler>(object);
    add<ComponentA>(object);
    ComponentB* const last = add<ComponentB>(object);
    meddler->onActivate = [this, object] { removeComponent<ComponentA>(object); };
    manager().activateGameObject(object);
    EXPECT_THAT(manager().componentTypes(object), ElementsAre(typeOf<Meddler>(), typeOf<ComponentB>()));
    EXPECT_TRUE(last->isActive);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
