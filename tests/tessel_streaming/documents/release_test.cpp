#include "library_fixture.h"

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReleaseTest : public LibraryFixture {
protected:
    [[nodiscard]] std::uint64_t sizeOf(const std::string& path) const {
        return static_cast<std::uint64_t>(std::filesystem::file_size(directory.path(path)));
    }

    /// Loads a path to be kept, and ends the need.
    void keep(const std::string& path) {
        library->remove(load(path, true));
        library->releaseUnused();
    }
};

TEST_F(ReleaseTest, removeAndReleaseUnused_bringTheCacheBackToItsBaseline) {
    write("top.prefab", {"lamp.prefab", "missing.prefab"});
    write("lamp.prefab");
    const NeedId need = load("top.prefab");
    EXPECT_TRUE(isCached("top.prefab"));
    EXPECT_TRUE(isCached("lamp.prefab"));
    library->remove(need);
    EXPECT_EQ(library->find("top.prefab"), nullptr);
    EXPECT_EQ(library->counts().heldDocuments, 2u);
    library->releaseUnused();
    EXPECT_FALSE(isCached("top.prefab"));
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_FALSE(isCached("missing.prefab"));
    EXPECT_EQ(library->counts().heldDocuments, 0u);
    EXPECT_THAT(library->heldFiles(), IsEmpty());
}

TEST_F(ReleaseTest, releaseUnused_leavesWhatOthersNeed) {
    write("first.prefab", {"lamp.prefab"});
    write("second.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId first = load("first.prefab");
    load("second.prefab");
    library->remove(first);
    library->releaseUnused();
    EXPECT_FALSE(isCached("first.prefab"));
    EXPECT_TRUE(isCached("lamp.prefab"));
    EXPECT_NE(library->find("lamp.prefab"), nullptr);
}

TEST_F(ReleaseTest, entriesOfOthers_stayInTheCache) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    library->remove(load("top.prefab"));
    library->releaseUnused();
    EXPECT_FALSE(isCached("top.prefab"));
    EXPECT_TRUE(isCached("lamp.prefab"));
}

TEST_F(ReleaseTest, entryThatOthersMadeAfterTheCacheWasCleared_staysInTheCache) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    Tessel::Loading::fullyClearCache();
    const GameObjectPrefab* const others = service().loadPrefabData("lamp.prefab");
    library->remove(need);
    library->releaseUnused();
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab.get(), others);
}

TEST_F(ReleaseTest, documentThatWasHandedOutByTheService_outlivesTheLibrarysUse) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    const GameObjectPrefab* const prefab = Tessel::Loading::loadDescriptorSync("lamp.prefab");
    library->remove(need);
    library->releaseUnused();
    ASSERT_TRUE(isCached("lamp.prefab"));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab.get(), prefab);
    EXPECT_EQ(prefab->nodesCount(), 1u);
}

TEST_F(ReleaseTest, documentThatTheServiceWasToldToCache_staysInTheCache) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    Tessel::Loading::cacheGameObjects({"lamp.prefab"}, true);
    library->remove(need);
    library->releaseUnused();
    EXPECT_TRUE(isCached("lamp.prefab"));
}

TEST_F(ReleaseTest, nestedDocumentThatOnlyCreationLooksUp_isDropped) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    const std::unique_ptr<GameObjectPrefab> top = GameObjectPrefab::loadHierarchy("top.prefab", nullptr);
    GameObjectPrefab::CreateConfig config;
    config.worldId = worldId;
    config.instanceUuid = Uuid::generate();
    EXPECT_FALSE(top->createGameObjects(config).empty());
    library->remove(need);
    library->releaseUnused();
    EXPECT_FALSE(isCached("lamp.prefab"));
}

TEST_F(ReleaseTest, add_beforeReleaseUnused_usesTheDocumentAgain) {
    write("lamp.prefab");
    library->remove(load("lamp.prefab"));
    const NeedId need = library->add("lamp.prefab", 96, false);
    EXPECT_TRUE(library->isComplete(need));
    library->releaseUnused();
    EXPECT_TRUE(isCached("lamp.prefab"));
    EXPECT_THAT(reads(), ElementsAre("lamp.prefab"));
}

TEST_F(ReleaseTest, removedNeed_isNotReportedAsCompleted) {
    write("lamp.prefab");
    library->remove(load("lamp.prefab"));
    EXPECT_THAT(takeCompleted(), IsEmpty());
}

TEST_F(ReleaseTest, largeDocuments_areDestroyedOnAWorker) {
    PrefabText prefab;
    prefab.object(id(1), "Root").raw("<!--" + std::string(100'000, 'x') + "-->");
    writePrefab("large.prefab", prefab);
    library->remove(load("large.prefab"));
    tasks.setThreadCount(1);
    {
        const TaskGate gate(tasks);
        library->releaseUnused();
        EXPECT_FALSE(isCached("large.prefab"));
        EXPECT_EQ(tasks.unfinishedTasks(), 2u);
    }
    finishTasks();
}

TEST_F(ReleaseTest, keep_leavesTheDocumentsOfTheNeed) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    keep("top.prefab");
    EXPECT_TRUE(isCached("top.prefab"));
    EXPECT_TRUE(isCached("lamp.prefab"));
    EXPECT_EQ(library->counts().keptDocuments, 2u);
    EXPECT_EQ(library->counts().heldDocuments, 2u);
    EXPECT_EQ(library->counts().keptBytes, sizeOf("top.prefab") + sizeOf("lamp.prefab"));
    const NeedId again = library->add("top.prefab", 96, false);
    EXPECT_TRUE(library->isComplete(again));
    EXPECT_EQ(library->counts().keptDocuments, 0u);
    EXPECT_EQ(library->counts().keptBytes, 0u);
    EXPECT_THAT(reads(), testing::UnorderedElementsAre("top.prefab", "lamp.prefab"));
}

TEST_F(ReleaseTest, keep_ofALaterNeedOfThePath_keepsItsFiles) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId first = load("top.prefab");
    const NeedId second = library->add("top.prefab", 96, true);
    library->remove(first);
    library->remove(second);
    library->releaseUnused();
    EXPECT_EQ(library->counts().keptDocuments, 2u);
}

TEST_F(ReleaseTest, keep_failedFiles_areNotKept) {
    keep("missing.prefab");
    EXPECT_EQ(library->counts().keptDocuments, 0u);
    write("missing.prefab");
    load("missing.prefab");
    EXPECT_NE(library->find("missing.prefab")->prefab(), nullptr);
}

TEST_F(ReleaseTest, keptLimit_dropsTheLeastRecentlyUsedDocuments) {
    for (const char* path : {"a.prefab", "b.prefab", "c.prefab"}) {
        write(path);
        keep(path);
    }
    load("a.prefab");
    library->remove(library->add("a.prefab", 96, false));
    EXPECT_EQ(library->counts().keptDocuments, 2u) << "a.prefab is needed";
    library->setKeptLimit(sizeOf("b.prefab"));
    library->releaseUnused();
    EXPECT_FALSE(isCached("b.prefab"));
    EXPECT_TRUE(isCached("c.prefab"));
    EXPECT_TRUE(isCached("a.prefab"));
}

TEST_F(ReleaseTest, keptLimit_reuseMakesADocumentTheMostRecentOne) {
    for (const char* path : {"a.prefab", "b.prefab", "c.prefab"}) {
        write(path);
        keep(path);
    }
    library->remove(library->add("a.prefab", 96, false));
    library->releaseUnused();
    EXPECT_EQ(library->counts().keptDocuments, 3u);
    library->setKeptLimit(2 * sizeOf("a.prefab"));
    library->releaseUnused();
    EXPECT_TRUE(isCached("a.prefab"));
    EXPECT_FALSE(isCached("b.prefab"));
    EXPECT_TRUE(isCached("c.prefab"));
    EXPECT_EQ(library->counts().keptBytes, 2 * sizeOf("a.prefab"));
}

TEST_F(ReleaseTest, keptLimit_zero_dropsAll) {
    write("lamp.prefab");
    keep("lamp.prefab");
    library->setKeptLimit(0);
    library->releaseUnused();
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_EQ(library->counts().keptDocuments, 0u);
    keep("lamp.prefab");
    EXPECT_FALSE(isCached("lamp.prefab"));
}

TEST_F(ReleaseTest, destructor_dropsItsEntries) {
    write("lamp.prefab");
    write("buoy.prefab");
    write("crane.prefab");
    static_cast<void>(service().loadPrefabData("crane.prefab"));
    load("lamp.prefab");
    load("crane.prefab");
    keep("buoy.prefab");
    library.reset();
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_FALSE(isCached("buoy.prefab"));
    EXPECT_TRUE(isCached("crane.prefab"));
}

} // namespace
} // namespace Kiln::TestSupport
