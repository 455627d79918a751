#include "check_fixture.h"

#include <filesystem>

#include <unistd.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CheckCommand : public CheckFixture {
protected:
    CheckCommand() {
        write("sound.prefab", sound(1));
        write("props/missing.prefab", nesting(10, "none.prefab"));
        write("props/unknown.prefab", withUnknownType(20));
    }

    [[nodiscard]] TestSupport::ProcessResult shell(const std::string& script) const {
        return TestSupport::runProcess("/bin/sh", {"-c", script, KILN_BUILD_BIN_DIR "/kiln-prefab"},
                                       m_directory.path());
    }
};

TEST_F(CheckCommand, soundFile_succeeds) {
    const TestSupport::ProcessResult result = check({"sound.prefab"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "No findings in 1 checked file.\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(CheckCommand, error_fails) {
    EXPECT_THAT(findings({"props/missing.prefab"}), ElementsAre("props/missing.prefab KP0106 error"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(CheckCommand, warning_failsOnlyIfStrict) {
    EXPECT_THAT(findings({"props/unknown.prefab"}), ElementsAre("props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_THAT(findings({"props/unknown.prefab", "--strict"}), ElementsAre("props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(CheckCommand, exitStatus_isTheSameForEveryFormat) {
    for (const std::string format : {"text", "json", "sarif", "junit", "github"}) {
        EXPECT_EQ(check({"--format", format, "sound.prefab"}).exitStatus, 0) << format;
        EXPECT_EQ(check({"--format", format, "props/unknown.prefab"}).exitStatus, 0) << format;
        EXPECT_EQ(check({"--format", format, "--strict", "props/unknown.prefab"}).exitStatus, 1) << format;
        EXPECT_EQ(check({"--format", format, "props/missing.prefab"}).exitStatus, 1) << format;
        EXPECT_EQ(check({"--format", format, "none"}).exitStatus, 2) << format;
    }
}

TEST_F(CheckCommand, folder_isCheckedWithAllFilesBeneath) {
    EXPECT_THAT(findings({"."}),
                ElementsAre("props/missing.prefab KP0106 error", "props/unknown.prefab KP0301 warning"));
}

TEST_F(CheckCommand, output_doesNotDependOnOrderFolderLocaleOrThreads) {
    const std::string expected = check({"--format", "json", "."}).output;
    const std::string program = KILN_BUILD_BIN_DIR "/kiln-prefab";
    EXPECT_THAT(expected, HasSubstr("\"props/missing.prefab\""));
    EXPECT_EQ(check({"--format", "json", "props/unknown.prefab", "sound.prefab", "props/missing.prefab"}).output,
              expected);
    EXPECT_EQ(check({"--format", "json", m_directory.path("props"), "sound.prefab", "props"}).output, expected);
    EXPECT_EQ(check({"--format", "json", "--jobs", "1", "."}).output, expected);
    EXPECT_EQ(check({"--format", "json", "--jobs", "7", "."}).output, expected);
    EXPECT_EQ(shell("LC_ALL=tr_TR.UTF-8 \"$0\" check --format json .").output, expected);
    EXPECT_EQ(shell("cd props && \"$0\" check --format json --root .. ..").output, expected);
    EXPECT_EQ(shell("cd / && \"$0\" check --format json --root " + m_directory.path(".") + " .").output, expected);
}

TEST_F(CheckCommand, missingPrefab_isAFinding) {
    EXPECT_THAT(findings({"none.prefab"}), ElementsAre("none.prefab KP0106 error"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(CheckCommand, wrongCommandLine_hasStatus2AndNoOutput) {
    const auto errorOf = [this](const std::vector<std::string>& arguments) {
        const TestSupport::ProcessResult result = check(arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.output, "");
        return result.errors;
    };
    EXPECT_EQ(errorOf({}), "kiln-prefab: PATH is required: a prefab file, a folder, or - for the standard input\n");
    EXPECT_EQ(errorOf({"none"}), "kiln-prefab: 'none' does not exist\n");
    EXPECT_EQ(errorOf({"--root", "props", "sound.prefab", "../sound.prefab"}),
              "kiln-prefab: 'sound.prefab' is outside of the resource roots; --root DIR adds DIR, and only files "
              "beneath a root are read\n");
    EXPECT_EQ(errorOf({"--ignore", "KP9", "."}), "kiln-prefab: There is no code 'KP9'\n");
    EXPECT_EQ(errorOf({"--only", "no-rot", "."}), "kiln-prefab: There is no code 'no-rot'; did you mean 'no-root'?\n");
    EXPECT_EQ(errorOf({"--severity", "KP0301", "."}),
              "kiln-prefab: 'KP0301' is not of the form CODE=LEVEL, where LEVEL is error, warning, note or off\n");
    EXPECT_EQ(errorOf({"--shard", "3/2", "."}), "kiln-prefab: '3/2' is not a shard, such as 1/4 (the first of four)\n");
    EXPECT_EQ(errorOf({"--fix", "-"}), "kiln-prefab: --fix, --watch and --merge need files; - is the standard input\n");
    EXPECT_EQ(errorOf({"\x1b[31m"}), "kiln-prefab: '\\x1b[31m' does not exist\n");
    EXPECT_THAT(errorOf({"--format", "xml", "."}), HasSubstr("Example: kiln-prefab check --root content content\n"));
    EXPECT_THAT(errorOf({"--dry-run", "."}), HasSubstr("--dry-run requires --fix"));
    EXPECT_THAT(errorOf({"--accept", "--shard", "1/2", "."}), HasSubstr("excludes"));
}

TEST_F(CheckCommand, severityOptions_changeWhatIsShownAndTheStatus) {
    EXPECT_THAT(findings({"--ignore", "KP0106", "."}), ElementsAre("props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_THAT(findings({"--only", "KP0301", "--only", "KP0401", "."}),
                ElementsAre("props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_THAT(findings({"--severity", "file-missing=note", "--severity", "KP0301=error", "."}),
                ElementsAre("props/missing.prefab KP0106 note", "props/unknown.prefab KP0301 error"));
    EXPECT_EQ(m_result.exitStatus, 1);
    EXPECT_THAT(findings({"--severity", "KP0106=off", "--severity", "KP0301=off", "."}), IsEmpty());
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(CheckCommand, unusedPrefabs_areReportedOnRequest) {
    write("user.prefab", nesting(30, "sound.prefab"));
    EXPECT_THAT(
        findings({"--only", "KP0606", "--unused", "."}),
        ElementsAre("props/missing.prefab KP0606 note", "props/unknown.prefab KP0606 note", "user.prefab KP0606 note"));
    EXPECT_EQ(m_result.exitStatus, 0);
}

TEST_F(CheckCommand, limit_keepsErrorsAndTotals) {
    EXPECT_THAT(findings({"--limit", "1", "--severity", "KP0301=error", "--severity", "KP0106=warning", "."}),
                ElementsAre("props/unknown.prefab KP0301 error"));
    EXPECT_EQ(Json::parse(m_result.output).at("totals").at("warnings"), 1);
    EXPECT_EQ(m_result.exitStatus, 1);
}

TEST_F(CheckCommand, outputFile_getsTheReport) {
    const std::string report = check({"--format", "sarif", "."}).output;
    const TestSupport::ProcessResult result = check({"--format", "sarif", "--output", "findings.sarif", "."});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(read("findings.sarif"), report);
    EXPECT_EQ(check({"--output", "none/findings", "."}).errors,
              "kiln-prefab: Cannot write 'none/findings': No such file or directory\n");
}

TEST_F(CheckCommand, standardInput_isCheckedUnderItsName) {
    const TestSupport::ProcessResult unnamed = shell("\"$0\" check - < props/missing.prefab");
    EXPECT_EQ(unnamed.exitStatus, 1);
    EXPECT_THAT(unnamed.output, HasSubstr("<stdin>:1:"));
    const TestSupport::ProcessResult named =
        shell("\"$0\" check --stdin-path ./props/new.prefab - < props/missing.prefab");
    EXPECT_EQ(named.exitStatus, 1);
    EXPECT_THAT(named.output, HasSubstr("props/new.prefab:1:"));
}

TEST_F(CheckCommand, standardInput_replacesTheFileForOthersThatNestIt) {
    write("outer.prefab", nesting(40, "sound.prefab"));
    const TestSupport::ProcessResult result =
        shell("\"$0\" check --stdin-path \"$PWD/sound.prefab\" - outer.prefab < props/unknown.prefab");
    EXPECT_EQ(result.exitStatus, 0) << result;
    EXPECT_THAT(result.output, HasSubstr("sound.prefab:1:"));
    EXPECT_THAT(result.output, HasSubstr("1 warning in 2 checked files."));
}

TEST_F(CheckCommand, folderThatCannotBeRead_doesNotStopTheOthers) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "The superuser can read every folder.";
    }
    fs::create_directory(m_directory.path("locked"));
    fs::permissions(m_directory.path("locked"), fs::perms::none);
    EXPECT_THAT(findings({"."}),
                ElementsAre("props/missing.prefab KP0106 error", "props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 2);
    EXPECT_EQ(m_result.errors, "kiln-prefab: Cannot read the folder 'locked': Permission denied\n");
    fs::permissions(m_directory.path("locked"), fs::perms::owner_all);
}

TEST_F(CheckCommand, filesThatCannotBeRead_doNotStopTheOthers) {
    write("broken.prefab", "<prefab>");
    write("empty.prefab", "");
    fs::create_symlink("nowhere", m_directory.path("dangling.prefab"));
    fs::create_symlink("/etc/passwd", m_directory.path("outside.prefab"));
    EXPECT_THAT(findings({"."}),
                ElementsAre("broken.prefab KP0101 error", "dangling.prefab KP0106 error", "empty.prefab KP0102 error",
                            "outside.prefab KP0107 error", "props/missing.prefab KP0106 error",
                            "props/unknown.prefab KP0301 warning"));
    EXPECT_EQ(m_result.exitStatus, 1);
}

} // namespace

} // namespace Kiln::PrefabToolTests
