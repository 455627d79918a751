#include <tessel_asset_loading/support/service_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::PrefabComponent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// PrefabService::tick: which loaders are completed, in which order, and what stays in the queue.
class Tick : public ServiceFixture {
protected:
    [[nodiscard]] std::vector<std::string> names() const { return namesOf(manager(), manager().gameObjects()); }

    /// Files with two objects that both claim to be the root: creation fails.
    void writeTwoRoots(const std::string& path) const {
        PrefabText prefab;
        prefab.root(id(1), "One");
        prefab.root(id(2), "Two");
        writePrefab(path, prefab);
    }
};

TEST_F(Tick, parsedLoad_isCreatedInNextTick) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab");
    waitForWorkers();
    EXPECT_THAT(names(), IsEmpty());

    tick();

    EXPECT_THAT(names(), ElementsAre("Lamp"));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(Tick, largeInstance_leavesItsMapToAWorker) {
    PrefabBuilder flock;
    flock.root(id(1), "Root").with<PrefabComponent>();
    for (std::uint64_t number = 2; number <= 5000; ++number) {
        flock.child(id(number), "", id(1));
    }
    cachePrefab("flock.prefab", flock);
    const WorkerGate gate;
    load("flock.prefab");

    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 5000U);
    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

TEST_F(Tick, smallInstance_leavesNothingToWorkers) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1), "Lamp").with<PrefabComponent>());
    const WorkerGate gate;
    load("lamp.prefab");

    tick();

    EXPECT_THAT(names(), ElementsAre("Lamp"));
    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
}

TEST_F(Tick, instanceAfterAnother_doesNotSeeItsObjects) {
    PrefabBuilder lamp;
    lamp.root(id(1), "Lamp").with<PrefabComponent>().child(id(2), "Bulb", id(1));
    cachePrefab("lamp.prefab", lamp);
    load("lamp.prefab", id(100));
    tick();
    load("lamp.prefab", id(101));
    tick();

    std::vector<Uuid> uuids;
    for (const GameObject object : manager().gameObjects()) {
        uuids.push_back(manager().getGameObjectUuid(object));
        EXPECT_EQ(manager().findGameObject(uuids.back()), object);
    }
    EXPECT_THAT(uuids, ElementsAre(Uuid::combine(id(100), id(1)), Uuid::combine(id(100), id(2)),
                                   Uuid::combine(id(101), id(1)), Uuid::combine(id(101), id(2))));
    EXPECT_EQ(manager().gameObjects()[3], manager().getChildren(manager().gameObjects()[2]).front());
}

TEST_F(Tick, conflictAfterAnotherInstance_isReportedAsInTheFirst) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1), "Lamp").with<PrefabComponent>().child(id(2), "Bulb", id(1)));
    load("lamp.prefab");
    tick();
    cachePrefab("twins.prefab", PrefabBuilder().root(id(1), "Root").child(id(2), "A", id(1)).child(id(2), "B", id(1)));
    load("twins.prefab", id(7));
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 2U);
    EXPECT_THAT(queued(), ElementsAre(id(7)));
    EXPECT_THAT(logged(), ElementsAre("5: UUID conflict detected. Trying to generate new instance UUID.",
                                      "5: Failed to workaround UUID conflict. Check content for Game Objects with "
                                      "duplicate UUIDs.",
                                      "5: Failed to create prefab instance.\n"));
}

TEST_F(Tick, pendingLoad_waits) {
    writeRoot("lamp.prefab", "Lamp");
    WorkerGate gate;
    load("lamp.prefab");

    tick();
    tick();

    EXPECT_THAT(queued(), ElementsAre(id(100)));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Tick, threeReadyLoaders_areCreatedInOneTickFromTheLast) {
    for (const char* const name : {"a", "b", "c"}) {
        cachePrefab(name, PrefabBuilder().root(id(1), name).with<PrefabComponent>());
        load(name, Uuid::generate(), makeCallback(name));
    }

    service().tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(names(), ElementsAre("c", "b", "a"));
    EXPECT_THAT(events(), ElementsAre("c: onPreactivate", "b: onPreactivate", "a: onPreactivate", "c: onObjectLoaded",
                                      "b: onObjectLoaded", "a: onObjectLoaded"));
    service().postTick();
}

TEST_F(Tick, servedLoaders_areReplacedByTheLastOnes) {
    cachePrefab("ready", PrefabBuilder().root(id(1)).with<PrefabComponent>());
    WorkerGate gate;
    for (std::uint64_t number = 1; number <= 5; ++number) {
        load(number % 2 == 0 ? "ready" : "none.prefab", id(number));
    }

    tick();

    // Removing the fourth leaves 1 2 3 5; removing the second leaves 1 5 3.
    EXPECT_THAT(queued(), ElementsAre(id(1), id(5), id(3)));
}

TEST_F(Tick, servedLastLoader_leavesOthersInPlace) {
    cachePrefab("ready", PrefabBuilder().root(id(1)).with<PrefabComponent>());
    WorkerGate gate;
    load("none.prefab", id(1));
    load("none.prefab", id(2));
    load("ready", id(3));

    tick();

    EXPECT_THAT(queued(), ElementsAre(id(1), id(2)));
}

TEST_F(Tick, servedFirstLoader_isReplacedByLast) {
    cachePrefab("ready", PrefabBuilder().root(id(1)).with<PrefabComponent>());
    WorkerGate gate;
    load("ready", id(1));
    load("none.prefab", id(2));
    load("none.prefab", id(3));

    tick();

    EXPECT_THAT(queued(), ElementsAre(id(3), id(2)));
}

TEST_F(Tick, destroyedWorld_loaderStaysAndCallbackIsNeverCalled) {
    const int otherId = EntryPoint::instance().createWorld();
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1)).with<PrefabComponent>());
    service().loadGameObject("lamp.prefab", otherId, id(1), makeCallback("dead"), nullptr);
    service().loadGameObject("lamp.prefab", worldId, id(2), makeCallback("living"), nullptr);
    EntryPoint::instance().destroyWorld(otherId);

    for (int i = 0; i < 5; ++i) {
        tick();
    }

    EXPECT_THAT(queued(), ElementsAre(id(1)));
    EXPECT_THAT(events(), ElementsAre("living: onPreactivate", "living: onObjectLoaded",
                                      "living: onObjectLoadedIntoHierarchy", "living: destroyed"));
}

TEST_F(Tick, nullCallback_rootIsCreatedAndStaysInactive) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab");
    finishLoads();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_FALSE(manager().isActive(findByName(manager(), "Lamp")));
}

TEST_F(Tick, agreeingCallback_rootIsActivated) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab", id(100), makeCallback("lamp"));
    finishLoads();

    EXPECT_TRUE(manager().isActive(findByName(manager(), "Lamp")));
}

TEST_F(Tick, refusingCallback_rootStaysInactiveAndCallbackContinues) {
    writeRoot("lamp.prefab", "Lamp");
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    callback->isActivationWanted = false;
    load("lamp.prefab", id(100), callback);
    finishLoads();

    EXPECT_FALSE(manager().isActive(findByName(manager(), "Lamp")));
    EXPECT_THAT(events(),
                ElementsAre("lamp: onPreactivate", "lamp: onObjectLoaded", "lamp: onObjectLoadedIntoHierarchy"));
}

TEST_F(Tick, inactiveByDefault_isNotOfferedAndStaysInactive) {
    writeRoot("lamp.prefab", "Lamp", 1);
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    load("lamp.prefab", id(100), callback);
    finishLoads();

    EXPECT_FALSE(manager().isActive(findByName(manager(), "Lamp")));
    EXPECT_THAT(events(), ElementsAre("lamp: onObjectLoaded", "lamp: onObjectLoadedIntoHierarchy"));
}

TEST_F(Tick, firstNodeInactiveByDefault_decidesEvenWhenItIsNotTheRoot) {
    PrefabText prefab;
    prefab.child(id(2), "Child", id(1), 1);
    prefab.root(id(1), "Root");
    writePrefab("lamp.prefab", prefab);
    load("lamp.prefab", id(100), makeCallback("lamp"));
    finishLoads();

    EXPECT_THAT(events(), ElementsAre("lamp: onObjectLoaded", "lamp: onObjectLoadedIntoHierarchy", "lamp: destroyed"));
    EXPECT_FALSE(manager().isActive(findByName(manager(), "Root")));
}

TEST_F(Tick, root_isStampedWithInstanceUuid) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab", id(77));
    finishLoads();

    const GameObject root = findByName(manager(), "Lamp");
    const auto* const component = find<PrefabComponent>(root);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component->instanceUuid(), id(77));
    EXPECT_EQ(component->resource(), "lamp.prefab");
    EXPECT_EQ(manager().getGameObjectUuid(root), Uuid::combine(id(77), id(1)));
}

TEST_F(Tick, nestedRoot_isNotStamped) {
    PrefabText outer;
    outer.root(id(1), "Outer");
    outer.nested(id(2), "Inner", id(1), "inner.prefab");
    writePrefab("outer.prefab", outer);
    writeRoot("inner.prefab", "Root of inner");
    load("outer.prefab", id(77));
    finishLoads();

    const auto* const component = find<PrefabComponent>(findByName(manager(), "Inner"));
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(component->instanceUuid(), Uuid::ZERO);
}

TEST_F(Tick, rootWithoutPrefabComponent_isReportedAndLoaded) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1), "Lamp"));
    load("lamp.prefab", id(100), makeCallback("lamp"));
    finishLoads();

    EXPECT_THAT(logged(), ElementsAre("4: Root GO [Lamp], is missing PrefabComponent"));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_TRUE(manager().isActive(findByName(manager(), "Lamp")));
}

TEST_F(Tick, sectionWithoutPrefabComponent_isReportedAndLoaded) {
    PrefabText prefab;
    prefab.root(id(1), "Lamp");
    loadSection(prefab.section());
    finishLoads();

    EXPECT_THAT(logged(), ElementsAre("4: Root GO [Lamp], is missing PrefabComponent"));
    EXPECT_THAT(names(), ElementsAre("Lamp"));
}

TEST_F(Tick, overridesOfTheLoad_areApplied) {
    PrefabText prefab;
    prefab.component("TagComponent", prefab.root(id(1), "Lamp"), element("tag", "own"));
    OverridesText overrides;
    overrides.record(id(1), "TagComponent", element("tag", "overridden"));
    service().loadGameObject(prefab.section(), worldId, id(100), nullptr, OverrideRecords::create(overrides.text()));
    finishLoads();

    EXPECT_EQ(configOf<TagComponent>("Lamp").tag, "overridden");
}

TEST_F(Tick, emptyPrefab_staysQueuedSilently) {
    cachePrefab("empty.prefab", PrefabBuilder());
    load("empty.prefab", id(100), makeCallback("lamp"));
    for (int i = 0; i < 3; ++i) {
        tick();
    }

    EXPECT_THAT(queued(), ElementsAre(id(100)));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Tick, failingCreation_isRetriedAndReportedEveryTick) {
    writeTwoRoots("bad.prefab");
    load("bad.prefab", id(100), makeCallback("bad"));
    waitForWorkers();
    log.clear();
    for (int i = 0; i < 3; ++i) {
        tick();
        EXPECT_EQ(manager().gameObjectsCount(), 0U);
    }

    EXPECT_EQ(log.count("Game Objects hierarchy has more than one root."), 3U);
    EXPECT_EQ(log.count("Failed to create prefab instance.\n"), 3U);
    EXPECT_EQ(log.messages().size(), 6U);
    EXPECT_THAT(queued(), ElementsAre(id(100)));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Tick, failingCreation_doesNotHoldUpOthers) {
    writeTwoRoots("bad.prefab");
    writeRoot("good.prefab", "Good");
    load("good.prefab", id(1));
    load("bad.prefab", id(2));
    load("good.prefab", id(3));
    finishLoads();

    EXPECT_THAT(names(), ElementsAre("Good", "Good"));
    EXPECT_THAT(queued(), ElementsAre(id(2)));
}

TEST_F(Tick, sameInstanceUuidTwice_makesTwoInstances) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab", id(100));
    load("lamp.prefab", id(100));
    finishLoads();

    EXPECT_THAT(names(), ElementsAre("Lamp", "Lamp"));
    EXPECT_EQ(log.count("UUID conflict detected. Trying to generate new instance UUID."), 0U);
}

TEST_F(Tick, waitingLoaders_doNotHoldMoreReferencesThanOne) {
    WorkerGate gate;
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    load("none.prefab", id(100), callback);
    tick();

    EXPECT_EQ(callback->refCount(), 2U);
}

TEST_F(Tick, queue_isReachableWithoutChangingIt) {
    WorkerGate gate;
    load("none.prefab", id(1));
    const Tessel::PrefabService& constService = service();

    EXPECT_EQ(&constService.loadingQueue(), &service().loadingQueue());
    EXPECT_THAT(queued(), ElementsAre(id(1)));
}

} // namespace
} // namespace Kiln::TestSupport
