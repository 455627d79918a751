#include <object_framework/query.h>
#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/support/creation_fixture.h>

#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::detail::Deadline;
using Tessel::detail::InstanceCreation;
using testing::ElementsAre;
using testing::Gt;
using testing::IsEmpty;
using testing::SizeIs;

using Stage = InstanceCreation::Stage;

class InstanceCreationTest : public CreationFixture {
protected:
    /// A deadline that has passed: a step does one unit of work.
    static Deadline passed() { return Deadline(std::chrono::steady_clock::time_point::min()); }

    /// Six objects of two prefab files.
    [[nodiscard]] PrefabBuilder house() const {
        PrefabBuilder room;
        room.root(id(11), "Room root").with<TagComponent>({"room", {}}).child(id(12), "Lamp", id(11));
        cachePrefab("room.prefab", room);
        PrefabBuilder house;
        house.root(id(1), "House").child(id(2), "Door", id(1)).nested(id(3), "Room", id(1), "room.prefab");
        house.child(id(4), "Chair", id(3));
        return house;
    }

    /// Runs to the end in steps of one unit and returns the number of steps of each stage.
    std::map<Stage, int> runInSteps(InstanceCreation& creation) const {
        std::map<Stage, int> steps;
        while (!creation.isFinished()) {
            ++steps[creation.stage()];
            creation.step(passed());
        }
        return steps;
    }

    /// "name under parent, tag" of each object, in the order in which the objects were created.
    [[nodiscard]] std::vector<std::string> liveObjects() const {
        std::vector<std::string> lines;
        for (const GameObject object : manager().gameObjects()) {
            const auto* const tag = find<TagComponent>(object);
            lines.push_back(manager().getGameObjectName(object) + " under " + parentNameOf(manager(), object) + ", " +
                            (tag ? tag->config.tag : std::string()));
        }
        return lines;
    }
};

TEST_F(InstanceCreationTest, step_withoutDeadline_makesTheWholeInstance) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    EXPECT_EQ(creation.stage(), Stage::GATHERING);
    EXPECT_EQ(creation.step(Deadline()), Stage::SUCCEEDED);
    EXPECT_THAT(namesOf(manager(), creation.takeObjects()), ElementsAre("House", "Door", "Room", "Lamp", "Chair"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, step_withAPassedDeadline_doesOneItemOfAStage) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    const std::map<Stage, int> steps = runInSteps(creation);
    // Gathering visits the root of the nested prefab as well, which yields no item.
    EXPECT_EQ(steps.at(Stage::DERIVING_UUIDS), 5);
    EXPECT_EQ(steps.at(Stage::CREATING_OBJECTS), 5);
    EXPECT_EQ(steps.at(Stage::CREATING_COMPONENTS), 5);
    EXPECT_GE(steps.at(Stage::GATHERING), 6);
    EXPECT_FALSE(steps.contains(Stage::ENTERING_UUIDS));
}

TEST_F(InstanceCreationTest, pausedAfterEachItem_makesTheSameInstance) {
    const GameObjectPrefab prefab = house().build();
    create(prefab);
    const std::vector<std::string> inOneGo = liveObjects();
    const std::unordered_map<Uuid, GameObject> map = config.uuidMap;
    for (const GameObject object : manager().gameObjects()) {
        manager().removeGameObject(object);
    }

    config = makeConfig();
    InstanceCreation creation(prefab, config);
    runInSteps(creation);
    EXPECT_EQ(creation.stage(), Stage::SUCCEEDED);
    EXPECT_EQ(liveObjects(), inOneGo);
    ASSERT_EQ(config.uuidMap.size(), map.size());
    for (const auto& [uuid, object] : map) {
        ASSERT_TRUE(config.uuidMap.contains(uuid));
        EXPECT_EQ(manager().getGameObjectUuid(config.uuidMap.at(uuid)), uuid);
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, pausedAfterEachItem_makesTheSameLargeInstance) {
    constexpr std::uint64_t COUNT = 4200;
    PrefabBuilder flock;
    flock.root(id(1), "Root");
    for (std::uint64_t number = 2; number <= COUNT; ++number) {
        flock.child(id(number), std::to_string(number), id(number / 2));
    }
    const GameObjectPrefab prefab = flock.build();
    InstanceCreation creation(prefab, config);
    const std::map<Stage, int> steps = runInSteps(creation);
    EXPECT_EQ(creation.stage(), Stage::SUCCEEDED);
    EXPECT_THAT(steps.at(Stage::ENTERING_UUIDS), Gt(100));
    const std::vector<GameObject> created = creation.takeObjects();
    ASSERT_THAT(created, SizeIs(COUNT));
    for (std::uint64_t number = 1; number <= COUNT; ++number) {
        ASSERT_EQ(config.uuidMap.at(Uuid::combine(INSTANCE, id(number))), created[number - 1]);
        ASSERT_EQ(parentNameOf(manager(), created[number - 1]), number == 1   ? ""
                                                                : number <= 3 ? "Root"
                                                                              : std::to_string(number / 2));
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, counts_followTheStage) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    EXPECT_EQ(creation.itemsCount(), 0U);
    creation.step(passed());
    EXPECT_EQ(creation.itemsCount(), 1U);
    while (creation.stage() == Stage::GATHERING) {
        creation.step(passed());
    }
    EXPECT_EQ(creation.itemsCount(), 5U);
    while (creation.stage() != Stage::CREATING_COMPONENTS) {
        creation.step(passed());
    }
    EXPECT_EQ(creation.doneCount(), 0U);
    creation.step(passed());
    EXPECT_EQ(creation.doneCount(), 1U);
}

TEST_F(InstanceCreationTest, unfinishedInstance_isInactiveAndInNoQuery) {
    using Tags = Tessel::Query<TagComponent, GameObject>;
    const auto query = world().manager().getQuery<Tags>(Tags::makeConfig(), [] { return std::make_unique<Tags>(); });
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    while (!creation.isFinished()) {
        creation.step(passed());
        for (const GameObject object : manager().gameObjects()) {
            ASSERT_FALSE(manager().isActive(object));
            ASSERT_FALSE(query->contains(object));
        }
    }
}

TEST_F(InstanceCreationTest, rollBack_afterAnyStep_removesTheObjects) {
    const GameObjectPrefab prefab = house().build();
    bool isFinished = false;
    int steps = 0;
    for (; !isFinished; ++steps) {
        config = makeConfig();
        InstanceCreation creation(prefab, config);
        for (int step = 0; step < steps; ++step) {
            creation.step(passed());
        }
        isFinished = creation.isFinished();
        if (!isFinished) {
            creation.rollBack();
            ASSERT_EQ(manager().gameObjectsCount(), 0U) << "after " << steps << " steps";
        }
    }
    EXPECT_GT(steps, 15);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, destructor_removesTheObjectsOfAnUnfinishedInstance) {
    const GameObjectPrefab prefab = house().build();
    {
        InstanceCreation creation(prefab, config);
        while (creation.stage() != Stage::CREATING_COMPONENTS) {
            creation.step(passed());
        }
        EXPECT_EQ(manager().gameObjectsCount(), 5U);
    }
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(InstanceCreationTest, rollBack_afterSuccess_removesTheInstance) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    creation.rollBack();
    EXPECT_EQ(creation.stage(), Stage::FAILED);
    EXPECT_THAT(creation.takeObjects(), IsFailure());
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(InstanceCreationTest, rollBack_removesTheEntriesFromTheMap) {
    const GameObjectPrefab prefab = house().build();
    const Uuid own(9, 9);
    config.uuidMap[own] = manager().createGameObject();
    InstanceCreation creation(prefab, config);
    while (creation.stage() != Stage::CREATING_COMPONENTS) {
        creation.step(passed());
    }
    EXPECT_THAT(config.uuidMap, SizeIs(6));
    creation.rollBack();
    EXPECT_THAT(config.uuidMap, SizeIs(1));
    EXPECT_TRUE(config.uuidMap.contains(own));
}

TEST_F(InstanceCreationTest, rollBack_keepsObjectsOfTheCaller) {
    const GameObjectPrefab prefab = house().build();
    const GameObject own = manager().createGameObject();
    config.uuidMap[Uuid::combine(INSTANCE, id(2))] = own;
    InstanceCreation creation(prefab, config);
    while (creation.stage() != Stage::CREATING_COMPONENTS) {
        creation.step(passed());
    }
    creation.rollBack();
    EXPECT_TRUE(manager().isGameObjectValid(own));
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_EQ(config.uuidMap.at(Uuid::combine(INSTANCE, id(2))), own);
}

TEST_F(InstanceCreationTest, takeObjects_twice_yieldsNoObjects) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    creation.step(Deadline());
    EXPECT_THAT(creation.takeObjects(), SizeIs(5));
    EXPECT_THAT(creation.takeObjects(), IsFailure());
}

TEST_F(InstanceCreationTest, takenObjects_areNotRolledBack) {
    const GameObjectPrefab prefab = house().build();
    {
        InstanceCreation creation(prefab, config);
        creation.step(Deadline());
        EXPECT_THAT(creation.takeObjects(), SizeIs(5));
        creation.rollBack();
    }
    EXPECT_EQ(manager().gameObjectsCount(), 5U);
}

TEST_F(InstanceCreationTest, worldDestroyedBetweenTwoSteps_failsTheCreation) {
    const GameObjectPrefab prefab = house().build();
    const int doomed = Tessel::EntryPoint::instance().createWorld();
    config.worldId = doomed;
    InstanceCreation creation(prefab, config);
    while (creation.stage() != Stage::CREATING_COMPONENTS) {
        creation.step(passed());
    }
    Tessel::EntryPoint::instance().destroyWorld(doomed);
    EXPECT_EQ(creation.step(passed()), Stage::FAILED);
    EXPECT_THAT(creation.takeObjects(), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(FAILED));
}

TEST_F(InstanceCreationTest, emptyPrefab_hasFailedWithoutMessage) {
    const GameObjectPrefab prefab;
    InstanceCreation creation(prefab, config);
    EXPECT_EQ(creation.stage(), Stage::FAILED);
    EXPECT_EQ(creation.step(Deadline()), Stage::FAILED);
    EXPECT_THAT(creation.takeObjects(), IsFailure());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, secondRoot_failsInTheStepThatFindsIt) {
    const GameObjectPrefab prefab = house().root(id(5), "Second").build();
    InstanceCreation creation(prefab, config);
    runInSteps(creation);
    EXPECT_EQ(creation.stage(), Stage::FAILED);
    EXPECT_THAT(logged(), ElementsAre(SECOND_ROOT, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(InstanceCreationTest, componentThatThrows_leavesNoObject) {
    const GameObjectPrefab prefab =
        house().child(id(5), "Faulty", id(1)).with<HookComponent>({"faulty"}).child(id(6), "Last", id(1)).build();
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("faulty"); };
    EXPECT_THROW(create(prefab), std::runtime_error);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(config.uuidMap, IsEmpty());
}

TEST_F(InstanceCreationTest, componentThatThrowsOnce_canBeCreatedWithTheSameMapAfterwards) {
    const GameObjectPrefab prefab = house().child(id(5), "Faulty", id(1)).with<HookComponent>({"faulty"}).build();
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("faulty"); };
    EXPECT_THROW(create(prefab), std::runtime_error);
    HookComponent::clearHooks();
    EXPECT_THAT(namesOf(manager(), create(prefab)), ElementsAre("House", "Door", "Room", "Lamp", "Chair", "Faulty"));
}

TEST_F(InstanceCreationTest, stepAfterAnException_staysFailed) {
    const GameObjectPrefab prefab = house().child(id(5), "Faulty", id(1)).with<HookComponent>({"faulty"}).build();
    HookComponent::onConstruct = [](const HookComponent::Config&) { throw std::runtime_error("faulty"); };
    InstanceCreation creation(prefab, config);
    EXPECT_THROW(creation.step(Deadline()), std::runtime_error);
    EXPECT_EQ(creation.step(Deadline()), Stage::FAILED);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceCreationTest, componentThatCreatesAnotherInstance_keepsItsOverrides) {
    const GameObjectPrefab prefab = PrefabBuilder().root(id(1), "Root").with<HookComponent>({"stored"}).build();
    setOverrides(OverridesText().record(id(1), "HookComponent", element("tag", "overridden")));
    std::vector<std::string> tags;
    bool isNested = false;
    HookComponent::onConstruct = [&](const HookComponent::Config& hook) {
        if (!isNested) {
            isNested = true;
            GameObjectPrefab::CreateConfig inner = makeConfig({7, 7});
            EXPECT_THAT(prefab.createGameObjects(inner), SizeIs(1));
        }
        tags.push_back(hook.tag);
    };
    create(prefab);
    EXPECT_THAT(tags, ElementsAre("stored", "overridden"));
}

TEST_F(InstanceCreationTest, linkToAnIntegrationPoint_isResolvedInASteppedCreation) {
    const GameObjectPrefab prefab = house().build();
    InstanceCreation creation(prefab, config);
    runInSteps(creation);
    EXPECT_EQ(parentOf("Chair"), "Room");
}

TEST_F(InstanceCreationTest, creationThatPauses_keepsItsOverrideFlags) {
    const GameObjectPrefab prefab = house().build();
    setOverrides(OverridesText().record(id(2), "TagComponent", element("tag", "overridden")));
    GameObjectPrefab::CreateConfig plain = makeConfig({7, 7});
    InstanceCreation withOverrides(prefab, config);
    while (withOverrides.stage() != Stage::CREATING_COMPONENTS) {
        withOverrides.step(passed());
    }
    InstanceCreation withoutOverrides(prefab, plain);
    withoutOverrides.step(Deadline());
    withOverrides.step(Deadline());
    const auto hasOverrides = [this](InstanceCreation& creation) {
        return find<Tessel::PrefabComponent>(creation.takeObjects()[2])->hasOverrides();
    };
    EXPECT_TRUE(hasOverrides(withOverrides));
    EXPECT_FALSE(hasOverrides(withoutOverrides));
}

TEST_F(InstanceCreationTest, twoCreationsInTurns_keepToTheirOwnObjects) {
    const GameObjectPrefab prefab = house().build();
    GameObjectPrefab::CreateConfig otherConfig = makeConfig({7, 7});
    InstanceCreation first(prefab, config);
    InstanceCreation second(prefab, otherConfig);
    while (!first.isFinished() || !second.isFinished()) {
        first.step(passed());
        second.step(passed());
    }
    for (InstanceCreation* const creation : {&first, &second}) {
        const std::vector<GameObject> created = creation->takeObjects();
        ASSERT_THAT(created, SizeIs(5));
        EXPECT_EQ(manager().getParent(created[1]), created[0]);
        EXPECT_EQ(manager().getParent(created[2]), created[0]);
        EXPECT_EQ(manager().getParent(created[3]), created[2]);
        EXPECT_EQ(manager().getParent(created[4]), created[2]);
    }
}

} // namespace
} // namespace Kiln::TestSupport
