#include <tessel_asset_loading/support/service_fixture.h>

#include <future>
#include <latch>
#include <utility>

namespace Kiln::TestSupport {
namespace {

using Tessel::DescriptorCacheData;
using Tessel::GameObjectPrefab;
using testing::ElementsAre;
using testing::IsEmpty;

using Entry = SmartPointer<DescriptorCacheData>;

/// The operations with which code that loads documents itself shares them with the service.
class SharedPrefabs : public ServiceFixture {
protected:
    static std::unique_ptr<GameObjectPrefab> makePrefab(const std::string& name) {
        return PrefabBuilder().root(id(1), name).buildUnique();
    }
    static Entry makeEntry(const std::string& name) {
        Entry entry = makeSmart<DescriptorCacheData>();
        entry->prefab.publish(makePrefab(name));
        return entry;
    }

    /// The name of the root of the path's cached document; empty when there is none.
    static std::string cachedName(const std::string& path) {
        const Entry entry = service().findSharedPrefab(path);
        return entry && entry->prefab ? std::string(entry->prefab->getGameObject(0)->name()) : std::string();
    }

    /// Whether the operation ends while another thread parses and holds the cache mutex.
    template <class Operation>
    [[nodiscard]] static bool endsDuringAParse(const Operation& operation) {
        std::latch isParsing(1);
        std::latch isOver(1);
        // A missing file is reported under the cache mutex.
        const ScopedLogSink sink([&](const LogMessage&) {
            isParsing.count_down();
            isOver.wait();
        });
        std::thread parser([] { service().loadPrefabData("missing.prefab"); });
        isParsing.wait();
        const std::future<void> end = std::async(std::launch::async, operation);
        const bool hasEnded = end.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
        isOver.count_down();
        parser.join();
        return hasEnded;
    }
};

TEST_F(SharedPrefabs, findSharedPrefab_withoutAnEntry_isNullAndMakesNone) {
    writeRoot("lamp.prefab", "Lamp");
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), nullptr);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(SharedPrefabs, findSharedPrefab_isTheEntryOfThePath) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1)));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), service().loadSharedPrefab("lamp.prefab"));
}

TEST_F(SharedPrefabs, findSharedPrefab_ofAFailedLoad_hasNoDocument) {
    EXPECT_EQ(service().loadPrefabData("missing.prefab"), nullptr);
    const Entry entry = service().findSharedPrefab("missing.prefab");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->prefab.get(), nullptr);
}

TEST_F(SharedPrefabs, sharePrefabData_ofANewPath_insertsTheDocument) {
    std::unique_ptr<GameObjectPrefab> prefab = makePrefab("Lamp");
    const GameObjectPrefab* const shared = prefab.get();
    const auto [entry, isNew] = service().sharePrefabData("lamp.prefab", std::move(prefab));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(entry->prefab.get(), shared);
    EXPECT_EQ(service().loadPrefabData("lamp.prefab"), shared);
}

TEST_F(SharedPrefabs, sharePrefabData_ofALoadedPath_keepsTheFirstDocumentAndDestroysTheSecond) {
    cachePrefab("lamp.prefab", PrefabBuilder().root(id(1)));
    const Entry before = service().findSharedPrefab("lamp.prefab");
    const GameObjectPrefab* const first = before->prefab.get();
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(2));
    const auto [entry, isNew] = service().sharePrefabData("lamp.prefab", PrefabBuilder().node(node).buildUnique());
    EXPECT_FALSE(isNew);
    EXPECT_EQ(entry, before);
    EXPECT_EQ(entry->prefab.get(), first);
    EXPECT_EQ(node->refCount(), 1U);
}

TEST_F(SharedPrefabs, sharePrefabData_ofAFailedPath_fillsItsEntry) {
    const Entry failed = service().loadSharedPrefab("lamp.prefab");
    const auto [entry, isNew] = service().sharePrefabData("lamp.prefab", makePrefab("Lamp"));
    EXPECT_FALSE(isNew);
    EXPECT_EQ(entry, failed);
    EXPECT_EQ(cachedName("lamp.prefab"), "Lamp");
}

TEST_F(SharedPrefabs, sharePrefabData_completesALoaderThatWaitsForAFailedLoad) {
    const SmartPointer<RecordingCallback> callback = makeCallback("load");
    load("lamp.prefab", id(100), callback);
    finishLoads();
    ASSERT_THAT(queued(), ElementsAre(id(100)));
    service().sharePrefabData("lamp.prefab", makePrefab("Lamp"));
    tick();
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(events(),
                ElementsAre("load: onPreactivate", "load: onObjectLoaded", "load: onObjectLoadedIntoHierarchy"));
    EXPECT_EQ(manager().getGameObjectName(callback->root), "Lamp");
}

TEST_F(SharedPrefabs, sharePrefabData_completesAPendingLoadWhoseTaskThenReadsNothing) {
    WorkerGate gate;
    load("lamp.prefab");
    service().sharePrefabData("lamp.prefab", makePrefab("Lamp"));
    tick();
    EXPECT_THAT(queued(), IsEmpty());
    gate.open();
    waitForWorkers();
    EXPECT_EQ(cachedName("lamp.prefab"), "Lamp");
    EXPECT_THAT(logged(), ElementsAre("4: Root GO [Lamp], is missing PrefabComponent")); // No missing file.
}

TEST_F(SharedPrefabs, sharePrefabData_fromManyThreads_publishesOneDocument) {
    constexpr std::size_t THREADS = 8;
    std::vector<Entry> entries(THREADS);
    std::atomic<int> newEntries{0};
    std::latch start(THREADS);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            std::unique_ptr<GameObjectPrefab> prefab = makePrefab(std::to_string(i));
            start.arrive_and_wait();
            const auto [entry, isNew] = service().sharePrefabData("lamp.prefab", std::move(prefab));
            entries[i] = entry;
            newEntries += isNew ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(newEntries, 1);
    EXPECT_THAT(entries, testing::Each(service().findSharedPrefab("lamp.prefab")));
}

TEST_F(SharedPrefabs, sharePrefabData_ofNull_isRefused) {
    const auto [entry, isNew] = service().sharePrefabData("lamp.prefab", nullptr);
    EXPECT_EQ(entry, nullptr);
    EXPECT_FALSE(isNew);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), nullptr);
}

TEST_F(SharedPrefabs, sharePrefabData_ofTheEmptyPath_isRefused) {
    const auto [entry, isNew] = service().sharePrefabData("", makePrefab("Lamp"));
    EXPECT_EQ(entry, nullptr);
    EXPECT_FALSE(isNew);
    EXPECT_EQ(service().findSharedPrefab(""), nullptr);
}

TEST_F(SharedPrefabs, replaceSharedPrefab_ofANewPath_insertsTheEntry) {
    const Entry entry = makeEntry("Lamp");
    service().replaceSharedPrefab("lamp.prefab", entry);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), entry);
    EXPECT_EQ(service().loadPrefabData("lamp.prefab"), entry->prefab.get());
}

TEST_F(SharedPrefabs, replaceSharedPrefab_ofACachedPath_leavesThePreviousEntryToItsHolders) {
    service().replaceSharedPrefab("lamp.prefab", makeEntry("Before"));
    const Entry before = service().findSharedPrefab("lamp.prefab");
    service().replaceSharedPrefab("lamp.prefab", makeEntry("After"));
    EXPECT_EQ(cachedName("lamp.prefab"), "After");
    EXPECT_EQ(before->prefab->getGameObject(0)->name(), "Before");
    EXPECT_EQ(before->refCount(), 1U);
}

TEST_F(SharedPrefabs, replaceSharedPrefab_withNull_changesNothing) {
    service().replaceSharedPrefab("lamp.prefab", makeEntry("Lamp"));
    service().replaceSharedPrefab("lamp.prefab", nullptr);
    EXPECT_EQ(cachedName("lamp.prefab"), "Lamp");
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofTheEntry_erasesIt) {
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    EXPECT_TRUE(service().dropSharedPrefab("lamp.prefab", *entry));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), nullptr);
    EXPECT_EQ(entry->refCount(), 1U);
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnotherEntry_keepsThePathsEntry) {
    const Entry before = makeEntry("Before");
    service().replaceSharedPrefab("lamp.prefab", before);
    service().replaceSharedPrefab("lamp.prefab", makeEntry("After"));
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *before));
    EXPECT_EQ(cachedName("lamp.prefab"), "After");
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAPathWithoutEntry_isFalse) {
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *makeEntry("Lamp")));
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatLoadPrefabDataFound_isRefused) {
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    const GameObjectPrefab* const prefab = service().loadPrefabData("lamp.prefab");
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *entry));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab.get(), prefab);
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatLoadPrefabDataMade_isRefused) {
    writeRoot("lamp.prefab", "Lamp");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *service().findSharedPrefab("lamp.prefab")));
    EXPECT_EQ(cachedName("lamp.prefab"), "Lamp");
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatCachingALoadedPathFound_isRefused) {
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    service().cachePrefabData("lamp.prefab", false);
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *entry));
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofANestedEntryThatCachingFound_isRefused) {
    PrefabText prefab;
    prefab.root(id(1), "Top");
    prefab.nested(id(2), "Point", id(1), "lamp.prefab");
    writePrefab("top.prefab", prefab);
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    service().cachePrefabData("top.prefab", false);
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *entry));
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatCachingADocumentFound_isRefused) {
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    service().cachePrefabData("lamp.prefab", makePrefab("Second"));
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *entry));
    EXPECT_EQ(cachedName("lamp.prefab"), "Lamp");
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatALoadByPathFound_isRefused) {
    const Entry entry = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    service().loadGameObject("lamp.prefab", worldId, Uuid::ZERO, nullptr, nullptr);
    EXPECT_FALSE(service().dropSharedPrefab("lamp.prefab", *entry));
}

TEST_F(SharedPrefabs, dropSharedPrefab_ofAnEntryThatOnlyAnInstanceUses_erasesIt) {
    const Entry nested = service().sharePrefabData("lamp.prefab", makePrefab("Lamp")).first;
    EXPECT_EQ(service().loadSharedPrefab("lamp.prefab"), nested);
    EXPECT_TRUE(service().dropSharedPrefab("lamp.prefab", *nested));
}

TEST_F(SharedPrefabs, replaceSharedPrefab_ofAClaimedEntry_keepsItUntilTheCacheIsCleared) {
    static_cast<void>(service().sharePrefabData("lamp.prefab", makePrefab("Before")));
    const GameObjectPrefab* const prefab = service().loadPrefabData("lamp.prefab");
    const Entry before = service().findSharedPrefab("lamp.prefab");
    service().replaceSharedPrefab("lamp.prefab", makeEntry("After"));
    EXPECT_EQ(cachedName("lamp.prefab"), "After");
    EXPECT_EQ(before->refCount(), 2U);
    EXPECT_EQ(before->prefab.get(), prefab);
    service().clearCache();
    EXPECT_EQ(before->refCount(), 1U);
}

TEST_F(SharedPrefabs, replaceSharedPrefab_ofAClaimedEntry_keepsItUntilItsPathIsCleared) {
    static_cast<void>(service().sharePrefabData("lamp.prefab", makePrefab("Before")));
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    const Entry before = service().findSharedPrefab("lamp.prefab");
    service().replaceSharedPrefab("lamp.prefab", makeEntry("After"));
    service().clearCached("buoy.prefab");
    EXPECT_EQ(before->refCount(), 2U);
    service().clearCached("lamp.prefab");
    EXPECT_EQ(before->refCount(), 1U);
}

TEST_F(SharedPrefabs, replaceSharedPrefab_ofAClaimedEntryWithItself_keepsOne) {
    static_cast<void>(service().sharePrefabData("lamp.prefab", makePrefab("Lamp")));
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    const Entry entry = service().findSharedPrefab("lamp.prefab");
    service().replaceSharedPrefab("lamp.prefab", entry);
    EXPECT_EQ(entry->refCount(), 2U);
}

TEST_F(SharedPrefabs, findingReplacingAndDropping_doNotWaitForAParse) {
    const Entry entry = makeEntry("Lamp");
    EXPECT_TRUE(endsDuringAParse([&] {
        service().replaceSharedPrefab("lamp.prefab", entry);
        EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), entry);
        EXPECT_TRUE(service().dropSharedPrefab("lamp.prefab", *entry));
    }));
}

} // namespace
} // namespace Kiln::TestSupport
