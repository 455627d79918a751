#include "library_fixture.h"

namespace Kiln::TestSupport {
namespace {

using Tessel::Streaming::detail::readFileAside;
using testing::ElementsAre;
using testing::IsEmpty;

class ReplacementTest : public LibraryFixture {
protected:
    /// Writes a newer version of a file and puts it into the library.
    SmartPointer<LoadedFile> rewrite(const std::string& path, const std::vector<std::string>& nested) {
        write(path, nested);
        SmartPointer<LoadedFile> newer = readFileAside(path);
        library->replace(newer);
        return newer;
    }
};

TEST_F(ReplacementTest, replace_changesTheDocumentForAll) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    const NeedId need = load("top.prefab");
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {});
    EXPECT_EQ(library->find("lamp.prefab"), newer);
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), newer->entry);
    EXPECT_TRUE(library->isComplete(need));
    EXPECT_EQ(library->counts().heldDocuments, 2u);
}

TEST_F(ReplacementTest, replace_withNewNestedFiles_readsThem) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab");
    write("bulb.prefab", {"wire.prefab"});
    write("wire.prefab");
    const NeedId top = load("top.prefab");
    EXPECT_THAT(takeCompleted(), ElementsAre(top));
    tasks.setThreadCount(1);
    {
        const TaskGate gate(tasks);
        rewrite("lamp.prefab", {"bulb.prefab"});
        EXPECT_FALSE(library->isComplete(top));
        EXPECT_THAT(takeCompleted(), IsEmpty());
    }
    finishTasks();
    EXPECT_TRUE(library->isComplete(top));
    EXPECT_THAT(takeCompleted(), ElementsAre(top));
    EXPECT_NE(library->find("wire.prefab")->prefab(), nullptr);
    EXPECT_EQ(library->totals(top).filesTotal, 4u);
}

TEST_F(ReplacementTest, replace_withoutAFileThatWasNested_releasesThat) {
    write("top.prefab", {"lamp.prefab"});
    write("lamp.prefab", {"bulb.prefab"});
    write("bulb.prefab", {"wire.prefab"});
    write("wire.prefab");
    const NeedId top = load("top.prefab");
    rewrite("lamp.prefab", {"wire.prefab"});
    library->releaseUnused();
    EXPECT_EQ(library->find("bulb.prefab"), nullptr);
    EXPECT_FALSE(isCached("bulb.prefab"));
    EXPECT_NE(library->find("wire.prefab"), nullptr);
    EXPECT_EQ(library->totals(top).filesTotal, 3u);
    EXPECT_TRUE(library->isComplete(top));
}

TEST_F(ReplacementTest, replacedEntry_isDroppedInTheEnd) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    rewrite("lamp.prefab", {});
    library->remove(need);
    library->releaseUnused();
    EXPECT_FALSE(isCached("lamp.prefab"));
}

TEST_F(ReplacementTest, replacedEntryOfOthers_staysInTheEnd) {
    write("lamp.prefab");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    const NeedId need = load("lamp.prefab");
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {});
    library->remove(need);
    library->releaseUnused();
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), newer->entry);
}

TEST_F(ReplacementTest, replacedDocumentThatWasHandedOutByTheService_livesUntilTheCacheIsCleared) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    const GameObjectPrefab* const prefab = Tessel::Loading::loadDescriptorSync("lamp.prefab");
    const SmartPointer<Tessel::DescriptorCacheData> before = service().findSharedPrefab("lamp.prefab");
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {"bulb.prefab"});
    library->remove(need);
    library->releaseUnused();
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), newer->entry);
    EXPECT_EQ(before->prefab.get(), prefab);
    EXPECT_EQ(before->refCount(), 2u);
    Tessel::Loading::fullyClearCache();
    EXPECT_EQ(before->refCount(), 1u);
}

TEST_F(ReplacementTest, replace_afterTheCacheWasCleared_putsTheDocumentThere) {
    write("lamp.prefab");
    const NeedId need = load("lamp.prefab");
    Tessel::Loading::fullyClearCache();
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {});
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), newer->entry);
    library->remove(need);
    library->releaseUnused();
    EXPECT_FALSE(isCached("lamp.prefab"));
}

TEST_F(ReplacementTest, replace_ofAFailedFile_makesItSound) {
    write("top.prefab", {"lamp.prefab"});
    const NeedId need = load("top.prefab");
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {});
    EXPECT_EQ(library->find("lamp.prefab"), newer);
    EXPECT_TRUE(library->isComplete(need));
}

TEST_F(ReplacementTest, replace_ofAFileThatIsRead_discardsWhatTheWorkerReads) {
    tasks.setThreadCount(1);
    write("lamp.prefab");
    std::atomic<bool> isReading = false;
    std::atomic<bool> isReleased = false;
    HookComponent::onPreload = [&](const HookComponent::Config&) {
        if (BackgroundTaskThread::current()) {
            isReading = true;
            isReading.notify_all();
            isReleased.wait(false);
        }
    };
    const NeedId need = library->add("lamp.prefab", 96, false);
    isReading.wait(false);
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {"bulb.prefab"});
    EXPECT_EQ(library->find("lamp.prefab"), newer);
    isReleased = true;
    isReleased.notify_all();
    finishTasks();
    EXPECT_EQ(library->find("lamp.prefab"), newer);
    EXPECT_EQ(library->find("bulb.prefab")->failures.size(), 1u);
    EXPECT_TRUE(library->isComplete(need));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab"), newer->entry);
    library->remove(need);
    library->releaseUnused();
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_EQ(library->counts().heldDocuments, 0u);
}

TEST_F(ReplacementTest, replace_ofAFileThatNobodyHolds_doesNothing) {
    rewrite("lamp.prefab", {});
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_EQ(library->find("lamp.prefab"), nullptr);
}

TEST_F(ReplacementTest, replace_withAFailedFile_doesNothing) {
    write("lamp.prefab");
    load("lamp.prefab");
    const SmartPointer<LoadedFile> before = library->find("lamp.prefab");
    directory.writeFile("lamp.prefab", "<prefab");
    library->replace(readFileAside("lamp.prefab"));
    EXPECT_EQ(library->find("lamp.prefab"), before);
}

TEST_F(ReplacementTest, replace_ofAKeptFile_countsItsNewSize) {
    write("lamp.prefab");
    library->remove(load("lamp.prefab", true));
    library->releaseUnused();
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {"bulb.prefab"});
    EXPECT_EQ(library->counts().keptBytes, newer->stamp.bytes);
}

TEST_F(ReplacementTest, heldFiles_haveTheStampsOfTheDocuments) {
    write("top.prefab", {"lamp.prefab", "missing.prefab"});
    write("lamp.prefab");
    load("top.prefab");
    const SmartPointer<LoadedFile> newer = rewrite("lamp.prefab", {});
    EXPECT_THAT(library->heldFiles(),
                testing::UnorderedElementsAre(std::pair("top.prefab", library->find("top.prefab")->stamp),
                                              std::pair("lamp.prefab", newer->stamp)));
}

TEST_F(ReplacementTest, needsOf_areThoseThatIncludeTheFile) {
    write("first.prefab", {"lamp.prefab"});
    write("second.prefab", {"first.prefab"});
    write("other.prefab");
    write("lamp.prefab");
    const NeedId first = load("first.prefab");
    const NeedId second = load("second.prefab");
    const NeedId again = load("first.prefab");
    load("other.prefab");
    EXPECT_THAT(library->needsOf("lamp.prefab"), ElementsAre(first, second, again));
    EXPECT_THAT(library->needsOf("second.prefab"), ElementsAre(second));
    EXPECT_THAT(library->needsOf("unknown.prefab"), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
