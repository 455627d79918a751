#include "library_fixture.h"

#include <chrono>

namespace Kiln::TestSupport {
namespace {

using Tessel::Streaming::detail::readFile;
using Tessel::Streaming::detail::readFileAside;
using Tessel::Streaming::detail::stampOf;

class ReadFileTest : public LibraryFixture {};

TEST_F(ReadFileTest, stampOf_aFile) {
    write("lamp.prefab");
    const FileStamp stamp = stampOf("lamp.prefab");
    EXPECT_TRUE(stamp.exists);
    EXPECT_EQ(stamp.bytes, std::filesystem::file_size(directory.path("lamp.prefab")));
    EXPECT_EQ(stamp, stampOf("lamp.prefab"));
}

TEST_F(ReadFileTest, stampOf_aFileThatWasTouched_differs) {
    write("lamp.prefab");
    const FileStamp stamp = stampOf("lamp.prefab");
    const std::filesystem::path file = directory.path("lamp.prefab");
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) + std::chrono::milliseconds(1));
    EXPECT_EQ(stampOf("lamp.prefab").modified, stamp.modified + 1'000'000);
}

TEST_F(ReadFileTest, stampOf_whatIsNoFile_doesNotExist) {
    std::filesystem::create_directory(directory.path("folder"));
    for (const char* path : {"", "missing.prefab", "folder", "../outside.prefab", "a\nb"}) {
        EXPECT_EQ(stampOf(path), FileStamp()) << path;
    }
}

TEST_F(ReadFileTest, readFile_publishesTheDocument) {
    write("lamp.prefab");
    const SmartPointer<LoadedFile> file = readFile("lamp.prefab", service());
    EXPECT_EQ(file->entry, service().findSharedPrefab("lamp.prefab"));
    EXPECT_TRUE(file->isInsertedEntry);
    EXPECT_FALSE(file->isCacheHit);
    EXPECT_EQ(file->path, "lamp.prefab");
    EXPECT_EQ(file->stamp, stampOf("lamp.prefab"));
    EXPECT_EQ(reads(), std::vector<std::string>{"lamp.prefab"});
}

TEST_F(ReadFileTest, readFile_yieldsTheDocumentOfTheService) {
    write("lamp.prefab", {"bulb.prefab"});
    const SmartPointer<LoadedFile> file = readFile("lamp.prefab", service());
    const std::unique_ptr<GameObjectPrefab> expected = GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr);
    const SmartPointer<DataSection> read = DataSection::create("prefab");
    file->prefab()->serialize(read);
    const SmartPointer<DataSection> same = DataSection::create("prefab");
    expected->serialize(same);
    EXPECT_EQ(read->toText(), same->toText());
}

TEST_F(ReadFileTest, readFileAside_leavesTheCacheAlone) {
    write("lamp.prefab");
    const SmartPointer<LoadedFile> file = readFileAside("lamp.prefab");
    ASSERT_NE(file->prefab(), nullptr);
    EXPECT_FALSE(file->isInsertedEntry);
    EXPECT_FALSE(isCached("lamp.prefab"));
    EXPECT_EQ(reads(), std::vector<std::string>{"lamp.prefab"});
}

TEST_F(ReadFileTest, readFileAside_readsAFileThatIsCached) {
    write("lamp.prefab");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    write("lamp.prefab", {"bulb.prefab"});
    const SmartPointer<LoadedFile> file = readFileAside("lamp.prefab");
    EXPECT_EQ(file->prefab()->nodesCount(), 2u);
    EXPECT_EQ(service().loadPrefabData("lamp.prefab")->nodesCount(), 1u);
}

TEST_F(ReadFileTest, readFile_ofACachedDocument_listsItsUnknownComponents) {
    PrefabText prefab;
    prefab.component("SailComponent", prefab.root(id(1), "Root")).component("HookComponent", 0);
    prefab.component("RudderComponent", 0);
    writePrefab("ship.prefab", prefab);
    const std::vector<std::string> expected = readFileAside("ship.prefab")->unknownComponents;
    static_cast<void>(service().loadPrefabData("ship.prefab"));
    const std::size_t reads = this->reads().size();
    const SmartPointer<LoadedFile> file = readFile("ship.prefab", service());
    EXPECT_TRUE(file->isCacheHit);
    EXPECT_THAT(file->unknownComponents, testing::UnorderedElementsAre("SailComponent", "RudderComponent"));
    EXPECT_EQ(file->unknownComponents, expected);
    EXPECT_EQ(this->reads().size(), reads);
}

TEST_F(ReadFileTest, readFile_ofACachedDocumentWhoseFileIsMalformed_listsNoUnknownComponents) {
    write("lamp.prefab");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    directory.writeFile("lamp.prefab", "<prefab");
    const SmartPointer<LoadedFile> file = readFile("lamp.prefab", service());
    EXPECT_TRUE(file->isCacheHit);
    EXPECT_THAT(file->unknownComponents, testing::IsEmpty());
    EXPECT_THAT(file->failures, testing::IsEmpty());
}

TEST_F(ReadFileTest, readFile_ofACachedDocument_hasAStampThatMatchesNoVersion) {
    write("lamp.prefab");
    static_cast<void>(service().loadPrefabData("lamp.prefab"));
    const SmartPointer<LoadedFile> file = readFile("lamp.prefab", service());
    EXPECT_TRUE(file->stamp.exists);
    EXPECT_EQ(file->stamp.modified, FileStamp::UNKNOWN_TIME);
    EXPECT_NE(file->stamp, stampOf("lamp.prefab"));
}

TEST_F(ReadFileTest, readFile_ofACachedDocumentWithoutAFile_hasTheStampOfNone) {
    write("lamp.prefab");
    service().cachePrefabData("made.prefab", GameObjectPrefab::loadHierarchy("lamp.prefab", nullptr));
    const SmartPointer<LoadedFile> file = readFile("made.prefab", service());
    EXPECT_TRUE(file->isCacheHit);
    EXPECT_EQ(file->stamp, FileStamp());
}

TEST_F(ReadFileTest, trace_hasASpanForAReadAndAnInstantForACacheHit) {
    write("lamp.prefab");
    write("buoy.prefab");
    static_cast<void>(service().loadPrefabData("buoy.prefab"));
    std::vector<std::string> events;
    tracer.setHook([&](const Tessel::Streaming::TraceEvent& event) {
        const bool isSpan = event.kind == Tessel::Streaming::TraceEvent::Kind::SPAN;
        EXPECT_GT(event.thread, 0u);
        events.push_back((isSpan ? "span " : "instant ") + std::string(event.name) + " " + std::string(event.detail));
    });
    load("lamp.prefab");
    load("buoy.prefab");
    tracer.setHook({});
    EXPECT_THAT(events, testing::ElementsAre("span read lamp.prefab", "instant cache hit buoy.prefab"));
}

} // namespace
} // namespace Kiln::TestSupport
