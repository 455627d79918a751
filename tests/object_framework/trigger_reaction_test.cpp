#include "world_fixture.h"

#include <gmock/gmock.h>

#include <memory>

namespace Kiln::Tessel::FrameworkTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AQuery = Query<ComponentA, GameObject>;

class TriggerReaction : public WorldTest {
protected:
    int addReaction(const std::string& group = "group") {
        return world().addTriggerReaction(group, "name", *query,
                                          [this](GameObject object) { triggered.push_back(object); });
    }

    GameObject createActive() const {
        const GameObject object = create();
        add<ComponentA>(object);
        manager().activateGameObject(object);
        return object;
    }

    [[nodiscard]] std::vector<GameObject> run() {
        triggered.clear();
        world().runReactions();
        return triggered;
    }

    std::shared_ptr<AQuery> query =
        manager().getQuery<AQuery>(AQuery::makeConfig(), [] { return std::make_unique<AQuery>(); });
    std::vector<GameObject> triggered;
};

TEST_F(TriggerReaction, id_hasBit30) {
    EXPECT_EQ(addReaction() & 0x40000000, 0x40000000);
}

TEST_F(TriggerReaction, addedObject_isReportedInTheReactionPhaseAndOnce) {
    addReaction();
    const GameObject object = createActive();
    EXPECT_THAT(triggered, IsEmpty());
    EXPECT_THAT(run(), ElementsAre(object));
    EXPECT_THAT(run(), IsEmpty());
}

TEST_F(TriggerReaction, addedObjects_areReportedInTheOrderInWhichTheyEntered) {
    addReaction();
    const GameObject first = createActive();
    const GameObject second = createActive();
    const GameObject third = createActive();
    EXPECT_THAT(run(), ElementsAre(first, second, third));
}

TEST_F(TriggerReaction, objectsThatWereThereBefore_areNotReported) {
    createActive();
    addReaction();
    EXPECT_THAT(run(), IsEmpty());
}

TEST_F(TriggerReaction, objectThatLeft_isNotReported) {
    addReaction();
    const GameObject deactivated = createActive();
    const GameObject removed = createActive();
    const GameObject stripped = createActive();
    const GameObject staying = createActive();
    manager().deactivateGameObject(deactivated);
    manager().removeGameObject(removed);
    removeComponent<ComponentA>(stripped);
    EXPECT_THAT(run(), ElementsAre(staying));
}

TEST_F(TriggerReaction, objectThatReusesTheIndex_isReportedAsItself) {
    addReaction();
    const GameObject old = createActive();
    manager().removeGameObject(old);
    const GameObject current = createActive();
    ASSERT_EQ(current.index(), old.index());
    EXPECT_THAT(run(), ElementsAre(current));
}

TEST_F(TriggerReaction, objectThatLeftAndCameBackWithinAFrame_isReportedOnce) {
    addReaction();
    const GameObject object = createActive();
    manager().deactivateGameObject(object);
    manager().activateGameObject(object);
    EXPECT_THAT(run(), ElementsAre(object));
}

TEST_F(TriggerReaction, objectThatComesBackInALaterFrame_isReportedAgain) {
    addReaction();
    const GameObject object = createActive();
    EXPECT_THAT(run(), ElementsAre(object));
    manager().deactivateGameObject(object);
    EXPECT_THAT(run(), IsEmpty());
    manager().activateGameObject(object);
    EXPECT_THAT(run(), ElementsAre(object));
}

TEST_F(TriggerReaction, objectAddedByTheReaction_isReportedInTheNextFrame) {
    GameObject added;
    world().addTriggerReaction("group", "name", *query, [this, &added](GameObject object) {
        triggered.push_back(object);
        if (added.isInvalid()) {
            added = createActive();
        }
    });
    const GameObject object = createActive();
    EXPECT_THAT(run(), ElementsAre(object));
    EXPECT_THAT(run(), ElementsAre(added));
    EXPECT_THAT(run(), IsEmpty());
}

TEST_F(TriggerReaction, objectRemovedByTheReactionToAnother_isNotReported) {
    GameObject second;
    world().addTriggerReaction("group", "name", *query, [this, &second](GameObject object) {
        triggered.push_back(object);
        manager().removeGameObject(second);
    });
    const GameObject first = createActive();
    second = createActive();
    EXPECT_THAT(run(), ElementsAre(first));
}

TEST_F(TriggerReaction, removeTriggerReaction_endsIt) {
    const int id = addReaction();
    createActive();
    world().removeTriggerReaction(id);
    createActive();
    EXPECT_THAT(run(), IsEmpty());
    EXPECT_EQ(world().reactions().find(id), nullptr);
}

TEST_F(TriggerReaction, removeTriggerReaction_leavesOtherReactionsToTheQuery) {
    world().removeTriggerReaction(addReaction());
    addReaction();
    const GameObject object = createActive();
    EXPECT_THAT(run(), ElementsAre(object));
}

TEST_F(TriggerReaction, removeTickReaction_ofATrigger_doesNothing) {
    const int id = addReaction();
    world().removeTickReaction(id);
    const GameObject object = createActive();
    EXPECT_THAT(run(), ElementsAre(object));
}

TEST_F(TriggerReaction, removeTriggerReaction_ofATickReaction_doesNothing) {
    int runs = 0;
    const int id = world().addTickReaction("group", "name", [&runs] { ++runs; });
    world().removeTriggerReaction(id);
    world().runReactions();
    EXPECT_EQ(runs, 1);
    world().removeTickReaction(id);
    world().runReactions();
    EXPECT_EQ(runs, 1);
}

TEST_F(TriggerReaction, initialisationGroup_runsBeforeTickReactions) {
    std::vector<std::string> order;
    world().addTickReaction("logic", "tick", [&order] { order.emplace_back("tick"); });
    world().addTriggerReaction(ReactionGroup::SYNC_INIT, "trigger", *query,
                               [&order](GameObject) { order.emplace_back("trigger"); });
    createActive();
    world().runReactions();
    EXPECT_THAT(order, ElementsAre("trigger", "tick"));
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
