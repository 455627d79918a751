#include <core/log.h>
#include <prefab_inspection/prefab_closure.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <filesystem>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using TestSupport::id;
using TestSupport::PrefabText;

constexpr std::size_t NO_OBJECT = std::numeric_limits<std::size_t>::max();

/// Two objects, a root and a child.
[[nodiscard]] PrefabText document() {
    return PrefabText().object(id(1), "Root").object(id(2), "Child").parent(1, id(1));
}

/// The same, and the child nests a prefab.
[[nodiscard]] PrefabText nesting(const std::string& resource) {
    return document().nest(1, resource);
}

class PrefabClosureTest : public testing::Test {
protected:
    PrefabClosureTest() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~PrefabClosureTest() override { FS::Utils::clearResourceRoots(); }

    void write(const std::string& name, const PrefabText& prefab) const { m_directory.writeFile(name, prefab.text()); }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
};

TEST_F(PrefabClosureTest, plainPrefab_isJustItsFile) {
    write("a.prefab", document());
    const PrefabClosure closure = inspectClosure("a.prefab");
    EXPECT_THAT(closure.files, ElementsAre("a.prefab"));
    EXPECT_THAT(closure.unknownComponents, IsEmpty());
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(PrefabClosureTest, missingFile_returnsNothing) {
    EXPECT_THAT(inspectClosure("gone.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(PrefabClosureTest, directory_isLoggedAndReturnsNothing) {
    std::filesystem::create_directory(m_directory.path() / "a.prefab");
    EXPECT_THAT(inspectClosure("a.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(testing::EndsWith("a.prefab': is a directory")));
}

TEST_F(PrefabClosureTest, fileThatIsNotWellFormed_isLoggedAndReturnsNothing) {
    m_directory.writeFile("a.prefab", "<prefab>");
    EXPECT_THAT(inspectClosure("a.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(testing::StartsWith("XML error in 'a.prefab' at line 1")));
}

TEST_F(PrefabClosureTest, pipe_isLoggedAndReturnsNothing) {
    ASSERT_EQ(mkfifo(m_directory.path("a.prefab").c_str(), 0600), 0);
    EXPECT_THAT(inspectClosure("a.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read 'a.prefab': is not a regular file"));
}

TEST_F(PrefabClosureTest, nestedFileOutsideOfTheRoots_isLoggedAndLeftOut) {
    write("a.prefab", nesting("../b.prefab"));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
    EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read '../b.prefab': is outside of the resource roots"));
}

TEST_F(PrefabClosureTest, nestedFiles_areListedLevelByLevelOnceEach) {
    write("a.prefab", nesting("b.prefab").nest(1, "c.prefab").nest(1, "b.prefab"));
    write("b.prefab", nesting("d.prefab"));
    write("c.prefab", nesting("d.prefab"));
    write("d.prefab", document());
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab", "c.prefab", "d.prefab"));
}

TEST_F(PrefabClosureTest, missingNestedFile_isLeftOut) {
    write("a.prefab", nesting("gone.prefab").nest(1, "b.prefab"));
    write("b.prefab", document());
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab"));
}

TEST_F(PrefabClosureTest, emptyResource_isLeftOut) {
    write("a.prefab", nesting(""));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, componentWithoutResource_isLeftOut) {
    write("a.prefab", document().component("PrefabComponent", 1));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, prefabThatNestsItself_ends) {
    write("a.prefab", nesting("a.prefab"));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, cycle_ends) {
    write("a.prefab", nesting("b.prefab"));
    write("b.prefab", nesting("a.prefab"));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab"));
}

TEST_F(PrefabClosureTest, longChain_isFollowedToItsEnd) {
    for (int level = 0; level < 100; ++level) {
        write(std::to_string(level) + ".prefab", nesting(std::to_string(level + 1) + ".prefab"));
    }
    EXPECT_EQ(inspectClosure("0.prefab").files.size(), 100U);
}

TEST_F(PrefabClosureTest, componentOfARoot_nestsNothing) {
    write("a.prefab", document().nest(0, "b.prefab"));
    write("b.prefab", document());
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, componentOfNoObject_nestsNothing) {
    write("a.prefab", document()
                          .newPool("HierarchyComponent")
                          .component("HierarchyComponent", NO_OBJECT)
                          .nest(NO_OBJECT, "b.prefab")
                          .nest(2, "b.prefab"));
    write("b.prefab", document());
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, knownComponents_areNotCounted) {
    write("a.prefab", document().component("TransformComponent", 0).nest(1, "gone.prefab"));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, unknownComponents_areCountedByType) {
    write("a.prefab", document()
                          .component("NodeComponent", 0)
                          .component("NodeComponent", 1)
                          .component("BuoyComponent", 0)
                          .newPool("NodeComponent")
                          .component("NodeComponent", 1));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents,
                ElementsAre(Pair("BuoyComponent", 1), Pair("NodeComponent", 3)));
}

TEST_F(PrefabClosureTest, unknownComponentsOfNestedFiles_areCountedOncePerFile) {
    write("a.prefab", document().component("NodeComponent", 0).nest(1, "b.prefab").nest(1, "b.prefab"));
    write("b.prefab", document().component("NodeComponent", 0).component("NodeComponent", 1));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, ElementsAre(Pair("NodeComponent", 3)));
}

TEST_F(PrefabClosureTest, emptyPoolOfUnknownType_isNotReported) {
    write("a.prefab", document().newPool("NodeComponent"));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, fileOfAnotherVersion_hasNoContents) {
    write("a.prefab", document().formatVersion(2).component("NodeComponent", 0).nest(1, "b.prefab"));
    write("b.prefab", document());
    const PrefabClosure closure = inspectClosure("a.prefab");
    EXPECT_THAT(closure.files, ElementsAre("a.prefab"));
    EXPECT_THAT(closure.unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, fileWithoutGameObjects_hasNoContents) {
    write("a.prefab", PrefabText().withoutGameObjectPool().component("NodeComponent", 0));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

} // namespace

} // namespace Kiln::PrefabInspection
