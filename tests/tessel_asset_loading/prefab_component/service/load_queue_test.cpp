#include <tessel_asset_loading/support/service_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// PrefabService::loadGameObject: what is queued, and which background tasks are started.
class LoadQueue : public ServiceFixture {
protected:
    [[nodiscard]] static SmartPointer<DataSection> section() {
        PrefabText prefab;
        prefab.root(id(1), "Lamp");
        return prefab.section();
    }
};

TEST_F(LoadQueue, path_invalidWorld_isIgnoredSilently) {
    WorkerGate gate;

    service().loadGameObject("none.prefab", 1'000'000, id(100), nullptr, nullptr);
    service().loadGameObject("none.prefab", -1, id(100), nullptr, nullptr);

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadQueue, path_destroyedWorld_isIgnored) {
    const int otherId = EntryPoint::instance().createWorld();
    EntryPoint::instance().destroyWorld(otherId);

    service().loadGameObject("none.prefab", otherId, id(100), nullptr, nullptr);

    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(LoadQueue, path_ignoredLoad_releasesCallback) {
    service().loadGameObject("none.prefab", -1, id(100), makeCallback("lamp"), nullptr);

    EXPECT_THAT(events(), ElementsAre("lamp: destroyed"));
}

TEST_F(LoadQueue, nullSection_isIgnoredSilentlyAndReleasesItsArguments) {
    WorkerGate gate;
    const SmartPointer<OverrideRecords> overrides = makeSmart<OverrideRecords>();

    service().loadGameObject(SmartPointer<DataSection>(), worldId, id(100), makeCallback("lamp"), overrides);

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    EXPECT_EQ(overrides->refCount(), 1U);
    EXPECT_THAT(events(), ElementsAre("lamp: destroyed"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadQueue, section_invalidWorld_isQueued) {
    service().loadGameObject(section(), 1'000'000, id(100), nullptr, nullptr);
    finishLoads();

    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(LoadQueue, path_loaderCarriesArguments) {
    WorkerGate gate;
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    const SmartPointer<OverrideRecords> overrides = makeSmart<OverrideRecords>();

    service().loadGameObject("none.prefab", worldId, id(42), callback, overrides);

    const Tessel::GameObjectLoader& loader = service().loadingQueue().back();
    EXPECT_EQ(loader.callback, callback);
    EXPECT_NE(loader.descriptor, nullptr);
    EXPECT_EQ(loader.worldId, worldId);
    EXPECT_EQ(loader.uuid, id(42));
    EXPECT_EQ(loader.overrides, overrides);
    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

TEST_F(LoadQueue, section_loaderCarriesArguments) {
    WorkerGate gate;
    const SmartPointer<RecordingCallback> callback = makeCallback("lamp");
    const SmartPointer<OverrideRecords> overrides = makeSmart<OverrideRecords>();

    service().loadGameObject(section(), worldId, id(42), callback, overrides);

    const Tessel::GameObjectLoader& loader = service().loadingQueue().back();
    EXPECT_EQ(loader.callback, callback);
    EXPECT_NE(loader.descriptor, nullptr);
    EXPECT_EQ(loader.worldId, worldId);
    EXPECT_EQ(loader.uuid, id(42));
    EXPECT_EQ(loader.overrides, overrides);
    EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
}

TEST_F(LoadQueue, sectionTwice_isParsedTwice) {
    WorkerGate gate;
    const SmartPointer<DataSection> document = section();

    loadSection(document);
    const Tessel::DescriptorCacheData* const first = &lastDescriptor();
    loadSection(document);

    EXPECT_NE(&lastDescriptor(), first);
    EXPECT_EQ(WorkerGate::pendingTasks(), 2U);
}

TEST_F(LoadQueue, newPath_recordsWorldAsPending) {
    WorkerGate gate;

    load("none.prefab");

    EXPECT_THAT(lastDescriptor().pendingWorlds, ElementsAre(worldId));
}

TEST_F(LoadQueue, pendingPath_startsNoSecondTaskAndRecordsBothWorlds) {
    const int otherId = EntryPoint::instance().createWorld();
    writeRoot("lamp.prefab", "Lamp");
    {
        WorkerGate gate;
        load("lamp.prefab", id(1));
        const Tessel::DescriptorCacheData* const first = &lastDescriptor();
        service().loadGameObject("lamp.prefab", otherId, id(2), nullptr, nullptr);

        EXPECT_EQ(&lastDescriptor(), first);
        EXPECT_EQ(WorkerGate::pendingTasks(), 1U);
        EXPECT_THAT(first->pendingWorlds, UnorderedElementsAre(worldId, otherId));
    }
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
    EXPECT_EQ(Tessel::getGameObjectManager(otherId)->gameObjectsCount(), 1U);
    EntryPoint::instance().destroyWorld(otherId);
}

TEST_F(LoadQueue, loadedPathWithRecordedWorlds_recordsFurtherWorld) {
    const int otherId = EntryPoint::instance().createWorld();
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab");
    waitForWorkers();

    WorkerGate gate;
    service().loadGameObject("lamp.prefab", otherId, id(2), nullptr, nullptr);

    EXPECT_THAT(lastDescriptor().pendingWorlds, UnorderedElementsAre(worldId, otherId));
    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    EntryPoint::instance().destroyWorld(otherId);
}

TEST_F(LoadQueue, cachedPathWithoutRecordedWorlds_recordsNoneAndStartsNoTask) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1)));
    WorkerGate gate;

    load("lamp.prefab");

    EXPECT_THAT(lastDescriptor().pendingWorlds, IsEmpty());
    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    tick();
    EXPECT_THAT(queued(), IsEmpty()); // The worker has not run.
}

TEST_F(LoadQueue, pathThatFailedBefore_startsNoTaskAndWaits) {
    ASSERT_EQ(service().loadPrefabData("late.prefab"), nullptr);
    writeRoot("late.prefab", "Late");
    WorkerGate gate;

    load("late.prefab");

    EXPECT_EQ(WorkerGate::pendingTasks(), 0U);
    EXPECT_THAT(lastDescriptor().pendingWorlds, IsEmpty());
    for (int i = 0; i < 3; ++i) {
        tick();
    }
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(LoadQueue, waitingLoader_isServedWhenAnyoneParsesTheFile) {
    load("late.prefab");
    finishLoads();
    EXPECT_THAT(queued(), ElementsAre(id(100)));
    writeRoot("late.prefab", "Late");

    EXPECT_NE(service().loadPrefabData("late.prefab"), nullptr);
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(namesOf(manager(), manager().gameObjects()), std::vector<std::string>{"Late"});
}

TEST_F(LoadQueue, cacheClearedWhilePending_loaderWaitsAndNextLoadIsServed) {
    writeRoot("lamp.prefab", "Lamp");
    {
        WorkerGate gate;
        load("lamp.prefab", id(1));
        service().clearCache();
        load("lamp.prefab", id(2));
        EXPECT_EQ(WorkerGate::pendingTasks(), 2U);
    }
    tick();

    EXPECT_THAT(queued(), ElementsAre(id(1)));
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(LoadQueue, cacheClearedAfterParse_loaderIsServed) {
    writeRoot("lamp.prefab", "Lamp");
    load("lamp.prefab");
    waitForWorkers();

    service().clearCached("lamp.prefab");
    tick();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(LoadQueue, emptyPath_isReadFromNoSectionAndWaits) {
    load("");
    finishLoads();

    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. Format version mismatch. Current version: 1. "
                                      "Prefab version: 0. Content conversion is required."));
    ASSERT_NE(lastDescriptor().prefab.get(), nullptr);
    EXPECT_TRUE(lastDescriptor().prefab->isEmpty());
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(LoadQueue, emptyPathFilledByTask_survivesFailingParse) {
    load("");
    waitForWorkers();
    const Tessel::GameObjectPrefab* const empty = lastDescriptor().prefab.get();

    EXPECT_EQ(service().loadPrefabData(""), empty);
}

} // namespace
} // namespace Kiln::TestSupport
