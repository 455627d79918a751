#include "library_fixture.h"

#include <sys/stat.h>

#include <new>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FailedFilesTest : public LibraryFixture {
protected:
    /// The failure of a file that has just been requested; it is all that the file yields, and nothing is logged.
    [[nodiscard]] LoadFailure failureOfLoad(const std::string& path) {
        load(path);
        EXPECT_THAT(log.texts(), IsEmpty());
        EXPECT_FALSE(isCached(path));
        const LoadFailure failure = failureOf(path);
        EXPECT_EQ(failure.file, path);
        EXPECT_THAT(failure.chain, IsEmpty());
        return failure;
    }
};

TEST_F(FailedFilesTest, emptyPath_isInvalid) {
    const LoadFailure failure = failureOfLoad("");
    EXPECT_EQ(failure.code, FailureCode::INVALID_PATH);
    EXPECT_EQ(failure.message, "The path is empty.");
}

TEST_F(FailedFilesTest, missingFile) {
    const LoadFailure failure = failureOfLoad("missing.prefab");
    EXPECT_EQ(failure.code, FailureCode::MISSING_FILE);
    EXPECT_EQ(failure.message, "The file does not exist.");
}

TEST_F(FailedFilesTest, malformedFile_hasTheLine) {
    directory.writeFile("bad.prefab", "<prefab>\n  <formatVersion>1</formatVersion>\n  <a></b>\n</prefab>");
    const LoadFailure failure = failureOfLoad("bad.prefab");
    EXPECT_EQ(failure.code, FailureCode::MALFORMED_FILE);
    EXPECT_EQ(failure.line, 3u);
    EXPECT_EQ(failure.message.rfind("The file is not well-formed XML (column ", 0), 0u) << failure.message;
}

TEST_F(FailedFilesTest, emptyFile_isMalformed) {
    directory.writeFile("empty.prefab", "");
    EXPECT_EQ(failureOfLoad("empty.prefab").code, FailureCode::MALFORMED_FILE);
}

TEST_F(FailedFilesTest, halfWrittenFile_isMalformed) {
    const std::string text = simplePrefab();
    directory.writeFile("half.prefab", text.substr(0, text.size() / 2));
    EXPECT_EQ(failureOfLoad("half.prefab").code, FailureCode::MALFORMED_FILE);
}

TEST_F(FailedFilesTest, wrongVersion_isNotAPrefab) {
    writePrefab("old.prefab", PrefabText().formatVersion(7).object(id(1), "Root"));
    const LoadFailure failure = failureOfLoad("old.prefab");
    EXPECT_EQ(failure.code, FailureCode::NOT_A_PREFAB);
    EXPECT_EQ(failure.message,
              "Format version mismatch. Current version: 1. Prefab version: 7. Content conversion is required.");
}

TEST_F(FailedFilesTest, documentWithoutListOfGameObjects_isNotAPrefab) {
    writePrefab("list.prefab", PrefabText().withoutGameObjectPool());
    const LoadFailure failure = failureOfLoad("list.prefab");
    EXPECT_EQ(failure.code, FailureCode::NOT_A_PREFAB);
    EXPECT_EQ(failure.message, "Prefab doesn't contain game objects.");
}

TEST_F(FailedFilesTest, documentWithoutGameObjects_isEmpty) {
    writePrefab("none.prefab", PrefabText());
    const LoadFailure failure = failureOfLoad("none.prefab");
    EXPECT_EQ(failure.code, FailureCode::EMPTY_PREFAB);
    EXPECT_EQ(failure.message, "The prefab has no game objects.");
}

TEST_F(FailedFilesTest, documentWithoutGameObjectsButWithUnknownComponents_isEmpty) {
    writePrefab("none.prefab", PrefabText().newPool("RudderComponent"));
    EXPECT_EQ(failureOfLoad("none.prefab").code, FailureCode::EMPTY_PREFAB);
}

TEST_F(FailedFilesTest, pathOutsideOfTheRoots) {
    const LoadFailure failure = failureOfLoad("../secret.prefab");
    EXPECT_EQ(failure.code, FailureCode::OUTSIDE_OF_ROOTS);
    EXPECT_EQ(failure.message, "The path is refused: is outside of the resource roots.");
}

TEST_F(FailedFilesTest, pathWithControlCharacter_isOutsideOfTheRoots) {
    const LoadFailure failure = failureOfLoad("a\nb.prefab");
    EXPECT_EQ(failure.code, FailureCode::OUTSIDE_OF_ROOTS);
    EXPECT_EQ(failure.message, "The path is refused: the path has a control character.");
}

TEST_F(FailedFilesTest, directory_isUnreadable) {
    std::filesystem::create_directory(directory.path("folder.prefab"));
    const LoadFailure failure = failureOfLoad("folder.prefab");
    EXPECT_EQ(failure.code, FailureCode::UNREADABLE_FILE);
    EXPECT_EQ(failure.message, "The file cannot be read: is a directory.");
}

TEST_F(FailedFilesTest, namedPipe_isUnreadableAndDoesNotBlock) {
    ASSERT_EQ(::mkfifo(directory.path("pipe.prefab").c_str(), 0600), 0);
    const LoadFailure failure = failureOfLoad("pipe.prefab");
    EXPECT_EQ(failure.code, FailureCode::UNREADABLE_FILE);
    EXPECT_EQ(failure.message, "The file cannot be read: is not a regular file.");
}

TEST_F(FailedFilesTest, exceptionOfPreload_isAFailureOfTheComponent) {
    write("lamp.prefab");
    HookComponent::onPreload = [](const HookComponent::Config&) { throw std::runtime_error("no bulb"); };
    const LoadFailure failure = failureOfLoad("lamp.prefab");
    EXPECT_EQ(failure.code, FailureCode::COMPONENT_THREW);
    EXPECT_EQ(failure.message, "The component 'HookComponent' of the game object 'Root' threw an exception while it "
                               "preloaded its data: no bulb");
}

TEST_F(FailedFilesTest, unknownExceptionOfPreload_isAFailureOfTheComponent) {
    write("lamp.prefab");
    HookComponent::onPreload = [](const HookComponent::Config&) { throw 7; };
    EXPECT_EQ(failureOfLoad("lamp.prefab").message, "The component 'HookComponent' of the game object 'Root' threw an "
                                                    "exception while it preloaded its data: unknown exception");
}

TEST_F(FailedFilesTest, exhaustedMemory_isAFailure) {
    write("lamp.prefab");
    HookComponent::onPreload = [](const HookComponent::Config&) { throw std::bad_alloc(); };
    const LoadFailure failure = failureOfLoad("lamp.prefab");
    EXPECT_EQ(failure.code, FailureCode::OUT_OF_MEMORY);
    EXPECT_EQ(failure.message, "There is not enough memory to read the file.");
}

TEST_F(FailedFilesTest, failedDependencies_areAllFound) {
    write("top.prefab", {"first.prefab", "second.prefab", "lamp.prefab"});
    directory.writeFile("second.prefab", "<prefab");
    write("lamp.prefab", {"third.prefab"});
    const NeedId need = load("top.prefab");
    EXPECT_EQ(failureOf("first.prefab").code, FailureCode::MISSING_FILE);
    EXPECT_EQ(failureOf("second.prefab").code, FailureCode::MALFORMED_FILE);
    EXPECT_EQ(failureOf("third.prefab").code, FailureCode::MISSING_FILE);
    EXPECT_EQ(library->totals(need).filesRead, 5u);
    EXPECT_EQ(library->totals(need).filesTotal, 5u);
}

TEST_F(FailedFilesTest, add_afterAFailure_readsTheFileAgain) {
    const NeedId first = load("lamp.prefab");
    EXPECT_THAT(takeCompleted(), ElementsAre(first));
    write("lamp.prefab");
    const NeedId second = load("lamp.prefab");
    EXPECT_NE(library->find("lamp.prefab")->prefab(), nullptr);
    EXPECT_THAT(library->find("lamp.prefab")->failures, IsEmpty());
    EXPECT_THAT(takeCompleted(), ElementsAre(second));
    EXPECT_TRUE(library->isComplete(first));
}

TEST_F(FailedFilesTest, add_afterAFailureThatWasReleased_readsTheFileAgain) {
    library->remove(load("lamp.prefab"));
    library->releaseUnused();
    write("lamp.prefab");
    load("lamp.prefab");
    EXPECT_NE(library->find("lamp.prefab")->prefab(), nullptr);
}

TEST_F(FailedFilesTest, add_ofAPathThatNestsAFailedFile_readsThatAgain) {
    write("top.prefab", {"lamp.prefab"});
    const NeedId first = load("top.prefab");
    write("lamp.prefab", {"bulb.prefab"});
    write("bulb.prefab");
    const NeedId second = load("top.prefab");
    EXPECT_NE(library->find("lamp.prefab")->prefab(), nullptr);
    EXPECT_NE(library->find("bulb.prefab")->prefab(), nullptr);
    EXPECT_EQ(library->totals(second).filesTotal, 3u);
    EXPECT_THAT(takeCompleted(), ElementsAre(first, second));
}

TEST_F(FailedFilesTest, add_ofAnotherPathThatNestsAFailedFile_readsThatAgain) {
    write("first.prefab", {"lamp.prefab"});
    write("second.prefab", {"lamp.prefab"});
    load("first.prefab");
    write("lamp.prefab");
    load("second.prefab");
    EXPECT_NE(library->find("lamp.prefab")->prefab(), nullptr);
    EXPECT_THAT(reads(), ElementsAre("first.prefab", "second.prefab", "lamp.prefab"));
}

TEST_F(FailedFilesTest, requestsMadeTogether_shareAFailure) {
    tasks.setThreadCount(1);
    std::vector<std::string> paths;
    for (int i = 0; i < 5; ++i) {
        paths.push_back("top" + std::to_string(i) + ".prefab");
        write(paths.back(), {"bad.prefab"});
    }
    writePrefab("bad.prefab", PrefabText().formatVersion(7).object(id(1), "Root"));
    int badReads = 0;
    tracer.setHook([&](const Tessel::Streaming::TraceEvent& event) { badReads += event.detail == "bad.prefab"; });
    {
        const TaskGate gate(tasks);
        for (const std::string& path : paths) {
            static_cast<void>(library->add(path, 96, false));
        }
    }
    finishTasks();
    EXPECT_EQ(badReads, 1);
    EXPECT_EQ(takeCompleted().size(), 5u);
}

TEST_F(FailedFilesTest, find_whileAFailedFileIsReadAgain_hasTheFailure) {
    tasks.setThreadCount(1);
    load("lamp.prefab");
    const TaskGate gate(tasks);
    static_cast<void>(library->add("lamp.prefab", 96, false));
    EXPECT_EQ(failureOf("lamp.prefab").code, FailureCode::MISSING_FILE);
}

TEST_F(FailedFilesTest, emptyDocumentInTheServicesCache_isReadFromItsFileAndStaysThere) {
    writePrefab("lamp.prefab", PrefabText().formatVersion(7).object(id(1), "Root"));
    const GameObjectPrefab* const cached = service().loadPrefabData("lamp.prefab");
    ASSERT_TRUE(cached && cached->isEmpty());
    write("lamp.prefab");
    library->remove(load("lamp.prefab"));
    EXPECT_EQ(reads(), std::vector<std::string>{"lamp.prefab"});
    library->releaseUnused();
    ASSERT_TRUE(isCached("lamp.prefab"));
    EXPECT_EQ(service().findSharedPrefab("lamp.prefab")->prefab.get(), cached);
}

TEST_F(FailedFilesTest, componentVersionMismatch_isLoggedAndDoesNotFail) {
    PrefabText prefab;
    prefab.component("TagComponent", prefab.root(id(1), "Root"), element("tag", "lit")).poolVersion("TagComponent", 9);
    writePrefab("lamp.prefab", prefab);
    load("lamp.prefab");
    EXPECT_NE(library->find("lamp.prefab")->prefab(), nullptr);
    EXPECT_THAT(library->find("lamp.prefab")->failures, IsEmpty());
    EXPECT_THAT(log.texts(),
                ElementsAre("Component version mismatch. Component: 'TagComponent' Current version: 1. Version in "
                            "prefab: 9. Content conversion is required. Correct deserialization isn't guaranteed."));
}

} // namespace
} // namespace Kiln::TestSupport
