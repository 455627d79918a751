#include "kiln_prefab_fixture.h"

#include <build_paths.h>
#include <filesystem>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;

class Library : public KilnPrefabFixture {
protected:
    [[nodiscard]] static PrefabText note(const std::string& text, int severity) {
        return PrefabText()
            .object(id(1), "A")
            .component("NoteComponent", 0, element("text", text) + element("severity", std::to_string(severity)));
    }
};

TEST_F(Library, withoutIt_itsComponentsAreUnknown) {
    write("a.prefab", note("hello", 3));
    const TestSupport::ProcessResult result = spawn({"a.prefab"});
    EXPECT_EQ(result.errors, "note: skipped 1 component of unknown type 'NoteComponent'\n");
}

TEST_F(Library, withIt_itsComponentsAreCreated) {
    write("a.prefab", note("hello", 3));
    const std::vector<Json> instances = spawnJson({"--load", TEST_COMPONENTS, "a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0]["objects"][0]["components"], Json({"NoteComponent", "PrefabComponent"}));
    EXPECT_EQ(logTexts(instances[0]), std::vector<std::string>{"hello"});
    EXPECT_EQ(m_result.errors, "");
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(Library, underInactiveParent_itsComponentsStayInactive) {
    write("a.prefab", note("hello", 3));
    const std::vector<Json> instances = spawnJson({"--load", TEST_COMPONENTS, "--under-inactive-parent", "a.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(logTexts(instances[0]), std::vector<std::string>());
}

TEST_F(Library, loadedTwice_isNoError) {
    write("a.prefab", note("hello", 3));
    EXPECT_EQ(spawn({"--load", TEST_COMPONENTS, "--load", TEST_COMPONENTS, "a.prefab"}).exitStatus, 0);
}

TEST_F(Library, nameWithoutSlash_isFoundInTheCurrentDirectory) {
    std::filesystem::create_symlink(TEST_COMPONENTS, m_directory.path() / "libgame.so");
    write("a.prefab", note("hello", 3));
    const TestSupport::ProcessResult result = spawn({"--load", "libgame.so", "a.prefab"});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Library, oneThatFails_endsTheProgramBeforeAnythingIsLoaded) {
    write("a.prefab", note("hello", 3));
    const TestSupport::ProcessResult result = spawn({"--load", TEST_COMPONENTS, "--load", "/gone/lib.so", "a.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: --load /gone/lib.so: /gone/lib.so: cannot open"));
}

TEST_F(Library, infoOfAComponent_isShownOnlyWhenVerbose) {
    write("a.prefab", note("hello", 3));
    EXPECT_THAT(spawn({"--load", TEST_COMPONENTS, "--verbose", "a.prefab"}).errors, HasSubstr("info: hello\n"));
}

TEST_F(Library, criticalMessageOfAComponent_isAnError) {
    write("a.prefab", note("on fire", 6));
    const TestSupport::ProcessResult result = spawn({"--load", TEST_COMPONENTS, "a.prefab"});
    EXPECT_EQ(result.errors, "error: on fire\nkiln-prefab: a.prefab: errors while loading: on fire\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(Library, depthMessageOfTheMainThread_isAnError) {
    write("a.prefab", note(DEPTH_MESSAGE, 5));
    EXPECT_EQ(spawn({"--load", TEST_COMPONENTS, "a.prefab"}).exitStatus, 1);
}

TEST_F(Library, componentThatThrows_failsItsInstanceOnly) {
    write("bad.prefab", PrefabText().object(id(1), "A").component("ThrowingComponent", 0));
    write("good.prefab", simplePrefab());
    const std::vector<Json> instances = spawnJson({"--load", TEST_COMPONENTS, "bad.prefab", "good.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(instances[0]["objects"], Json::array());
    EXPECT_EQ(names(instances[1]), std::vector<std::string>{"Root"});
    EXPECT_THAT(m_result.errors, HasSubstr("kiln-prefab: bad.prefab: not created: Failed to create an instance of "
                                           "'bad.prefab': component 'ThrowingComponent': a component threw\n"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(Library, errorsWhileTheWorldIsDestroyed_areReported) {
    write("a.prefab", PrefabText().object(id(1), "A").component("FarewellComponent", 0));
    const TestSupport::ProcessResult result = spawn({"--load", TEST_COMPONENTS, "--instances", "2", "a.prefab"});
    EXPECT_EQ(result.errors, "error: farewell (2 times)\n"
                             "kiln-prefab: a.prefab: errors while its world was destroyed: farewell\n");
    EXPECT_EQ(result.exitStatus, 1);
}

} // namespace

} // namespace Kiln::PrefabToolTests
