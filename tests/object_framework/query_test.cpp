#include "world_fixture.h"

#include <gmock/gmock.h>

#include <memory>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using BothQuery = Query<ComponentA, ComponentB, GameObject>;

class Queries : public WorldTest {
protected:
    template <class QueryClass>
    [[nodiscard]] std::shared_ptr<QueryClass> getQuery() const {
        return manager().getQuery<QueryClass>(QueryClass::makeConfig(), [] { return std::make_unique<QueryClass>(); });
    }

    [[nodiscard]] GameObject createWithBoth() const {
        const GameObject object = create();
        add<ComponentA>(object);
        add<ComponentB>(object);
        return object;
    }
};

TEST_F(Queries, makeConfig_sortsTypesAndNotesTheGameObject) {
    const QueryConfig config = Query<ComponentB, GameObject, ComponentA>::makeConfig();
    EXPECT_EQ(config.types.size(), 2U);
    EXPECT_LT(config.types[0], config.types[1]);
    EXPECT_TRUE(config.includesGameObject);
    EXPECT_EQ(config, BothQuery::makeConfig());
    EXPECT_NE(config, (Query<ComponentA, ComponentB>::makeConfig()));
}

TEST_F(Queries, activation_entersAndDeactivationLeaves) {
    const auto query = getQuery<BothQuery>();
    const GameObject object = createWithBoth();
    EXPECT_FALSE(query->contains(object));
    manager().activateGameObject(object);
    EXPECT_TRUE(query->contains(object));
    EXPECT_EQ(query->size(), 1U);
    EXPECT_THAT(query->objects(), ElementsAre(object));
    manager().deactivateGameObject(object);
    EXPECT_FALSE(query->contains(object));
    EXPECT_EQ(query->size(), 0U);
}

TEST_F(Queries, objectThatLacksAComponent_entersWhenItIsAdded) {
    const auto query = getQuery<BothQuery>();
    const GameObject object = create();
    add<ComponentA>(object);
    manager().activateGameObject(object);
    EXPECT_FALSE(query->contains(object));
    add<ComponentB>(object);
    EXPECT_TRUE(query->contains(object));
}

TEST_F(Queries, componentRemoved_leaves) {
    const auto query = getQuery<BothQuery>();
    const GameObject object = createWithBoth();
    manager().activateGameObject(object);
    removeComponent<ComponentA>(object);
    EXPECT_FALSE(query->contains(object));
    EXPECT_TRUE(manager().isActive(object));
    add<ComponentA>(object);
    EXPECT_TRUE(query->contains(object));
}

TEST_F(Queries, otherComponentRemoved_stays) {
    const auto query = getQuery<Query<ComponentA>>();
    const GameObject object = createWithBoth();
    manager().activateGameObject(object);
    removeComponent<ComponentB>(object);
    EXPECT_TRUE(query->contains(object));
}

TEST_F(Queries, objectRemoved_leaves) {
    const auto query = getQuery<Query<ComponentA>>();
    const GameObject root = create();
    const GameObject child = createChild(root);
    add<ComponentA>(child);
    manager().activateGameObject(root);
    EXPECT_TRUE(query->contains(child));
    manager().removeGameObject(root);
    EXPECT_EQ(query->size(), 0U);
    EXPECT_FALSE(query->contains(child));
}

TEST_F(Queries, staleHandle_isNotContainedWhenTheNewObjectIs) {
    const auto query = getQuery<Query<ComponentA>>();
    const GameObject stale = create();
    manager().removeGameObject(stale);
    const GameObject current = create();
    ASSERT_EQ(current.index(), stale.index());
    add<ComponentA>(current);
    manager().activateGameObject(current);
    EXPECT_TRUE(query->contains(current));
    EXPECT_FALSE(query->contains(stale));
    EXPECT_FALSE(query->contains(GameObject::INVALID_GAME_OBJECT));
}

TEST_F(Queries, memberLeavesFromTheMiddle_othersStay) {
    const auto query = getQuery<Query<ComponentA>>();
    std::vector<GameObject> objects;
    for (int i = 0; i < 4; ++i) {
        objects.push_back(create());
        add<ComponentA>(objects.back());
        manager().activateGameObject(objects.back());
    }
    manager().deactivateGameObject(objects[1]);
    EXPECT_THAT(query->objects(), UnorderedElementsAre(objects[0], objects[2], objects[3]));
    manager().deactivateGameObject(objects[3]);
    manager().deactivateGameObject(objects[0]);
    EXPECT_THAT(query->objects(), ElementsAre(objects[2]));
    manager().activateGameObject(objects[1]);
    EXPECT_THAT(query->objects(), UnorderedElementsAre(objects[1], objects[2]));
}

TEST_F(Queries, madeLate_holdsTheActiveObjectsThatMatch) {
    const GameObject active = createWithBoth();
    const GameObject inactive = createWithBoth();
    const GameObject lacking = create();
    add<ComponentA>(lacking);
    manager().activateGameObject(active);
    manager().activateGameObject(lacking);
    const auto query = getQuery<BothQuery>();
    EXPECT_THAT(query->objects(), ElementsAre(active));
    EXPECT_FALSE(query->contains(inactive));
}

TEST_F(Queries, sameConfigurationAndClass_isShared) {
    const auto query = getQuery<BothQuery>();
    EXPECT_EQ(getQuery<BothQuery>(), query);
}

TEST_F(Queries, otherClassForTheSameConfiguration_isAnotherQuery) {
    const auto query = getQuery<BothQuery>();
    const auto other = getQuery<Query<ComponentB, ComponentA, GameObject>>();
    EXPECT_NE(static_cast<QueryBase*>(other.get()), query.get());
    manager().activateGameObject(createWithBoth());
    EXPECT_EQ(query->size(), 1U);
    EXPECT_EQ(other->size(), 1U);
}

TEST_F(Queries, otherWorld_hasAQueryOfItsOwn) {
    const int otherWorld = EntryPoint::instance().createWorld();
    const auto query = getQuery<Query<ComponentA>>();
    const auto other = EntryPoint::instance()
                           .findValidWorld(otherWorld)
                           ->manager()
                           .getQuery<Query<ComponentA>>(Query<ComponentA>::makeConfig(),
                                                        [] { return std::make_unique<Query<ComponentA>>(); });
    EXPECT_NE(query, other);
    const GameObject object = create();
    add<ComponentA>(object);
    manager().activateGameObject(object);
    EXPECT_EQ(query->size(), 1U);
    EXPECT_EQ(other->size(), 0U);
    EntryPoint::instance().destroyWorld(otherWorld);
}

TEST_F(Queries, lastHolderGone_theNextOneIsMadeAnew) {
    const std::weak_ptr<BothQuery> old = getQuery<BothQuery>();
    EXPECT_TRUE(old.expired());
    const GameObject object = createWithBoth();
    manager().activateGameObject(object);
    EXPECT_TRUE(getQuery<BothQuery>()->contains(object));
}

TEST_F(Queries, otherQueryOfTheRarestTypeGone_isStillEntered) {
    const auto query = getQuery<BothQuery>();
    auto other = getQuery<Query<ComponentB>>();
    other.reset();
    const GameObject object = createWithBoth();
    manager().activateGameObject(object);
    EXPECT_THAT(query->objects(), ElementsAre(object));
}

TEST_F(Queries, onlyQueryOfATypeGone_theNextOneIsEntered) {
    getQuery<BothQuery>().reset();
    const GameObject before = createWithBoth();
    manager().activateGameObject(before);
    const auto query = getQuery<BothQuery>();
    const GameObject after = createWithBoth();
    manager().activateGameObject(after);
    EXPECT_THAT(query->objects(), ElementsAre(before, after));
}

TEST_F(Queries, oneOfTwoHoldersGone_theQueryLives) {
    auto query = getQuery<BothQuery>();
    auto other = getQuery<BothQuery>();
    query.reset();
    const GameObject object = createWithBoth();
    manager().activateGameObject(object);
    EXPECT_TRUE(other->contains(object));
}

TEST_F(Queries, worldDestroyedBeforeTheQuery_leavesItEmpty) {
    const int otherWorld = EntryPoint::instance().createWorld();
    World& other = *EntryPoint::instance().findValidWorld(otherWorld);
    const auto query = other.manager().getQuery<Query<ComponentA, GameObject>>(
        Query<ComponentA, GameObject>::makeConfig(), [] { return std::make_unique<Query<ComponentA, GameObject>>(); });
    const GameObject object = other.manager().createGameObject();
    other.manager().addComponent(object, other.getStorage<ComponentA>().create(), typeOf<ComponentA>());
    other.manager().activateGameObject(object);
    ASSERT_TRUE(query->contains(object));
    EntryPoint::instance().destroyWorld(otherWorld);
    EXPECT_EQ(query->size(), 0U);
    int visits = 0;
    query->visit(object, [&visits](ComponentA&, GameObject) { ++visits; });
    query->forEach([&visits](ComponentA&, GameObject) { ++visits; });
    EXPECT_EQ(visits, 0);
}

TEST_F(Queries, forEach_deliversComponentsAndObjectsInTheOrderOfTheParameters) {
    const auto query = getQuery<Query<GameObject, ComponentB, ComponentA>>();
    const GameObject first = createWithBoth();
    const GameObject second = createWithBoth();
    manager().activateGameObject(first);
    manager().activateGameObject(second);
    std::vector<GameObject> visited;
    query->forEach([&](GameObject object, ComponentB& b, ComponentA& a) {
        EXPECT_EQ(&a, manager().findComponent<ComponentA>(object));
        EXPECT_EQ(&b, manager().findComponent<ComponentB>(object));
        visited.push_back(object);
    });
    EXPECT_THAT(visited, UnorderedElementsAre(first, second));
}

TEST_F(Queries, visit_callsForAMemberOnly) {
    const auto query = getQuery<Query<ComponentA, GameObject>>();
    const GameObject member = create();
    const GameObject other = create();
    add<ComponentA>(member);
    add<ComponentA>(other);
    manager().activateGameObject(member);
    std::vector<GameObject> visited;
    const auto note = [&visited](ComponentA&, GameObject object) { visited.push_back(object); };
    query->visit(member, note);
    query->visit(other, note);
    EXPECT_THAT(visited, ElementsAre(member));
}

TEST_F(Queries, addedListener_isCalledOnceForEachEntry) {
    const auto query = getQuery<BothQuery>();
    std::vector<GameObject> added;
    const int id = query->addAddedListener([&added](GameObject object) { added.push_back(object); });
    const GameObject object = createWithBoth();
    EXPECT_THAT(added, IsEmpty());
    manager().activateGameObject(object);
    EXPECT_THAT(added, ElementsAre(object));
    manager().deactivateGameObject(object);
    manager().activateGameObject(object);
    EXPECT_THAT(added, ElementsAre(object, object));
    query->removeAddedListener(id);
    manager().deactivateGameObject(object);
    manager().activateGameObject(object);
    EXPECT_EQ(added.size(), 2U);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
