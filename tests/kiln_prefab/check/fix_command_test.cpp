#include "check_fixture.h"

#include <filesystem>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FixCommand : public CheckFixture {
protected:
    FixCommand() {
        write("Lamp.prefab", sound(1));
        write("a.prefab", nesting(10, "lamp.prefab").text() + "\n");
        write("b.prefab", nesting(20, "lamp.prefab"));
        write("props/c d.prefab", withUnknownType(30, "TransfromComponent"));
    }

    [[nodiscard]] std::vector<std::string> texts() const {
        return {read("a.prefab"), read("b.prefab"), read("props/c d.prefab")};
    }

    const std::vector<std::string> m_fixedTexts{nesting(10, "Lamp.prefab").text() + "\n",
                                                nesting(20, "Lamp.prefab").text(),
                                                withUnknownType(30, "TransformComponent").text()};
};

TEST_F(FixCommand, fix_changesTheFilesAndShowsWhatRemains) {
    write("missing.prefab", nesting(40, "none.prefab"));
    EXPECT_THAT(findings({"--fix", "."}), ElementsAre("missing.prefab KP0106 error"));
    EXPECT_EQ(m_result.exitStatus, 1);
    EXPECT_EQ(m_result.errors, "note: fixed 3 findings in 3 files\n");
    EXPECT_EQ(texts(), m_fixedTexts);
}

TEST_F(FixCommand, secondRun_changesNothing) {
    EXPECT_THAT(findings({"--fix", "."}), IsEmpty());
    const fs::file_time_type time = fs::last_write_time(m_directory.path("a.prefab"));
    EXPECT_THAT(findings({"--fix", "."}), IsEmpty());
    EXPECT_EQ(m_result.errors, "note: fixed 0 findings in 0 files\n");
    EXPECT_EQ(fs::last_write_time(m_directory.path("a.prefab")), time);
    EXPECT_EQ(texts(), m_fixedTexts);
}

TEST_F(FixCommand, fix_keepsPermissions) {
    fs::permissions(m_directory.path("a.prefab"), fs::perms::owner_all);
    EXPECT_EQ(check({"--fix", "."}).exitStatus, 0);
    EXPECT_EQ(fs::status(m_directory.path("a.prefab")).permissions(), fs::perms::owner_all);
}

TEST_F(FixCommand, findingThatIsNotShown_isNotFixed) {
    EXPECT_EQ(check({"--fix", "--ignore", "KP0108", "."}).errors, "note: fixed 1 finding in 1 file\n");
    EXPECT_EQ(read("a.prefab"), nesting(10, "lamp.prefab").text() + "\n");
}

TEST_F(FixCommand, bytesThatAreNotUtf8_areKept) {
    const std::string beginning = "<!-- \xff\xfe -->\r\n";
    write("a.prefab", beginning + nesting(10, "lamp.prefab").text());
    EXPECT_EQ(check({"--fix", "a.prefab"}).errors, "note: fixed 1 finding in 1 file\n");
    EXPECT_EQ(read("a.prefab"), beginning + nesting(10, "Lamp.prefab").text());
}

TEST_F(FixCommand, dryRun_writesAPatchThatGitApplies) {
    const std::vector<std::string> before = texts();
    const TestSupport::ProcessResult result = check({"--fix", "--dry-run", "."});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "note: 3 findings in 3 files can be fixed\n");
    EXPECT_THAT(result.output, HasSubstr("\n--- a/props/c d.prefab\t\n+++ b/props/c d.prefab\t\n"));
    EXPECT_EQ(texts(), before);

    write("fixes.patch", result.output);
    const TestSupport::ProcessResult applied =
        TestSupport::runProcess("/usr/bin/git", {"apply", "fixes.patch"}, m_directory.path());
    EXPECT_EQ(applied.exitStatus, 0) << applied;
    EXPECT_EQ(texts(), m_fixedTexts);
}

TEST_F(FixCommand, dryRunWithoutFixes_writesNothing) {
    const TestSupport::ProcessResult result = check({"--fix", "--dry-run", "Lamp.prefab"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "");
}

} // namespace

} // namespace Kiln::PrefabToolTests
