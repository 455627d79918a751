#include "platform_access.h"
#include "test_components.h"

#include <core/log.h>
#include <object_framework/query.h>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

using BellsQuery = Query<Bell, Beacon, GameObject>;

class Queries : public testing::Test {
protected:
    ~Queries() override { destroyWorld(worldId); }

    [[nodiscard]] World& world() const { return *EntryPoint::instance().findValidWorld(worldId); }
    [[nodiscard]] GameObjectManager& manager() const { return world().manager(); }

    [[nodiscard]] std::shared_ptr<BellsQuery> makeQuery() const {
        return world().manager().getQuery<BellsQuery>(BellsQuery::makeConfig(),
                                                      [] { return std::make_unique<BellsQuery>(); });
    }

    [[nodiscard]] GameObject createMember() const {
        const GameObject object = createObject(worldId);
        addComponent<Bell>(object, Bell::Config());
        addComponent<Beacon>(object, Beacon::Config());
        manager().activateGameObject(object);
        return object;
    }

    /// The objects that the reaction ran for since the last call.
    [[nodiscard]] std::vector<GameObject> reported() {
        runFrame();
        return std::exchange(m_reported, {});
    }

    int react(QueryBase& query) {
        return world().addTriggerReaction(ReactionGroup::SYNC_INIT, "reaction", query,
                                          [this](GameObject object) { m_reported.push_back(object); });
    }

    const int worldId = createWorld();

private:
    std::vector<GameObject> m_reported;
};

TEST_F(Queries, query_isSharedWithinAWorld) {
    EXPECT_EQ(makeQuery(), makeQuery());
}

TEST_F(Queries, members_areActiveObjectsWithAllComponents) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const GameObject object = createObject(worldId);
    addComponent<Bell>(object, Bell::Config());
    manager().activateGameObject(object);
    EXPECT_FALSE(query->contains(object));
    addComponent<Beacon>(object, Beacon::Config());
    EXPECT_TRUE(query->contains(object));
    manager().deactivateGameObject(object);
    EXPECT_FALSE(query->contains(object));
    manager().activateGameObject(object);
    EXPECT_TRUE(query->contains(object));
    manager().removeComponent(object, NativeComponent<Bell>::getType());
    EXPECT_FALSE(query->contains(object));
}

TEST_F(Queries, removedObject_leaves) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const GameObject object = createMember();
    manager().removeGameObject(object);
    EXPECT_FALSE(query->contains(object));
}

TEST_F(Queries, lateQuery_holdsThePresentMembers) {
    const GameObject object = createMember();
    EXPECT_TRUE(makeQuery()->contains(object));
}

TEST_F(Queries, visit_deliversThePartsOfAMemberOnly) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const GameObject member = createMember();
    int callsCount = 0;
    const auto function = [&](const Bell& bell, const Beacon& beacon, GameObject object) {
        EXPECT_EQ(&bell, manager().findComponent<Bell>(member));
        EXPECT_EQ(&beacon, manager().findComponent<Beacon>(member));
        EXPECT_EQ(object, member);
        ++callsCount;
    };
    query->visit(member, function);
    EXPECT_EQ(callsCount, 1);
    query->visit(createObject(worldId), function);
    EXPECT_EQ(callsCount, 1);
}

TEST_F(Queries, reactionId_isOfTheTriggerKind) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const int id = react(*query);
    EXPECT_EQ(ReactionId::kind(id), ReactionKind::TRIGGER);
    EXPECT_EQ(id >> 30, 1);
    world().removeTriggerReaction(id);
}

TEST_F(Queries, reaction_runsOnceInTheFrameForWhatEntered) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const int id = react(*query);
    const GameObject first = createMember();
    const GameObject second = createMember();
    EXPECT_THAT(reported(), testing::ElementsAre(first, second));
    EXPECT_THAT(reported(), testing::IsEmpty());
    manager().deactivateGameObject(first);
    manager().activateGameObject(first);
    EXPECT_THAT(reported(), testing::ElementsAre(first));
    world().removeTriggerReaction(id);
}

TEST_F(Queries, reaction_ignoresWhatHasLeftAgain) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const int id = react(*query);
    const GameObject removed = createMember();
    const GameObject deactivated = createMember();
    manager().removeGameObject(removed);
    manager().deactivateGameObject(deactivated);
    EXPECT_THAT(reported(), testing::IsEmpty());
    world().removeTriggerReaction(id);
}

TEST_F(Queries, removedReaction_runsNoMore) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const int id = react(*query);
    const GameObject member = createMember();
    EXPECT_TRUE(query->contains(member));
    world().removeTickReaction(id); // Of another kind.
    world().removeTriggerReaction(id);
    EXPECT_THAT(reported(), testing::IsEmpty());
}

TEST_F(Queries, reactionMayDeactivateTheObject) {
    const std::shared_ptr<BellsQuery> query = makeQuery();
    const int id = world().addTriggerReaction(ReactionGroup::SYNC_INIT, "reaction", *query,
                                              [this](GameObject object) { manager().deactivateGameObject(object); });
    const GameObject member = createMember();
    runFrame();
    EXPECT_FALSE(manager().isActive(member));
    world().removeTriggerReaction(id);
}

TEST_F(Queries, secondClassForOneConfiguration_isReported) {
    struct FirstClass {};
    struct SecondClass {};
    const LogCapture log;
    const QueryConfig config = Query<Bell, GameObject>::makeConfig();
    QueryIsUniqueAsserter::enter(config, typeid(FirstClass));
    QueryIsUniqueAsserter::enter(config, typeid(FirstClass));
    EXPECT_THAT(log.messages(), testing::IsEmpty());
    QueryIsUniqueAsserter::enter(config, typeid(SecondClass));
    EXPECT_THAT(log.messages(), testing::ElementsAre(LoggedMessage{
                                    LogSeverity::ERROR, "Query with these arguments already exists! Try this one: " +
                                                            readableTypeName(typeid(FirstClass))}));
}

TEST_F(Queries, readableTypeName_isTheNameInSourceCode) {
    EXPECT_THAT(readableTypeName(typeid(Beacon)), testing::HasSubstr("Conformance::Beacon"));
}

} // namespace
} // namespace Conformance
