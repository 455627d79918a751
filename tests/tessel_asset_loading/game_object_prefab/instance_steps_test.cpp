#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/support/creation_fixture.h>

#include <chrono>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using Tessel::detail::Deadline;
using Tessel::detail::InstanceCreation;
using testing::IsEmpty;
using testing::SizeIs;

using Stage = InstanceCreation::Stage;

/// Steps that end early yield the same instance as a single one.
class InstanceSteps : public CreationFixture {
protected:
    /// Runs to the end, each step doing the least that it can, and `between` after each step.
    template <class Between>
    static void runInSteps(InstanceCreation& creation, const Between& between) {
        while (!creation.isFinished()) {
            creation.step(Deadline(std::chrono::steady_clock::time_point::min()));
            between();
        }
    }
    static void runInSteps(InstanceCreation& creation) {
        runInSteps(creation, [] {});
    }
};

TEST_F(InstanceSteps, manyIntegrationPoints_areFoundByLinksInAnyOrder) {
    constexpr std::uint64_t POINTS = 700;
    PrefabBuilder inner;
    inner.root(id(1), "inner");
    cachePrefab("inner.prefab", inner);
    PrefabBuilder outer;
    outer.root(id(1), "Root");
    for (std::uint64_t number = POINTS; number > 0; --number) {
        outer.child(id(2000 + number), "child of " + std::to_string(number), id(1000 + number));
    }
    for (std::uint64_t number = 1; number <= POINTS; ++number) {
        outer.nested(id(1000 + number), std::to_string(number), id(1), "inner.prefab");
    }
    const std::vector<GameObject> created = create(outer);
    ASSERT_THAT(created, SizeIs(1 + 2 * POINTS));
    for (const GameObject object : created) {
        const std::string name = manager().getGameObjectName(object);
        if (name.starts_with("child of ")) {
            EXPECT_EQ("child of " + parentNameOf(manager(), object), name);
        }
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(InstanceSteps, descriptorThatTwoInstancesShare_hasTheFlagOfTheLastVisitWhileOthersSetIt) {
    PrefabBuilder inner;
    inner.root(id(1), "inner");
    cachePrefab("inner.prefab", inner);
    PrefabBuilder middle;
    middle.root(id(1), "middle").nested(id(2), "inner", id(1), "inner.prefab");
    auto& shared = findDescriptor<PrefabComponent>(middle.last());
    cachePrefab("middle.prefab", middle);
    const std::string data = OverridesText().record(id(50), "TagComponent", element("tag", "unrelated")).text();
    for (const bool isLastOverridden : {false, true}) {
        PrefabBuilder outer;
        outer.root(id(1)).nested(id(2), "", id(1), "middle.prefab", isLastOverridden ? "" : data);
        outer.nested(id(3), "", id(1), "middle.prefab", isLastOverridden ? data : "");
        const GameObjectPrefab prefab = outer.build();
        GameObjectPrefab::CreateConfig own = makeConfig(Uuid::generate());
        InstanceCreation creation(prefab, own);
        runInSteps(creation, [&] { shared.setState(&PrefabComponent::Config::hasOverrides, !isLastOverridden); });
        const std::vector<GameObject> created = creation.takeObjects();
        ASSERT_THAT(created, SizeIs(5));
        EXPECT_EQ(find<PrefabComponent>(created[2])->hasOverrides(), isLastOverridden);
        EXPECT_EQ(find<PrefabComponent>(created[4])->hasOverrides(), isLastOverridden);
    }
}

/// Number of entries in the caller's map: fewer than objects, and more.
class InstanceStepsWithMap : public InstanceSteps, public testing::WithParamInterface<std::uint64_t> {};

TEST_P(InstanceStepsWithMap, theMapOfTheCaller_isCompletedAndKeepsItsEntries) {
    constexpr std::uint64_t COUNT = 5000;
    PrefabBuilder flock;
    flock.root(id(1), "1");
    for (std::uint64_t number = 2; number <= COUNT; ++number) {
        flock.child(id(number), std::to_string(number), id(number / 2));
    }
    const GameObject taken = manager().createGameObject();
    config.uuidMap[Uuid::combine(INSTANCE, id(7))] = taken;
    for (std::uint64_t number = 1; number < GetParam(); ++number) {
        config.uuidMap[{9, number}] = taken;
    }
    const GameObjectPrefab prefab = flock.build();
    InstanceCreation creation(prefab, config);
    runInSteps(creation);
    ASSERT_EQ(creation.stage(), Stage::SUCCEEDED);
    const std::vector<GameObject> created = creation.takeObjects();
    ASSERT_THAT(created, SizeIs(COUNT));
    EXPECT_EQ(created[6], taken);
    EXPECT_THAT(config.uuidMap, SizeIs(COUNT + GetParam() - 1));
    for (std::uint64_t number = 1; number <= COUNT; ++number) {
        ASSERT_EQ(config.uuidMap.at(Uuid::combine(INSTANCE, id(number))), created[number - 1]);
        ASSERT_EQ(parentNameOf(manager(), created[number - 1]), number == 1 ? "" : std::to_string(number / 2));
    }
    for (std::uint64_t number = 1; number < GetParam(); ++number) {
        ASSERT_EQ(config.uuidMap.at({9, number}), taken);
    }
    EXPECT_EQ(manager().gameObjectsCount(), COUNT);
    EXPECT_THAT(logged(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Entries, InstanceStepsWithMap, testing::Values(1U, 100U, 20'000U));

} // namespace
} // namespace Kiln::TestSupport
