#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/support/creation_fixture.h>

#include <chrono>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::detail::Deadline;
using Tessel::detail::InstanceCreation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Stage = InstanceCreation::Stage;

constexpr std::uint64_t OBJECTS = 100;

/// Removing the objects of a creation, and freeing its memory, in steps.
class InstanceRemoval : public CreationFixture {
protected:
    /// A deadline that has passed: a step does the least that it can.
    static Deadline passed() { return Deadline(std::chrono::steady_clock::time_point::min()); }

    /// OBJECTS objects, each the child of one before it.
    [[nodiscard]] static PrefabBuilder flock() {
        PrefabBuilder flock;
        flock.root(id(1), "1");
        for (std::uint64_t number = 2; number <= OBJECTS; ++number) {
            flock.child(id(number), std::to_string(number), id(number / 2));
        }
        return flock;
    }

    static void runUntil(InstanceCreation& creation, Stage stage) {
        while (creation.stage() != stage) {
            creation.step(passed());
        }
    }
};

TEST_F(InstanceRemoval, rollBack_inSteps_removesFromTheLastObjectToTheFirst) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    ASSERT_EQ(manager().gameObjectsCount(), OBJECTS);
    int steps = 0;
    for (std::size_t before = OBJECTS; !creation.rollBack(passed()); ++steps) {
        ASSERT_EQ(creation.stage(), Stage::REMOVING);
        const std::size_t count = manager().gameObjectsCount();
        ASSERT_LT(count, before);
        ASSERT_GE(count + 20, before);
        ASSERT_EQ(object(std::to_string(count)).isInvalid(), false);
        ASSERT_EQ(object(std::to_string(count + 1)).isInvalid(), true);
        before = count;
    }
    EXPECT_GT(steps, 4);
    EXPECT_EQ(creation.stage(), Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
    EXPECT_THAT(creation.takeObjects(), IsFailure());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceRemoval, rollBack_ofParentsThatFollowTheirChildren_removesFewObjectsInEachStep) {
    for (const bool isChain : {false, true}) {
        PrefabBuilder reversed;
        for (std::uint64_t number = OBJECTS; number > 1; --number) {
            reversed.child(id(number), std::to_string(number), id(isChain ? number - 1 : 1));
        }
        const GameObjectPrefab prefab = reversed.root(id(1), "1").build();
        config = makeConfig();
        InstanceCreation creation(prefab, config);
        creation.step(Deadline());
        ASSERT_EQ(manager().gameObjectsCount(), OBJECTS);
        int removingSteps = 0;
        for (std::size_t before = OBJECTS; !creation.rollBack(passed());) {
            const std::size_t count = manager().gameObjectsCount();
            ASSERT_GE(count + 20, before);
            removingSteps += count < before ? 1 : 0;
            before = count;
        }
        EXPECT_GT(removingSteps, 4);
        EXPECT_EQ(manager().gameObjectsCount(), 0U);
        EXPECT_THAT(config.uuidMap, IsEmpty());
    }
}

TEST_F(InstanceRemoval, rollBackUnderWay_isContinuedByStepping) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::CREATING_COMPONENTS);
    EXPECT_FALSE(creation.rollBack(passed()));
    EXPECT_FALSE(creation.isFinished());
    EXPECT_EQ(creation.step(Deadline()), Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(InstanceRemoval, rollBackUnderWay_isFinishedWithoutDeadline) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::CREATING_COMPONENTS);
    EXPECT_FALSE(creation.rollBack(passed()));
    creation.rollBack();
    EXPECT_EQ(creation.stage(), Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(InstanceRemoval, rollBackUnderWay_isFinishedByTheDestructor) {
    const GameObjectPrefab prefab = flock().build();
    {
        InstanceCreation creation(prefab, config);
        runUntil(creation, Stage::CREATING_COMPONENTS);
        EXPECT_FALSE(creation.rollBack(passed()));
        EXPECT_GT(manager().gameObjectsCount(), 0U);
    }
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(InstanceRemoval, rollBack_beforeTheFirstObject_isDoneAtOnce) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    creation.step(passed());
    EXPECT_TRUE(creation.rollBack(passed()));
    EXPECT_EQ(creation.stage(), Stage::FAILED);
}

TEST_F(InstanceRemoval, rollBack_whenTheWorldIsGone_removesTheEntriesOfTheMap) {
    const GameObjectPrefab prefab = flock().build();
    const int doomed = Tessel::EntryPoint::instance().createWorld();
    config.worldId = doomed;
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::CREATING_COMPONENTS);
    ASSERT_THAT(config.uuidMap, SizeIs(OBJECTS));
    Tessel::EntryPoint::instance().destroyWorld(doomed);
    while (!creation.rollBack(passed())) {
    }
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(InstanceRemoval, failureInAStep_removesWithinTheDeadlines) {
    const GameObjectPrefab prefab = flock().root(id(500), "Second").build();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::REMOVING);
    EXPECT_THAT(logged(), ElementsAre(SECOND_ROOT, FAILED));
    EXPECT_GT(manager().gameObjectsCount(), 50U);
    runUntil(creation, Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(logged(), SizeIs(2));
}

TEST_F(InstanceRemoval, failureWithoutDeadline_removesAllAtOnce) {
    const GameObjectPrefab prefab = flock().root(id(500), "Second").build();
    InstanceCreation creation(prefab, config);
    EXPECT_EQ(creation.step(Deadline()), Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(InstanceRemoval, exceptionInAStep_removesWithinTheDeadlines) {
    const GameObjectPrefab prefab = flock().child(id(500), "Faulty", id(1)).with<HookComponent>({"faulty"}).build();
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("faulty"); };
    InstanceCreation creation(prefab, config);
    EXPECT_THROW(runUntil(creation, Stage::SUCCEEDED), std::runtime_error);
    EXPECT_EQ(creation.stage(), Stage::REMOVING);
    ASSERT_NE(creation.failedComponent(), nullptr);
    EXPECT_EQ(creation.failedComponent()->name(), "HookComponent");
    EXPECT_GT(manager().gameObjectsCount(), 50U);
    runUntil(creation, Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(InstanceRemoval, rollBackAfterAnyStep_restoresTheCallersMap) {
    // With few entries the maps are swapped before they are merged, with many they are not.
    for (const std::uint64_t ownCount : {std::uint64_t{2}, 2 * OBJECTS}) {
        const GameObjectPrefab prefab = flock().build();
        GameObjectPrefab::CreateConfig given = makeConfig();
        const GameObject taken = manager().createGameObject();
        given.uuidMap[Uuid::combine(INSTANCE, id(1))] = taken;
        for (std::uint64_t number = 1; number <= ownCount; ++number) {
            given.uuidMap[{9, number}] = taken;
        }
        bool isFinished = false;
        for (int steps = 0; !isFinished; steps += 7) {
            config = given;
            InstanceCreation creation(prefab, config);
            for (int step = 0; step < steps; ++step) {
                creation.step(passed());
            }
            isFinished = creation.isFinished();
            while (!creation.rollBack(passed())) {
            }
            ASSERT_EQ(config.uuidMap, given.uuidMap) << "after " << steps << " steps";
            ASSERT_EQ(manager().gameObjectsCount(), 1U) << "after " << steps << " steps";
        }
        manager().removeGameObject(taken);
    }
}

TEST_F(InstanceRemoval, release_ofAnUnfinishedCreation_doesNothing) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::CREATING_COMPONENTS);
    EXPECT_FALSE(creation.release(Deadline()));
    EXPECT_EQ(creation.itemsCount(), OBJECTS);
    EXPECT_EQ(creation.step(Deadline()), Stage::SUCCEEDED);
    EXPECT_THAT(creation.takeObjects(), SizeIs(OBJECTS));
}

TEST_F(InstanceRemoval, release_inSteps_freesTheItemsAndKeepsTheObjects) {
    const GameObjectPrefab prefab = flock().build();
    const SmartPointer<GameObjectDescriptor> node = prefab.getGameObject(0);
    const auto references = node->refCount();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    EXPECT_THAT(creation.takeObjects(), SizeIs(OBJECTS));
    EXPECT_EQ(node->refCount(), references + 1);
    EXPECT_FALSE(creation.release(passed()));
    EXPECT_LT(creation.itemsCount(), OBJECTS);
    int steps = 1;
    while (!creation.release(passed())) {
        ++steps;
    }
    EXPECT_GT(steps, 2);
    EXPECT_EQ(creation.itemsCount(), 0U);
    EXPECT_TRUE(creation.itemObjects().empty());
    EXPECT_EQ(node->refCount(), references);
    EXPECT_TRUE(creation.release(passed()));
    EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
    EXPECT_THAT(config.uuidMap, SizeIs(OBJECTS));
}

TEST_F(InstanceRemoval, release_beforeTheObjectsAreTaken_leavesThemInTheWorld) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    EXPECT_TRUE(creation.release(Deadline()));
    EXPECT_THAT(creation.takeObjects(), IsFailure());
    creation.rollBack();
    EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
}

TEST_F(InstanceRemoval, release_afterARollBack_freesTheItems) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::CREATING_OBJECTS);
    creation.step(passed());
    creation.rollBack();
    EXPECT_TRUE(creation.release(Deadline()));
    EXPECT_EQ(creation.itemsCount(), 0U);
}

TEST_F(InstanceRemoval, release_freesOverrideRecordsAndFlags) {
    PrefabBuilder inner;
    inner.root(id(1), "inner").with<TagComponent>({"stored", {}});
    cachePrefab("inner.prefab", inner);
    PrefabBuilder outer;
    outer.root(id(1), "Root");
    for (std::uint64_t number = 2; number <= OBJECTS; ++number) {
        const std::string data = OverridesText().record(id(1), "TagComponent", element("tag", "other")).text();
        outer.nested(id(number), "", id(1), "inner.prefab", data);
    }
    const GameObjectPrefab prefab = outer.build();
    const auto& component = findDescriptor<Tessel::PrefabComponent>(*prefab.getGameObject(1));
    const auto references = component.refCount();
    InstanceCreation creation(prefab, config);
    runUntil(creation, Stage::SUCCEEDED);
    EXPECT_GT(component.refCount(), references);
    int steps = 0;
    while (!creation.release(passed())) {
        ++steps;
    }
    EXPECT_GT(steps, 4);
    EXPECT_EQ(component.refCount(), references);
}

TEST_F(InstanceRemoval, itemsAndTheirObjects_canBeReadUntilTheyAreTaken) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    ASSERT_EQ(creation.items().size(), OBJECTS);
    ASSERT_EQ(creation.itemObjects().size(), OBJECTS);
    for (std::size_t i = 0; i < OBJECTS; ++i) {
        EXPECT_EQ(creation.items()[i].descriptor, prefab.getGameObject(i));
        EXPECT_EQ(creation.itemObjects()[i].uuid, Uuid::combine(INSTANCE, id(i + 1)));
        EXPECT_EQ(manager().getGameObjectUuid(creation.itemObjects()[i].object), creation.itemObjects()[i].uuid);
    }
}

TEST_F(InstanceRemoval, takeAll_handsOverObjectsAndItems) {
    const GameObjectPrefab prefab = flock().build();
    InstanceCreation::Taken taken;
    {
        InstanceCreation creation(prefab, config);
        creation.step(Deadline());
        taken = creation.takeAll();
        EXPECT_THAT(creation.takeObjects(), IsFailure());
        EXPECT_EQ(creation.itemsCount(), 0U);
        creation.rollBack();
    }
    EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
    ASSERT_THAT(taken.objects, SizeIs(OBJECTS));
    ASSERT_EQ(taken.items.size(), OBJECTS);
    ASSERT_EQ(taken.itemObjects.size(), OBJECTS);
    for (std::size_t i = 0; i < OBJECTS; ++i) {
        EXPECT_EQ(taken.itemObjects[i].object, taken.objects[i]);
        EXPECT_EQ(taken.items[i].descriptor, prefab.getGameObject(i));
    }
}

TEST_F(InstanceRemoval, takeAll_afterAFailure_hasNoObjects) {
    const GameObjectPrefab prefab = flock().root(id(500), "Second").build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    const InstanceCreation::Taken taken = creation.takeAll();
    EXPECT_THAT(taken.objects, IsFailure());
    EXPECT_TRUE(taken.itemObjects.empty());
}

} // namespace
} // namespace Kiln::TestSupport
