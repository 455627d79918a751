#include "library_fixture.h"

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ReadingTest : public LibraryFixture {};

TEST_F(ReadingTest, add_readsTheFileAndCompletes) {
    write("lamp.prefab");
    const NeedId need = library->add("lamp.prefab", 96, false);
    EXPECT_EQ(need, 1u);
    finishTasks();
    EXPECT_TRUE(library->isComplete(need));
    EXPECT_THAT(takeCompleted(), ElementsAre(need));
    EXPECT_THAT(takeCompleted(), IsEmpty());
    const SmartPointer<LoadedFile> file = library->find("lamp.prefab");
    ASSERT_NE(file, nullptr);
    ASSERT_NE(file->prefab(), nullptr);
    EXPECT_EQ(file->prefab()->getNestedPrefabs(), std::vector<std::string>{"lamp.prefab"});
    EXPECT_EQ(file->entry, service().findSharedPrefab("lamp.prefab"));
    EXPECT_THAT(reads(), ElementsAre("lamp.prefab"));
}

TEST_F(ReadingTest, find_unknownPath_isNull) {
    EXPECT_EQ(library->find("lamp.prefab"), nullptr);
}

TEST_F(ReadingTest, find_fileThatIsQueued_isNull) {
    tasks.setThreadCount(1);
    const TaskGate gate(tasks);
    write("lamp.prefab");
    static_cast<void>(library->add("lamp.prefab", 96, false));
    EXPECT_EQ(library->find("lamp.prefab"), nullptr);
}

TEST_F(ReadingTest, chain_isReadByOneTaskManagerRunWithoutFrames) {
    for (int level = 0; level < 6; ++level) {
        write("level" + std::to_string(level) + ".prefab",
              level < 5 ? std::vector<std::string>{"level" + std::to_string(level + 1) + ".prefab"}
                        : std::vector<std::string>{});
    }
    load("level0.prefab");
    EXPECT_THAT(reads(), ElementsAre("level0.prefab", "level1.prefab", "level2.prefab", "level3.prefab",
                                     "level4.prefab", "level5.prefab"));
}

TEST_F(ReadingTest, diamond_readsEachFileOnce) {
    write("top.prefab", {"left.prefab", "right.prefab", "left.prefab"});
    write("left.prefab", {"bottom.prefab"});
    write("right.prefab", {"bottom.prefab"});
    write("bottom.prefab");
    const NeedId need = load("top.prefab");
    EXPECT_THAT(reads(), UnorderedElementsAre("top.prefab", "left.prefab", "right.prefab", "bottom.prefab"));
    EXPECT_EQ(library->totals(need).filesTotal, 4u);
    EXPECT_EQ(library->totals(need).filesRead, 4u);
}

TEST_F(ReadingTest, cycle_readsEachFileOnceAndCompletes) {
    write("a.prefab", {"b.prefab"});
    write("b.prefab", {"c.prefab", "b.prefab"});
    write("c.prefab", {"a.prefab"});
    load("a.prefab");
    EXPECT_THAT(reads(), ElementsAre("a.prefab", "b.prefab", "c.prefab"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReadingTest, soundPrefabsThatNest_logNothing) {
    write("top.prefab", {"left.prefab", "right.prefab"});
    write("left.prefab", {"right.prefab"});
    write("right.prefab");
    load("top.prefab");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReadingTest, manyFiles_areReadOnceByTwoWorkers) {
    constexpr int COUNT = 200;
    std::vector<std::string> nested;
    for (int i = 0; i < COUNT; ++i) {
        nested.push_back("file" + std::to_string(i) + ".prefab");
        write(nested.back(), {"file" + std::to_string((i * 7 + 1) % COUNT) + ".prefab",
                              "file" + std::to_string((i * 13 + 5) % COUNT) + ".prefab"});
    }
    write("top.prefab", nested);
    std::vector<NeedId> needs;
    for (int i = 0; i < COUNT; i += 10) {
        needs.push_back(library->add(nested[static_cast<std::size_t>(i)], 96, false));
    }
    needs.push_back(load("top.prefab"));
    nested.push_back("top.prefab");
    EXPECT_THAT(reads(), testing::UnorderedElementsAreArray(nested));
    EXPECT_THAT(takeCompleted(), testing::UnorderedElementsAreArray(needs));
}

TEST_F(ReadingTest, needsOfOnePath_shareItsFiles) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    std::vector<NeedId> needs;
    for (int i = 0; i < 1000; ++i) {
        needs.push_back(library->add("top.prefab", 96, false));
    }
    finishTasks();
    EXPECT_THAT(takeCompleted(), testing::UnorderedElementsAreArray(needs));
    EXPECT_THAT(reads(), ElementsAre("top.prefab", "lamp.prefab"));
}

TEST_F(ReadingTest, laterNeedOfAFile_completesAtOnceAndCountsCacheHits) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId first = load("top.prefab");
    EXPECT_EQ(library->costs(first).cacheHits, 0u);
    const NeedId samePath = library->add("top.prefab", 96, false);
    const NeedId nestedPath = library->add("lamp.prefab", 96, false);
    EXPECT_THAT(takeCompleted(), ElementsAre(first, samePath, nestedPath));
    EXPECT_EQ(library->costs(samePath).cacheHits, 2u);
    EXPECT_EQ(library->costs(samePath).parsed, std::chrono::microseconds(0));
    EXPECT_EQ(library->costs(samePath).queued, std::chrono::microseconds(0));
    EXPECT_EQ(library->costs(nestedPath).cacheHits, 1u);
    EXPECT_EQ(library->costs(first).cacheHits, 0u);
}

TEST_F(ReadingTest, totals_growWithWhatIsRead) {
    tasks.setThreadCount(1);
    write("top.prefab", {"lamp.prefab", "buoy.prefab"});
    write("lamp.prefab");
    write("buoy.prefab");
    std::atomic<DocumentLibrary::NeedId> need{0};
    std::vector<DocumentLibrary::Totals> seen;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        need.wait(0);
        seen.push_back(library->totals(need));
    };
    need = library->add("top.prefab", 96, false);
    need.notify_all();
    finishTasks();
    ASSERT_EQ(seen.size(), 3u);
    const auto sizeOf = [this](const char* name) {
        return static_cast<std::uint64_t>(std::filesystem::file_size(directory.path(name)));
    };
    EXPECT_EQ(seen[0].filesTotal, 1u);
    EXPECT_EQ(seen[0].filesRead, 0u);
    EXPECT_EQ(seen[0].bytesTotal, sizeOf("top.prefab"));
    EXPECT_EQ(seen[0].bytesRead, 0u);
    EXPECT_EQ(seen[1].filesTotal, 3u);
    EXPECT_EQ(seen[1].filesRead, 1u);
    EXPECT_EQ(seen[1].bytesTotal, sizeOf("top.prefab") + sizeOf("lamp.prefab"));
    EXPECT_EQ(seen[1].bytesRead, sizeOf("top.prefab"));
    const DocumentLibrary::Totals totals = library->totals(need);
    EXPECT_EQ(totals.filesRead, 3u);
    EXPECT_EQ(totals.bytesRead, sizeOf("top.prefab") + sizeOf("lamp.prefab") + sizeOf("buoy.prefab"));
    EXPECT_EQ(totals.bytesTotal, totals.bytesRead);
}

TEST_F(ReadingTest, costs_sumUpReadingAndParsing) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId need = load("top.prefab");
    const SmartPointer<LoadedFile> top = library->find("top.prefab");
    const SmartPointer<LoadedFile> lamp = library->find("lamp.prefab");
    EXPECT_EQ(library->costs(need).read, top->readTime + lamp->readTime);
    EXPECT_EQ(library->costs(need).parsed, top->parseTime + lamp->parseTime);
    EXPECT_GT(top->parseTime.count(), 0);
}

TEST_F(ReadingTest, counts_showQueuedAndReadingFiles) {
    tasks.setThreadCount(1);
    write("lamp.prefab");
    write("buoy.prefab");
    write("crane.prefab");
    std::atomic<bool> isReading = false;
    std::atomic<bool> isReleased = false;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        isReading = true;
        isReading.notify_all();
        isReleased.wait(false);
    };
    for (const char* path : {"lamp.prefab", "buoy.prefab", "crane.prefab"}) {
        static_cast<void>(library->add(path, 96, false));
    }
    isReading.wait(false);
    EXPECT_EQ(library->counts().readingFiles, 1u);
    EXPECT_EQ(library->counts().queuedFiles, 2u);
    EXPECT_EQ(library->counts().heldDocuments, 0u);
    isReleased = true;
    isReleased.notify_all();
    finishTasks();
    EXPECT_EQ(library->counts().readingFiles, 0u);
    EXPECT_EQ(library->counts().queuedFiles, 0u);
    EXPECT_EQ(library->counts().heldDocuments, 3u);
}

TEST_F(ReadingTest, documentOfTheServicesCache_isUsedWithoutReading) {
    write("lamp.prefab", {"bulb.prefab"});
    write("bulb.prefab");
    GameObjectPrefab* const cached = service().loadPrefabData("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    const SmartPointer<LoadedFile> file = library->find("lamp.prefab");
    EXPECT_EQ(file->prefab(), cached);
    EXPECT_TRUE(file->isCacheHit);
    EXPECT_FALSE(file->isInsertedEntry);
    EXPECT_EQ(library->costs(need).cacheHits, 1u);
    EXPECT_THAT(reads(), ElementsAre("bulb.prefab"));
}

TEST_F(ReadingTest, loaderOfTheServiceThatWaitsInVain_getsTheDocument) {
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    const SmartPointer<Tessel::DescriptorCacheData> waiting = service().findSharedPrefab("lamp.prefab");
    ASSERT_FALSE(waiting->prefab);
    write("lamp.prefab");
    load("lamp.prefab");
    EXPECT_TRUE(waiting->prefab);
    EXPECT_EQ(library->find("lamp.prefab")->entry, waiting);
    EXPECT_FALSE(library->find("lamp.prefab")->isInsertedEntry);
}

TEST_F(ReadingTest, clearedCache_leavesTheDocumentsOfTheLibrary) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    load("top.prefab");
    Tessel::Loading::fullyClearCache();
    ASSERT_NE(library->find("lamp.prefab"), nullptr);
    EXPECT_EQ(library->find("lamp.prefab")->prefab()->nodesCount(), 1u);
    EXPECT_EQ(library->find("top.prefab")->prefab()->nodesCount(), 2u);
}

TEST_F(ReadingTest, cacheClearedWhileFilesAreRead_completesAll) {
    std::vector<std::string> nested;
    for (int i = 0; i < 50; ++i) {
        nested.push_back("file" + std::to_string(i) + ".prefab");
        write(nested.back());
    }
    write("top.prefab", nested);
    const NeedId need = library->add("top.prefab", 96, false);
    while (!library->isComplete(need)) {
        Tessel::Loading::fullyClearCache();
    }
    for (const std::string& path : nested) {
        EXPECT_NE(library->find(path)->prefab(), nullptr) << path;
    }
}

TEST_F(ReadingTest, unknownComponents_areListedOnce) {
    PrefabText prefab;
    const std::size_t root = prefab.root(id(1), "Root");
    prefab.component("RudderComponent", root).newPool("SailComponent").component("SailComponent", root);
    prefab.newPool("RudderComponent").component("RudderComponent", root);
    writePrefab("ship.prefab", prefab);
    load("ship.prefab");
    EXPECT_THAT(library->find("ship.prefab")->unknownComponents, ElementsAre("RudderComponent", "SailComponent"));
    EXPECT_THAT(library->find("ship.prefab")->failures, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
