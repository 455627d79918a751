#include <kiln_prefab/kiln_prefab_fixture.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

const std::string OTHER_LAYOUT = "<prefab>\n<a>1</a><b/></prefab>";
const std::string CANONICAL = "<prefab>\n\t<a>1</a>\n\t<b></b>\n</prefab>\n";
const std::string PATCH = "--- a/a.prefab\n+++ b/a.prefab\n@@ -1,2 +1,4 @@\n <prefab>\n-<a>1</a><b/></prefab>\n"
                          "\\ No newline at end of file\n+\t<a>1</a>\n+\t<b></b>\n+</prefab>\n";

class RewriteCommand : public KilnPrefabFixture {
protected:
    RewriteCommand() {
        write("a.prefab", OTHER_LAYOUT);
        write("folder/b.prefab", CANONICAL);
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(RewriteCommand, aFile_isWrittenToTheOutput) {
    EXPECT_EQ(run({"rewrite", "a.prefab"}), (TestSupport::ProcessResult{0, CANONICAL, ""}));
    EXPECT_EQ(read("a.prefab"), OTHER_LAYOUT);
}

TEST_F(RewriteCommand, bytesThatAreNotUtf8_areWrittenAsTheyAre) {
    write("c.prefab", "<a>\xff\x1b</a>\n");
    EXPECT_EQ(run({"rewrite", "c.prefab"}), (TestSupport::ProcessResult{0, "<a>\xff\x1b</a>\n", ""}));
}

TEST_F(RewriteCommand, inPlace_replacesOnlyFilesThatAreNotCanonical) {
    fs::permissions(m_directory.path("a.prefab"), fs::perms::owner_all);
    const fs::file_time_type time = fs::last_write_time(m_directory.path("folder/b.prefab"));
    EXPECT_EQ(run({"rewrite", "--in-place", "--jobs", "2", "."}),
              (TestSupport::ProcessResult{0, "", "note: rewrote 1 of 2 files\n"}));
    EXPECT_EQ(read("a.prefab"), CANONICAL);
    EXPECT_EQ(fs::status(m_directory.path("a.prefab")).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::last_write_time(m_directory.path("folder/b.prefab")), time);
    EXPECT_EQ(run({"rewrite", "--in-place", "--quiet", "."}), (TestSupport::ProcessResult{0, "", ""}));
}

TEST_F(RewriteCommand, check_namesTheFilesThatAreNotCanonical) {
    EXPECT_EQ(run({"rewrite", "--check", "."}),
              (TestSupport::ProcessResult{1, "a.prefab\n", "note: 1 of 2 files is not canonical\n"}));
    EXPECT_EQ(run({"rewrite", "--check", "folder"}),
              (TestSupport::ProcessResult{0, "", "note: 0 of 1 file is not canonical\n"}));
    EXPECT_EQ(read("a.prefab"), OTHER_LAYOUT);
}

TEST_F(RewriteCommand, diff_printsAPatchThatGitApplies) {
    const TestSupport::ProcessResult result = run({"rewrite", "--diff", "."});
    EXPECT_EQ(result, (TestSupport::ProcessResult{0, "diff --git a/a.prefab b/a.prefab\n" + PATCH, ""}));
    write("form.patch", result.output);
    EXPECT_EQ(TestSupport::runProcess("/usr/bin/git", {"apply", "form.patch"}, m_directory.path()).exitStatus, 0);
    EXPECT_EQ(read("a.prefab"), CANONICAL);
}

TEST_F(RewriteCommand, diffWithCheck_failsIfThereIsOne) {
    EXPECT_EQ(run({"rewrite", "--check", "--diff", "a.prefab"}).exitStatus, 1);
    EXPECT_EQ(run({"rewrite", "--check", "--diff", "folder"}),
              (TestSupport::ProcessResult{0, "", "note: 0 of 1 file is not canonical\n"}));
}

TEST_F(RewriteCommand, fileThatIsNotWellFormed_isLeftWithItsPlaceReported) {
    write("c.prefab", "<a>\n<b></a>");
    EXPECT_EQ(run({"rewrite", "--in-place", "."}),
              (TestSupport::ProcessResult{2, "",
                                          "kiln-prefab: c.prefab:2:6: the file cannot be rewritten: Start-end tags "
                                          "mismatch\nnote: rewrote 1 of 3 files\n"}));
    EXPECT_EQ(read("c.prefab"), "<a>\n<b></a>");
    EXPECT_EQ(read("a.prefab"), CANONICAL);
}

TEST_F(RewriteCommand, missingFile_isReported) {
    EXPECT_EQ(run({"rewrite", "none.prefab"}),
              (TestSupport::ProcessResult{2, "", "kiln-prefab: none.prefab: the file is missing\n"}));
}

TEST_F(RewriteCommand, severalFiles_needAMode) {
    EXPECT_EQ(run({"rewrite", "."}),
              (TestSupport::ProcessResult{2, "",
                                          "kiln-prefab: The canonical forms of 2 files do not fit into one output; use "
                                          "--in-place, --check or --diff\n"}));
}

TEST_F(RewriteCommand, folderThatCannotBeWritten_keepsTheFile) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "The superuser may write everywhere.";
    }
    fs::permissions(m_directory.path(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(run({"rewrite", "--in-place", "a.prefab"}).exitStatus, 2);
    EXPECT_EQ(read("a.prefab"), OTHER_LAYOUT);
    fs::permissions(m_directory.path(), fs::perms::owner_all);
}

} // namespace

} // namespace Kiln::PrefabToolTests
