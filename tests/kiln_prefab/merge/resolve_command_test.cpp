#include "../kiln_prefab_fixture.h"

#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {
namespace {

using TestSupport::ProcessResult;

[[nodiscard]] std::string twoTags(const std::string& tag) {
    PrefabText prefab;
    prefab.root(id(1), "Pier");
    prefab.component("TagComponent", prefab.child(id(2), "Lamp", id(1)), element("tag", tag));
    prefab.component("TagComponent", prefab.child(id(3), "Mast", id(1)), element("tag", tag));
    return prefab.text();
}

/// "merged.prefab" holds two conflicts.
class ResolveCommandTest : public KilnPrefabFixture {
protected:
    void SetUp() override {
        write("base.prefab", twoTags("a"));
        write("merged.prefab", twoTags("b"));
        write("theirs.prefab", twoTags("c"));
        ASSERT_EQ(run({"merge", "base.prefab", "merged.prefab", "theirs.prefab", "-o", "merged.prefab"}).exitStatus, 1);
    }

    [[nodiscard]] std::string merged() const {
        std::ifstream stream(m_directory.path("merged.prefab"), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(ResolveCommandTest, withoutPreference_listsTheConflicts) {
    const std::string before = merged();
    const ProcessResult result = run({"resolve", "merged.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "merged.prefab:1: conflict: TagComponent.tag of 00000000-0000-0000-0000-000000000002: "
                             "both sides have changed it\n"
                             "    base    a\n"
                             "    ours    b\n"
                             "    theirs  c\n"
                             "merged.prefab:1: conflict: TagComponent.tag of 00000000-0000-0000-0000-000000000003: "
                             "both sides have changed it\n"
                             "    base    a\n"
                             "    ours    b\n"
                             "    theirs  c\n");
    EXPECT_EQ(merged(), before);
}

TEST_F(ResolveCommandTest, forTheirs_leavesAFileThatPassesTheCheck) {
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "theirs"}),
              (ProcessResult{0, "", "note: 2 conflicts decided for theirs\n"}));
    EXPECT_EQ(merged(), twoTags("c"));
    EXPECT_EQ(run({"check", "merged.prefab"}).exitStatus, 0);
}

TEST_F(ResolveCommandTest, forOurs_leavesWhatTheFileHas) {
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "ours", "--quiet"}), (ProcessResult{0, "", ""}));
    EXPECT_EQ(merged(), twoTags("b"));
}

TEST_F(ResolveCommandTest, ofOneObject_leavesTheOthers) {
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "theirs", "--object", id(2).toString()}).exitStatus, 0);
    const ProcessResult rest = run({"resolve", "merged.prefab", "--format", "json"});
    const Json report = Json::parse(rest.output);
    ASSERT_EQ(report.at("conflicts").size(), 1U);
    EXPECT_EQ(report.at("conflicts")[0].at("place").at("object"), id(3).toString());
}

TEST_F(ResolveCommandTest, aCommentThatCannotBeRead_isListedAndStays) {
    std::string text = merged();
    const std::string version = "{\"version\":1,";
    text.replace(text.find(version), version.size(), "{\"version\":2,");
    write("merged.prefab", text);
    const std::string line = "merged.prefab:1: conflict: the comment cannot be read, because it was edited or is of "
                             "another version; decide by hand, then remove it\n";
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "theirs"}),
              (ProcessResult{1, line, "note: 1 conflict decided for theirs\n"}));
    EXPECT_EQ(run({"resolve", "merged.prefab"}), (ProcessResult{1, line, ""}));
    const Json report = Json::parse(run({"resolve", "merged.prefab", "--format", "json"}).output);
    EXPECT_EQ(report.at("unreadableComments"), Json::array({1}));
    EXPECT_EQ(run({"check", "merged.prefab"}).exitStatus, 1);
}

TEST_F(ResolveCommandTest, aCommentWithOtherWhiteSpace_isStillAConflict) {
    std::string text = merged();
    const std::string begin = "<!-- kiln-prefab conflict ";
    text.replace(text.find(begin), begin.size(), "<!--kiln-prefab\n  conflict");
    write("merged.prefab", text);
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "theirs"}),
              (ProcessResult{0, "", "note: 2 conflicts decided for theirs\n"}));
}

TEST_F(ResolveCommandTest, aFileWithConflictsOfGit_isRefused) {
    write("merged.prefab", "<<<<<<< HEAD\n<prefab/>\n=======\n<prefab></prefab>\n>>>>>>> other\n");
    const ProcessResult result = run({"resolve", "merged.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, testing::HasSubstr("; the file has conflicts that git has written: merge it with "
                                                  "kiln-prefab\n"));
    EXPECT_EQ(run({"resolve", "merged.prefab", "--prefer", "ours"}).exitStatus, 2);
}

TEST_F(ResolveCommandTest, aFileWithoutConflicts_isLeftAlone) {
    EXPECT_EQ(run({"resolve", "base.prefab"}), (ProcessResult{0, "", ""}));
    EXPECT_EQ(run({"resolve", "missing.prefab"}),
              (ProcessResult{2, "", "kiln-prefab: Cannot read 'missing.prefab': it does not exist\n"}));
}

} // namespace
} // namespace Kiln::PrefabToolTests
