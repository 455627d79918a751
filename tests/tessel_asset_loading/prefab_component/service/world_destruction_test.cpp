#include <tessel_asset_loading/support/service_fixture.h>

#include <unordered_set>

namespace Kiln::TestSupport {
namespace {

using Tessel::DescriptorCacheData;
using Tessel::EntryPoint;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// PrefabService::onWorldDestroyed. Files are missing, so that entries stay without a document.
class WorldDestruction : public ServiceFixture {
protected:
    /// An entry of the cache that these worlds wait for.
    [[nodiscard]] static SmartPointer<DescriptorCacheData> makeEntry(const std::string& path,
                                                                     std::unordered_set<int> worlds) {
        const SmartPointer<DescriptorCacheData> entry = service().loadSharedPrefab(path);
        entry->pendingWorlds = std::move(worlds);
        return entry;
    }

    [[nodiscard]] static bool isCached(const std::string& path, const SmartPointer<DescriptorCacheData>& entry) {
        return service().loadSharedPrefab(path) == entry;
    }
};

TEST_F(WorldDestruction, entryOfThatWorldAlone_isDropped) {
    const auto entry = makeEntry("a.prefab", {7});

    service().onWorldDestroyed(7);

    EXPECT_FALSE(isCached("a.prefab", entry));
}

TEST_F(WorldDestruction, loadedEntryOfThatWorldAlone_isDroppedToo) {
    cachePrefab("a.prefab", PrefabBuilder().root(id(1)));
    const auto entry = makeEntry("a.prefab", {7});

    service().onWorldDestroyed(7);

    EXPECT_FALSE(isCached("a.prefab", entry));
}

TEST_F(WorldDestruction, entryOfTwoWorlds_stays) {
    const auto entry = makeEntry("a.prefab", {7, 8});

    service().onWorldDestroyed(7);

    EXPECT_TRUE(isCached("a.prefab", entry));
    EXPECT_THAT(entry->pendingWorlds, UnorderedElementsAre(7, 8));
}

TEST_F(WorldDestruction, entryOfAnotherWorld_stays) {
    const auto entry = makeEntry("a.prefab", {8});

    service().onWorldDestroyed(7);

    EXPECT_TRUE(isCached("a.prefab", entry));
}

TEST_F(WorldDestruction, entryWithoutWorld_stays) {
    const auto failed = makeEntry("a.prefab", {});
    cachePrefab("b.prefab", PrefabBuilder().root(id(1)));
    const auto loaded = service().loadSharedPrefab("b.prefab");

    service().onWorldDestroyed(7);

    EXPECT_TRUE(isCached("a.prefab", failed));
    EXPECT_TRUE(isCached("b.prefab", loaded));
}

TEST_F(WorldDestruction, severalEntries_justTheAbandonedOnesAreDropped) {
    std::vector<SmartPointer<DescriptorCacheData>> abandoned;
    std::vector<SmartPointer<DescriptorCacheData>> kept;
    for (int i = 0; i < 20; ++i) {
        abandoned.push_back(makeEntry("abandoned" + std::to_string(i), {7}));
        kept.push_back(makeEntry("kept" + std::to_string(i), {7, 8 + i}));
    }

    service().onWorldDestroyed(7);

    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_FALSE(isCached("abandoned" + std::to_string(i), abandoned[i]));
        EXPECT_TRUE(isCached("kept" + std::to_string(i), kept[i]));
    }
}

TEST_F(WorldDestruction, entryPoint_notifiesTheService) {
    const int otherId = EntryPoint::instance().createWorld();
    const auto entry = makeEntry("a.prefab", {otherId});

    EntryPoint::instance().destroyWorld(otherId);

    EXPECT_FALSE(isCached("a.prefab", entry));
}

TEST_F(WorldDestruction, whileLoadIsPending_taskFillsNewEntryAndLoaderWaits) {
    const int otherId = EntryPoint::instance().createWorld();
    writeRoot("lamp.prefab", "Lamp");
    WorkerGate gate;
    service().loadGameObject("lamp.prefab", otherId, id(100), nullptr, nullptr);
    const SmartPointer<DescriptorCacheData> entry = service().loadingQueue().back().descriptor;
    EXPECT_THAT(entry->pendingWorlds, ElementsAre(otherId));

    EntryPoint::instance().destroyWorld(otherId);
    gate.open();
    finishLoads();

    EXPECT_EQ(entry->prefab.get(), nullptr);
    EXPECT_FALSE(isCached("lamp.prefab", entry));
    EXPECT_NE(service().loadPrefabData("lamp.prefab"), nullptr);
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

TEST_F(WorldDestruction, whileWorkerParses_doesNotWaitForTheWorker) {
    writeHookedRoot("lamp.prefab", "lamp");
    std::atomic<bool> isPreloading = false;
    std::atomic<bool> mayEnd = false;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        isPreloading = true;
        isPreloading.notify_all();
        mayEnd.wait(false);
    };
    const int otherId = EntryPoint::instance().createWorld();
    service().loadGameObject("lamp.prefab", otherId, id(100), nullptr, nullptr);
    isPreloading.wait(false);

    EntryPoint::instance().destroyWorld(otherId);

    mayEnd = true;
    mayEnd.notify_all();
    finishLoads();
    EXPECT_THAT(queued(), ElementsAre(id(100)));
}

} // namespace
} // namespace Kiln::TestSupport
