#include <core/log.h>
#include <prefab_inspection/prefab_closure.h>
#include <resource/file_system_utils.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

[[nodiscard]] std::string pool(const std::string& type, const std::string& items) {
    return "<pool><type>" + type + "</type><version>1</version>" + items + "</pool>";
}

[[nodiscard]] std::string item(const std::string& index, const std::string& properties = "") {
    return "<item><gameObject>" + index + "</gameObject><properties>" + properties + "</properties></item>";
}

/// Two objects, a root and a child.
[[nodiscard]] std::string document(const std::string& pools, const std::string& version = "1") {
    return "<prefab><formatVersion>" + version +
           "</formatVersion><gameObjects><gameObject><uuid>00000000-0000-0000-0000-000000000001</uuid></gameObject>"
           "<gameObject><uuid>00000000-0000-0000-0000-000000000002</uuid></gameObject></gameObjects><components>" +
           pool("HierarchyComponent", item("1", "<parent>00000000-0000-0000-0000-000000000001</parent>")) + pools +
           "</components></prefab>";
}

[[nodiscard]] std::string nesting(const std::string& resource, const std::string& index = "1") {
    return pool("PrefabComponent", item(index, "<resource>" + resource + "</resource>"));
}

class PrefabClosureTest : public testing::Test {
protected:
    PrefabClosureTest() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~PrefabClosureTest() override { FS::Utils::clearResourceRoots(); }

    void write(const std::string& name, std::string_view text) const { m_directory.writeFile(name, text); }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
};

TEST_F(PrefabClosureTest, plainPrefab_isJustItsFile) {
    write("a.prefab", document(""));
    const PrefabClosure closure = inspectClosure("a.prefab");
    EXPECT_THAT(closure.files, ElementsAre("a.prefab"));
    EXPECT_THAT(closure.unknownComponents, IsEmpty());
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(PrefabClosureTest, missingFile_givesNothing) {
    EXPECT_THAT(inspectClosure("gone.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(PrefabClosureTest, directory_givesNothingAndIsLogged) {
    std::filesystem::create_directory(m_directory.path() / "a.prefab");
    EXPECT_THAT(inspectClosure("a.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(testing::EndsWith("a.prefab': is a directory")));
}

TEST_F(PrefabClosureTest, fileThatIsNotWellFormed_givesNothingAndIsLogged) {
    write("a.prefab", "<prefab>");
    EXPECT_THAT(inspectClosure("a.prefab").files, IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(testing::StartsWith("XML error in 'a.prefab' at line 1")));
}

TEST_F(PrefabClosureTest, pipe_isListedButNotRead) {
    ASSERT_EQ(mkfifo(m_directory.path("a.prefab").c_str(), 0600), 0);
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, nestedFiles_areListedLevelByLevelOnceEach) {
    write("a.prefab", document(nesting("b.prefab") + nesting("c.prefab") + nesting("b.prefab")));
    write("b.prefab", document(nesting("d.prefab")));
    write("c.prefab", document(nesting("d.prefab")));
    write("d.prefab", document(""));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab", "c.prefab", "d.prefab"));
}

TEST_F(PrefabClosureTest, missingNestedFile_isLeftOut) {
    write("a.prefab", document(nesting("gone.prefab") + nesting("b.prefab")));
    write("b.prefab", document(""));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab"));
}

TEST_F(PrefabClosureTest, emptyResource_isLeftOut) {
    write("a.prefab", document(nesting("")));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, componentWithoutResource_isLeftOut) {
    write("a.prefab", document(pool("PrefabComponent", item("1"))));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, prefabThatNestsItself_ends) {
    write("a.prefab", document(nesting("a.prefab")));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, cycle_ends) {
    write("a.prefab", document(nesting("b.prefab")));
    write("b.prefab", document(nesting("a.prefab")));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab", "b.prefab"));
}

TEST_F(PrefabClosureTest, longChain_isFollowedToItsEnd) {
    for (int level = 0; level < 100; ++level) {
        write(std::to_string(level) + ".prefab", document(nesting(std::to_string(level + 1) + ".prefab")));
    }
    EXPECT_EQ(inspectClosure("0.prefab").files.size(), 100U);
}

TEST_F(PrefabClosureTest, componentOfARoot_nestsNothing) {
    write("a.prefab", document(nesting("b.prefab", "0")));
    write("b.prefab", document(""));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, componentOfNoObject_nestsNothing) {
    write("a.prefab", document(pool("HierarchyComponent", item("18446744073709551615")) +
                               nesting("b.prefab", "18446744073709551615") + nesting("b.prefab", "2")));
    write("b.prefab", document(""));
    EXPECT_THAT(inspectClosure("a.prefab").files, ElementsAre("a.prefab"));
}

TEST_F(PrefabClosureTest, knownComponents_areNotCounted) {
    write("a.prefab", document(pool("TransformComponent", item("0")) + nesting("gone.prefab")));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, unknownComponents_areCountedByType) {
    write("a.prefab", document(pool("NodeComponent", item("0") + item("1")) + pool("BuoyComponent", item("0")) +
                               pool("NodeComponent", item("1"))));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents,
                ElementsAre(Pair("BuoyComponent", 1), Pair("NodeComponent", 3)));
}

TEST_F(PrefabClosureTest, unknownComponentsOfNestedFiles_areCountedOncePerFile) {
    write("a.prefab", document(pool("NodeComponent", item("0")) + nesting("b.prefab") + nesting("b.prefab")));
    write("b.prefab", document(pool("NodeComponent", item("0") + item("1"))));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, ElementsAre(Pair("NodeComponent", 3)));
}

TEST_F(PrefabClosureTest, emptyPoolOfUnknownType_isNotMentioned) {
    write("a.prefab", document(pool("NodeComponent", "")));
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, fileOfAnotherVersion_holdsNothing) {
    write("a.prefab", document(pool("NodeComponent", item("0")) + nesting("b.prefab"), "2"));
    write("b.prefab", document(""));
    const PrefabClosure closure = inspectClosure("a.prefab");
    EXPECT_THAT(closure.files, ElementsAre("a.prefab"));
    EXPECT_THAT(closure.unknownComponents, IsEmpty());
}

TEST_F(PrefabClosureTest, fileWithoutGameObjects_holdsNothing) {
    write("a.prefab", "<prefab><formatVersion>1</formatVersion><components>" + pool("NodeComponent", item("0")) +
                          "</components></prefab>");
    EXPECT_THAT(inspectClosure("a.prefab").unknownComponents, IsEmpty());
}

} // namespace

} // namespace Kiln::PrefabInspection
