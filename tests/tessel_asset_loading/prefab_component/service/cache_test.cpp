#include <tessel_asset_loading/support/service_fixture.h>

#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>

#include <algorithm>
#include <latch>
#include <string_view>

namespace Kiln::TestSupport {
namespace {

using Tessel::DescriptorCacheData;
using Tessel::GameObjectPrefab;
using Tessel::detail::PathHash;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PathHash, emptyPath_isOffsetBasis) {
    EXPECT_EQ(PathHash()(""), 0xcbf29ce484222325U);
}

TEST(PathHash, knownTexts_haveKnownHashes) {
    EXPECT_EQ(PathHash()("a"), 0xaf63dc4c8601ec8cU);
    EXPECT_EQ(PathHash()("foobar"), 0x85944171f73967e8U);
    EXPECT_EQ(PathHash()("props/lamp.prefab"), 0x8ee644bfd12bdbacU);
}

TEST(PathHash, bytesAreUnsigned) {
    EXPECT_EQ(PathHash()("\xff"), 0xaf64724c8602eb6eU);
}

TEST(PathHash, nulByte_counts) {
    EXPECT_EQ(PathHash()(std::string_view("\0", 1)), 0xaf63bd4c8601b7dfU);
}

class PrefabCacheTest : public ServiceFixture {
protected:
    /// Whether the cache has an entry for the path other than this one. A failed entry is tried again.
    [[nodiscard]] static bool isReplaced(const SmartPointer<DescriptorCacheData>& entry, const std::string& path) {
        return service().loadSharedPrefab(path) != entry;
    }
};

TEST_F(PrefabCacheTest, loadPrefabData_twice_parsesOnceAndReturnsSamePointer) {
    writeRoot("lamp.prefab", "Lamp");
    const GameObjectPrefab* const first = service().loadPrefabData("lamp.prefab");
    writeRoot("lamp.prefab", "Changed");

    EXPECT_EQ(service().loadPrefabData("lamp.prefab"), first);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->getGameObject(0)->name(), "Lamp");
}

TEST_F(PrefabCacheTest, loadPrefabData_missingFile_isNullAndReportedByParserEveryTime) {
    EXPECT_EQ(service().loadPrefabData("none.prefab"), nullptr);
    EXPECT_EQ(service().loadPrefabData("none.prefab"), nullptr);

    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab", "5: Prefab not found none.prefab"));
}

TEST_F(PrefabCacheTest, loadPrefabData_missingFile_keepsEntryAndTriesAgain) {
    const SmartPointer<DescriptorCacheData> entry = service().loadSharedPrefab("late.prefab");
    ASSERT_EQ(entry->prefab.get(), nullptr);
    writeRoot("late.prefab", "Late");

    const GameObjectPrefab* const loaded = service().loadPrefabData("late.prefab");

    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(entry->prefab.get(), loaded);
}

TEST_F(PrefabCacheTest, loadPrefabData_byManyThreadsAtOnce_parsesOnce) {
    writeRoot("lamp.prefab", "Lamp");
    constexpr std::size_t THREADS = 8;
    std::vector<GameObjectPrefab*> loaded(THREADS);
    std::latch start(THREADS);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            loaded[i] = service().loadPrefabData("lamp.prefab");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_NE(loaded[0], nullptr);
    EXPECT_EQ(std::count(loaded.begin(), loaded.end(), loaded[0]), static_cast<std::ptrdiff_t>(THREADS));
}

TEST_F(PrefabCacheTest, paths_areCaseSensitive) {
    cachePrefab("Lamp.prefab", PrefabBuilder().root(id(1)));

    EXPECT_EQ(service().loadPrefabData("lamp.prefab"), nullptr);
    EXPECT_NE(service().loadPrefabData("Lamp.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, paths_areNotNormalised) {
    writeRoot("lamp.prefab", "Lamp");

    const GameObjectPrefab* const plain = service().loadPrefabData("lamp.prefab");
    const GameObjectPrefab* const dotted = service().loadPrefabData("./lamp.prefab");

    ASSERT_NE(plain, nullptr);
    ASSERT_NE(dotted, nullptr);
    EXPECT_NE(plain, dotted);
}

TEST_F(PrefabCacheTest, cachePrefabData_newPath_givesThatPrefab) {
    std::unique_ptr<GameObjectPrefab> prefab = PrefabBuilder().root(id(1)).buildUnique();
    const GameObjectPrefab* const given = prefab.get();

    service().cachePrefabData("made.prefab", std::move(prefab));

    EXPECT_EQ(service().loadPrefabData("made.prefab"), given);
}

TEST_F(PrefabCacheTest, cachePrefabData_loadedPath_keepsFirstAndDestroysSecond) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));
    const GameObjectPrefab* const first = service().loadPrefabData("made.prefab");
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(2));

    service().cachePrefabData("made.prefab", PrefabBuilder().node(node).buildUnique());

    EXPECT_EQ(service().loadPrefabData("made.prefab"), first);
    EXPECT_EQ(node->refCount(), 1U);
}

TEST_F(PrefabCacheTest, cachePrefabData_failedPath_keepsFailedEntryAndDestroysPrefab) {
    ASSERT_EQ(service().loadPrefabData("none.prefab"), nullptr);
    const SmartPointer<GameObjectDescriptor> node = makeNode(id(2));

    service().cachePrefabData("none.prefab", PrefabBuilder().node(node).buildUnique());

    EXPECT_EQ(service().loadPrefabData("none.prefab"), nullptr);
    EXPECT_EQ(node->refCount(), 1U);
}

TEST_F(PrefabCacheTest, cachePrefabData_pendingPath_keepsPendingEntry) {
    writeRoot("lamp.prefab", "Lamp");
    WorkerGate gate;
    load("lamp.prefab");

    cachePrefab("lamp.prefab", PrefabBuilder().root(id(9), "Made"));

    EXPECT_EQ(lastDescriptor().prefab.get(), nullptr);
    gate.open();
    waitForWorkers();
    ASSERT_NE(lastDescriptor().prefab.get(), nullptr);
    EXPECT_EQ(lastDescriptor().prefab->getGameObject(0)->name(), "Lamp");
}

TEST_F(PrefabCacheTest, clearCached_cachedPath_dropsEntry) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));

    service().clearCached("made.prefab");

    EXPECT_EQ(service().loadPrefabData("made.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, clearCached_unknownPath_changesNothing) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));
    const SmartPointer<DescriptorCacheData> entry = service().loadSharedPrefab("made.prefab");

    service().clearCached("other.prefab");

    EXPECT_FALSE(isReplaced(entry, "made.prefab"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabCacheTest, clearCached_list_dropsJustThose) {
    for (const char* const path : {"a.prefab", "b.prefab", "c.prefab"}) {
        cachePrefab(path, PrefabBuilder().root(id(1)));
    }

    service().clearCached(std::vector<std::string>{"c.prefab", "unknown.prefab", "a.prefab", "c.prefab"});

    EXPECT_EQ(service().loadPrefabData("a.prefab"), nullptr);
    EXPECT_NE(service().loadPrefabData("b.prefab"), nullptr);
    EXPECT_EQ(service().loadPrefabData("c.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, clearCached_emptyList_changesNothing) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));

    service().clearCached(std::vector<std::string>());

    EXPECT_NE(service().loadPrefabData("made.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, clearCache_dropsEverything) {
    cachePrefab("a.prefab", PrefabBuilder().root(id(1)));
    cachePrefab("b.prefab", PrefabBuilder().root(id(1)));

    service().clearCache();

    EXPECT_EQ(service().loadPrefabData("a.prefab"), nullptr);
    EXPECT_EQ(service().loadPrefabData("b.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, clearCache_dropsReferenceOnly) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1), "Made"));
    const SmartPointer<DescriptorCacheData> entry = service().loadSharedPrefab("made.prefab");

    service().clearCache();

    ASSERT_NE(entry->prefab.get(), nullptr);
    EXPECT_EQ(entry->prefab->getGameObject(0)->name(), "Made");
    EXPECT_EQ(entry->refCount(), 1U);
}

TEST_F(PrefabCacheTest, fini_dropsEverything) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));

    service().fini();

    EXPECT_EQ(service().loadPrefabData("made.prefab"), nullptr);
}

TEST_F(PrefabCacheTest, init_changesNothing) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));

    service().init();

    EXPECT_NE(service().loadPrefabData("made.prefab"), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabCacheTest, separateService_hasCacheOfItsOwn) {
    cachePrefab("made.prefab", PrefabBuilder().root(id(1)));
    Tessel::PrefabService other;

    EXPECT_EQ(other.loadPrefabData("made.prefab"), nullptr);
    EXPECT_THAT(other.loadingQueue(), IsEmpty());
}

TEST_F(PrefabCacheTest, loadPrefabData_entersStackTracker) {
    std::vector<std::string> trail;
    {
        const ScopedLogSink sink([&trail](const LogMessage&) { trail = currentTrail(); });
        EXPECT_EQ(service().loadPrefabData("none.prefab"), nullptr);
    }

    EXPECT_THAT(trail, ElementsAre(serviceEntry("loadPrefabData")));
    EXPECT_THAT(currentTrail(), IsEmpty());
}

TEST_F(PrefabCacheTest, cachePrefabData_entersStackTrackerAtEveryLevel) {
    std::vector<std::string> trail;
    {
        const ScopedLogSink sink([&trail](const LogMessage&) { trail = currentTrail(); });
        cachePrefab("outer.prefab", PrefabBuilder().root(id(1)).nested(id(2), "Point", id(1), "none.prefab"));
        service().cachePrefabData("outer.prefab", false);
    }

    EXPECT_THAT(trail, ElementsAre(serviceEntry("cachePrefabData"), serviceEntry("cachePrefabDataInternal"),
                                   serviceEntry("cachePrefabDataInternal"), serviceEntry("loadPrefabData")));
    EXPECT_THAT(currentTrail(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
