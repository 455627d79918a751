#include "world_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <random>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Message = TestSupport::LogCapture::Message;

class Hierarchy : public WorldTest {
protected:
    static constexpr int CHAIN_LENGTH = 100000;

    /// Objects that form a chain: each one except the first is a child of the one before it.
    [[nodiscard]] std::vector<GameObject> createChain() const {
        std::vector<GameObject> chain{create()};
        while (chain.size() < CHAIN_LENGTH) {
            chain.push_back(createChild(chain.back()));
        }
        return chain;
    }

    [[nodiscard]] static Message refusal(const std::string& object, const std::string& parent) {
        return {LogSeverity::ERROR, "",
                "Parent of game object '" + object + "' is refused: '" + parent +
                    "' is the object itself or one of its descendants",
                "object_framework/game_object_manager"};
    }
};

TEST_F(Hierarchy, objectWithoutHierarchyComponent_hasNeitherParentNorChildren) {
    const GameObject object = create();
    EXPECT_TRUE(manager().getParent(object).isInvalid());
    EXPECT_THAT(manager().getChildren(object), IsEmpty());
}

TEST_F(Hierarchy, hierarchyComponent_attachesTheObject) {
    const GameObject parent = create();
    const GameObject child = create();
    EXPECT_EQ(attach(child, parent)->parent(), parent);
    EXPECT_EQ(manager().getParent(child), parent);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(child));
}

TEST_F(Hierarchy, children_areInTheOrderOfAttaching) {
    const GameObject parent = create();
    const GameObject a = create();
    const GameObject b = createChild(parent);
    const GameObject c = createChild(parent);
    attach(a, parent);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(b, c, a));
}

TEST_F(Hierarchy, childrenRemoved_firstMiddleAndLast_keepTheOrderOfTheOthers) {
    const GameObject parent = create();
    std::vector<GameObject> children;
    for (int i = 0; i < 5; ++i) {
        children.push_back(createChild(parent));
    }
    manager().removeGameObject(children[2]);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(children[0], children[1], children[3], children[4]));
    manager().removeGameObject(children[0]);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(children[1], children[3], children[4]));
    manager().removeGameObject(children[4]);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(children[1], children[3]));
    const GameObject added = createChild(parent);
    EXPECT_THAT(manager().getChildren(parent), ElementsAre(children[1], children[3], added));
    manager().removeGameObject(children[1]);
    manager().removeGameObject(children[3]);
    manager().removeGameObject(added);
    EXPECT_THAT(manager().getChildren(parent), IsEmpty());
}

TEST_F(Hierarchy, removeHierarchyComponent_detachesTheObject) {
    const GameObject parent = create();
    const GameObject child = createChild(parent);
    const GameObject grandchild = createChild(child);
    removeComponent<HierarchyComponent>(child);
    EXPECT_TRUE(manager().getParent(child).isInvalid());
    EXPECT_THAT(manager().getChildren(parent), IsEmpty());
    EXPECT_EQ(manager().getParent(grandchild), child);
    manager().removeGameObject(parent);
    EXPECT_TRUE(isValid(child));
}

TEST_F(Hierarchy, hierarchyComponentAddedAnew_movesTheObject) {
    const GameObject first = create();
    const GameObject second = create();
    const GameObject child = createChild(first);
    removeComponent<HierarchyComponent>(child);
    attach(child, second);
    EXPECT_EQ(manager().getParent(child), second);
    EXPECT_THAT(manager().getChildren(first), IsEmpty());
    EXPECT_THAT(manager().getChildren(second), ElementsAre(child));
}

TEST_F(Hierarchy, parentThatIsInvalidOrDead_leavesTheObjectWithoutParent) {
    const GameObject dead = create();
    manager().removeGameObject(dead);
    for (const GameObject parent : {GameObject::INVALID_GAME_OBJECT, dead}) {
        const GameObject object = create();
        const HierarchyComponent* const component = attach(object, parent);
        ASSERT_NE(component, nullptr);
        EXPECT_TRUE(component->parent().isInvalid());
        EXPECT_TRUE(manager().getParent(object).isInvalid());
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Hierarchy, parentOfAnotherWorld_leavesTheObjectWithoutParent) {
    const int otherWorld = EntryPoint::instance().createWorld();
    const GameObject elsewhere = getGameObjectManager(otherWorld)->createGameObject();
    const GameObject object = create();
    EXPECT_TRUE(attach(object, elsewhere)->parent().isInvalid());
    EXPECT_TRUE(manager().getParent(object).isInvalid());
    EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(Hierarchy, objectAsItsOwnParent_isRefused) {
    const GameObject object = create("a");
    const HierarchyComponent* const component = attach(object, object);
    ASSERT_NE(component, nullptr);
    EXPECT_TRUE(component->parent().isInvalid());
    EXPECT_TRUE(manager().getParent(object).isInvalid());
    EXPECT_THAT(manager().getChildren(object), IsEmpty());
    EXPECT_THAT(log.messages(), ElementsAre(refusal("a", "a")));
}

TEST_F(Hierarchy, childAsParent_isRefused) {
    const GameObject a = create("a");
    const GameObject b = createChild(a, "b");
    EXPECT_TRUE(attach(a, b)->parent().isInvalid());
    EXPECT_TRUE(manager().getParent(a).isInvalid());
    EXPECT_EQ(manager().getParent(b), a);
    EXPECT_THAT(log.messages(), ElementsAre(refusal("a", "b")));
}

TEST_F(Hierarchy, deepDescendantAsParent_isRefused) {
    const GameObject a = create("a");
    const GameObject d = createChild(createChild(createChild(a, "b"), "c"), "d");
    attach(a, d);
    EXPECT_TRUE(manager().getParent(a).isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(refusal("a", "d")));
    manager().activateGameObject(a);
    EXPECT_THAT(activeNames(), ElementsAre("a", "b", "c", "d"));
    manager().removeGameObject(a);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(Hierarchy, ringOfLinks_onlyTheLinkThatClosesItIsRefused) {
    const GameObject a = create("a");
    const GameObject b = create("b");
    const GameObject c = create("c");
    attach(a, b);
    attach(b, c);
    attach(c, a);
    EXPECT_EQ(manager().getParent(a), b);
    EXPECT_EQ(manager().getParent(b), c);
    EXPECT_TRUE(manager().getParent(c).isInvalid());
    EXPECT_THAT(log.messages(), ElementsAre(refusal("c", "a")));
}

TEST_F(Hierarchy, siblingOrCousinAsParent_isAccepted) {
    const GameObject root = create();
    const GameObject a = createChild(root);
    const GameObject b = createChild(root);
    const GameObject c = createChild(b);
    removeComponent<HierarchyComponent>(b);
    attach(b, a);
    EXPECT_EQ(manager().getParent(b), a);
    EXPECT_EQ(manager().getParent(c), b);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Hierarchy, removeGameObject_removesDescendantsBeforeTheirParents) {
    const GameObject root = create();
    const GameObject a = createChild(root);
    const GameObject b = createChild(root);
    const GameObject aa = createChild(a);
    add<ComponentA>(root, &journal, " root");
    add<ComponentA>(a, &journal, " a");
    add<ComponentA>(b, &journal, " b");
    add<ComponentA>(aa, &journal, " aa");
    manager().removeGameObject(root);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(journal, ElementsAre("destroy A b", "destroy A aa", "destroy A a", "destroy A root"));
}

TEST_F(Hierarchy, removeGameObject_leavesParentAndSiblings) {
    const GameObject root = create();
    const GameObject a = createChild(root);
    const GameObject aa = createChild(a);
    const GameObject b = createChild(root);
    manager().removeGameObject(a);
    EXPECT_TRUE(isValid(root));
    EXPECT_TRUE(isValid(b));
    EXPECT_FALSE(isValid(a));
    EXPECT_FALSE(isValid(aa));
}

TEST_F(Hierarchy, deepChain_activatesDeactivatesAndGoesAsAWhole) {
    const std::vector<GameObject> chain = createChain();
    add<ComponentA>(chain.back());
    manager().activateGameObject(chain.front());
    EXPECT_TRUE(manager().isActive(chain.back()));
    EXPECT_TRUE(manager().findComponent<ComponentA>(chain.back())->isActive);
    manager().deactivateGameObject(chain.front());
    EXPECT_FALSE(manager().isActive(chain.back()));
    manager().removeGameObject(chain.front());
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(Hierarchy, deepChainBuiltFromItsEnd_isLinearInItsLength) {
    std::vector<GameObject> chain;
    for (int i = 0; i < CHAIN_LENGTH; ++i) {
        chain.push_back(create());
    }
    for (std::size_t i = chain.size() - 1; i > 0; --i) {
        attach(chain[i], chain[i - 1]);
    }
    manager().activateGameObject(chain.front());
    EXPECT_TRUE(manager().isActive(chain.back()));
}

TEST_F(Hierarchy, pairsAttachedToTheEndOfADeepChain_takeTimeInProportionToTheirNumber) {
    const std::vector<GameObject> chain = createChain();
    for (int i = 0; i < CHAIN_LENGTH; ++i) { // Without the bound, 10^10 steps.
        const GameObject pair = create();
        createChild(pair);
        attach(pair, chain.back());
    }
    EXPECT_EQ(manager().getChildren(chain.back()).size(), static_cast<std::size_t>(CHAIN_LENGTH));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Hierarchy, randomAttachments_areRefusedExactlyIfTheyWouldCloseACycle) {
    constexpr std::size_t COUNT = 40;
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> anyObject(0, COUNT - 1);
    std::size_t refusals = 0;
    for (int round = 0; round < 200; ++round) {
        std::vector<GameObject> objects;
        std::generate_n(std::back_inserter(objects), COUNT, [this] { return create(); });
        for (const GameObject object : objects) {
            const GameObject parent = objects[anyObject(random)];
            GameObject above = parent;
            while (!above.isInvalid() && above != object) {
                above = manager().getParent(above);
            }
            const bool closesACycle = above == object;
            refusals += closesACycle ? 1 : 0;
            ASSERT_EQ(attach(object, parent)->parent().isInvalid(), closesACycle);
        }
        for (const GameObject object : objects) {
            manager().removeGameObject(object);
        }
    }
    EXPECT_EQ(log.errors().size(), refusals);
    EXPECT_GT(refusals, 200U);
}

TEST_F(Hierarchy, deepChain_closingItIsRefused) {
    const std::vector<GameObject> chain = createChain();
    EXPECT_TRUE(attach(chain.front(), chain.back())->parent().isInvalid());
    EXPECT_EQ(log.errors().size(), 1U);
}

TEST_F(Hierarchy, deepChain_destroyedWithItsWorld) {
    const int otherWorld = EntryPoint::instance().createWorld();
    World& other = *EntryPoint::instance().findValidWorld(otherWorld);
    GameObject last = other.manager().createGameObject();
    const GameObject first = last;
    for (int i = 1; i < CHAIN_LENGTH; ++i) {
        const GameObject next = other.manager().createGameObject();
        other.manager().addComponent(next, other.getStorage<HierarchyComponent>().create(last),
                                     typeOf<HierarchyComponent>());
        last = next;
    }
    other.manager().activateGameObject(first);
    EntryPoint::instance().destroyWorld(otherWorld);
    EXPECT_FALSE(isValid(last));
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
