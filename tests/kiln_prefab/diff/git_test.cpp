#include "../kiln_prefab_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A repository with two revisions of a prefab and of one that it nests.
class DiffWithGit : public KilnPrefabFixture {
protected:
    DiffWithGit() {
        setenv("GIT_CONFIG_GLOBAL", "/dev/null", 1);
        setenv("GIT_CONFIG_SYSTEM", "/dev/null", 1);
        setenv("GIT_AUTHOR_DATE", "2020-01-01T00:00:00Z", 1);
        setenv("GIT_COMMITTER_DATE", "2020-01-01T00:00:00Z", 1);
        for (const char* const name : {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE", "GIT_EXTERNAL_DIFF"}) {
            unsetenv(name);
        }
    }

    void SetUp() override {
        git({"init", "--quiet"});
        write("content/harbour.prefab", harbour("Lamp"));
        write("content/inner.prefab", PrefabText().object(id(5), "Inner"));
        commit("First");
        write("content/harbour.prefab", harbour("Gate lamp"));
        write("content/inner.prefab", PrefabText().object(id(5), "Inner", 2));
        commit("Second");
    }

    [[nodiscard]] static PrefabText harbour(const std::string& name) {
        return PrefabText().object(id(1), "Harbour").object(id(2), name).parent(1, id(1)).nest(1, "inner.prefab");
    }

    std::string git(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"git", "-c", "user.name=Test", "-c", "user.email=test@example.com"});
        const TestSupport::ProcessResult result =
            TestSupport::runProcess("/usr/bin/env", arguments, m_directory.path());
        EXPECT_EQ(result.exitStatus, 0) << result;
        return result.output;
    }

    void commit(const std::string& subject) const {
        git({"add", "--all"});
        git({"commit", "--quiet", "-m", subject});
    }

    /// The set-up of the documentation, with the program of this build.
    void setUpDriver() const {
        git({"config", "diff.kiln-prefab.command", KILN_BUILD_BIN_DIR "/kiln-prefab diff --git-external --"});
        git({"config", "diff.kiln-prefab.textconv", KILN_BUILD_BIN_DIR "/kiln-prefab diff --textconv --"});
        write(".gitattributes", "*.prefab diff=kiln-prefab\n");
    }
};

constexpr const char* RENAMED = "~ Harbour/Gate lamp (00000000-0000-0000-0000-000000000002)\n"
                                "    ~ renamed: Lamp -> Gate lamp\n";

TEST_F(DiffWithGit, revision_isTheFirstSide) {
    const TestSupport::ProcessResult result = run({"diff", "--git", "HEAD~1", "content/harbour.prefab"});
    EXPECT_EQ(result, (TestSupport::ProcessResult{1, RENAMED, ""}));
    EXPECT_EQ(run({"diff", "--git", "HEAD", "content/harbour.prefab"}), (TestSupport::ProcessResult{0, "", ""}));
}

TEST_F(DiffWithGit, revisionInJson_isPartOfTheName) {
    const Json json =
        Json::parse(run({"diff", "--git", "HEAD~1", "--format", "json", "content/harbour.prefab"}).output);
    EXPECT_EQ(json.at("before"), "HEAD~1:content/harbour.prefab");
}

TEST_F(DiffWithGit, missingRevision_isNamed) {
    EXPECT_EQ(run({"diff", "--git", "v9", "content/harbour.prefab"}),
              (TestSupport::ProcessResult{2, "", "kiln-prefab: --git: the repository has no revision 'v9'\n"}));
    EXPECT_EQ(run({"diff", "--git=--all", "content/harbour.prefab"}),
              (TestSupport::ProcessResult{2, "", "kiln-prefab: --git: the repository has no revision '--all'\n"}));
}

TEST_F(DiffWithGit, fileThatTheRevisionDoesNotHave_isNamed) {
    write("content/new.prefab", simplePrefab());
    EXPECT_EQ(run({"diff", "--git", "HEAD", "content/new.prefab"}),
              (TestSupport::ProcessResult{
                  2, "", "kiln-prefab: --git: the revision 'HEAD' does not have the file 'content/new.prefab'\n"}));
}

TEST_F(DiffWithGit, withoutGit_isReported) {
    const TestSupport::ProcessResult result = TestSupport::runProcess(
        "/usr/bin/env",
        {"PATH=/nowhere", KILN_BUILD_BIN_DIR "/kiln-prefab", "diff", "--git", "HEAD", "content/harbour.prefab"},
        m_directory.path());
    EXPECT_EQ(result.errors, "kiln-prefab: git could not be started: No such file or directory\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(DiffWithGit, outsideOfARepository_isReported) {
    const TestSupport::TemporaryDirectory other;
    other.writeFile("a.prefab", simplePrefab());
    const TestSupport::ProcessResult result = run({"diff", "--git", "HEAD", other.path("a.prefab")});
    EXPECT_THAT(result.errors, StartsWith("kiln-prefab: --git: fatal: not a git repository"));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(DiffWithGit, composed_usesTheNestedFilesOfTheRevision) {
    const TestSupport::ProcessResult result =
        run({"diff", "--root", "content", "--composed", "--git", "HEAD~1", "content/harbour.prefab"});
    EXPECT_EQ(result.exitStatus, 1) << result;
    EXPECT_THAT(result.output, HasSubstr("    ~ renamed: Lamp -> Gate lamp\n"));
    EXPECT_THAT(result.output, HasSubstr("    ~ flags: none -> static (inherited from inner.prefab)\n"));
}

TEST_F(DiffWithGit, externalDiff_showsTheChanges) {
    setUpDriver();
    EXPECT_EQ(git({"diff", "HEAD~1", "HEAD", "--", "content/harbour.prefab"}),
              "prefab content/harbour.prefab\n" + std::string(RENAMED));
}

TEST_F(DiffWithGit, externalDiffOfNewAndDeletedFiles_namesThem) {
    setUpDriver();
    write("content/new.prefab", simplePrefab());
    std::filesystem::remove(m_directory.path() / "content/inner.prefab");
    git({"add", "--all"});
    const std::string output = git({"diff", "--cached"});
    EXPECT_THAT(output, HasSubstr("prefab content/new.prefab, new file\n"
                                  "~ the document\n"
                                  "    ~ root: none -> Root 00000000-0000-0000-0000-000000000001\n"
                                  "+ Root (00000000-0000-0000-0000-000000000001)\n"));
    EXPECT_THAT(output, HasSubstr("prefab content/inner.prefab, deleted file\n"
                                  "~ the document\n"
                                  "    ~ root: Inner 00000000-0000-0000-0000-000000000005 -> none\n"
                                  "- Inner (00000000-0000-0000-0000-000000000005)\n"));
}

TEST_F(DiffWithGit, externalDiffOfARenamedFile_hasBothNames) {
    setUpDriver();
    git({"mv", "content/harbour.prefab", "content/port.prefab"});
    EXPECT_EQ(git({"diff", "--cached", "-M"}), "prefab content/harbour.prefab renamed to content/port.prefab\n");
}

TEST_F(DiffWithGit, externalDiffOfAMalformedFile_doesNotStopGit) {
    setUpDriver();
    write("content/harbour.prefab", "<prefab>");
    write("content/inner.prefab", PrefabText().object(id(5), "Other", 2));
    const std::string output = git({"diff"});
    EXPECT_THAT(output, HasSubstr("content/harbour.prefab:1: the file is not well formed: "));
    EXPECT_THAT(output, HasSubstr("    ~ renamed: Inner -> Other\n"));
}

TEST_F(DiffWithGit, externalDiffWithOtherArguments_isAUsageError) {
    EXPECT_EQ(run({"diff", "--git-external", "a", "b"}),
              (TestSupport::ProcessResult{
                  2, "", "kiln-prefab: --git-external needs the 7 or 9 arguments that git passes, not 2\n"}));
    EXPECT_EQ(run({"diff", "--git-external", "a.prefab"}).output, "a.prefab is unmerged\n");
}

TEST_F(DiffWithGit, textconv_isUsedByShow) {
    setUpDriver();
    const std::string output = git({"show", "HEAD", "--", "content/harbour.prefab"});
    EXPECT_THAT(output, HasSubstr("\n-    name Lamp\n+    name Gate lamp\n"));
}

TEST_F(DiffWithGit, textconv_showsNothingForAnotherOrder) {
    setUpDriver();
    write("content/harbour.prefab", "<!-- same -->\n" + harbour("Gate lamp").text());
    EXPECT_THAT(git({"diff", "--no-ext-diff"}), testing::Not(HasSubstr("\n@@")));
}

} // namespace

} // namespace Kiln::PrefabToolTests
