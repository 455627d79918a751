// What all commands have in common.

#include "help_reader.h"
#include "kiln_prefab_fixture.h"

#include <algorithm>
#include <set>

namespace Kiln::PrefabToolTests {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;
using testing::StartsWith;

/// The status for a wrong command line. To git, a lower one of a merge would mean conflicts.
[[nodiscard]] int usageStatus(const std::string& command) {
    return command == "merge" ? 129 : 2;
}

class Habits : public KilnPrefabFixture {
protected:
    [[nodiscard]] std::string programHelp() const { return run({"help"}).output; }
    [[nodiscard]] std::string helpOf(const std::string& command) const { return run({command, "--help"}).output; }

    /// The commands that read prefabs.
    [[nodiscard]] std::vector<std::string> commands() const { return commandNames(programHelp(), "Commands"); }

    [[nodiscard]] std::vector<std::string> allCommands() const {
        std::vector<std::string> all = commands();
        const std::vector<std::string> others = commandNames(programHelp(), "About the program");
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }
};

TEST_F(Habits, programHelp_listsTheCommands) {
    EXPECT_THAT(commands(), IsSupersetOf({"check", "spawn"}));
    EXPECT_THAT(allCommands(), IsSupersetOf({"help", "completions", "manual"}));
}

TEST_F(Habits, everyCommand_hasTheCommonOptions) {
    for (const std::string& command : commands()) {
        EXPECT_THAT(optionNames(helpOf(command)), IsSupersetOf({"--help", "--root", "--load", "--color", "--quiet"}))
            << command;
    }
}

TEST_F(Habits, everyCommandWithResults_hasFormats) {
    // The results of these are settings, UUIDs, changed files, packs or a page.
    const std::set<std::string> others{"add-nested", "config", "edit",   "explore", "move",   "new-uuids", "pack",
                                       "remove",     "rename", "report", "rewrite", "unpack", "uuid"};
    for (const std::string& command : commands()) {
        if (!others.contains(command)) {
            EXPECT_THAT(optionNames(helpOf(command)), Contains("--format")) << command;
        }
    }
}

TEST_F(Habits, helpOfEveryCommand_hasTwoExamplesWithOptionsThatExist) {
    for (const std::string& command : allCommands()) {
        const std::string help = helpOf(command);
        const std::vector<std::string> examples =
            matchingLines(sectionOf(help, "Examples"), "  (.*kiln-prefab " + command + ".*)");
        EXPECT_THAT(examples, SizeIs(testing::Ge(2U))) << command;
        for (const std::string& example : examples) {
            std::istringstream words(example);
            for (std::string word; words >> word;) {
                if (word.starts_with("--") && word != "--" && word != "--'") {
                    EXPECT_THAT(optionNames(help), Contains(word.substr(0, word.find('=')))) << example;
                }
            }
        }
    }
}

TEST_F(Habits, helpCommand_printsTheSameAsTheOption) {
    EXPECT_EQ(run({"help"}), run({"--help"}));
    for (const std::string& command : allCommands()) {
        EXPECT_EQ(run({"help", command}), run({command, "--help"}));
        EXPECT_EQ(run({"help", command}).exitStatus, 0);
    }
}

TEST_F(Habits, helpText_fitsIntoEightyColumnsExceptForExamples) {
    for (const std::string& command : allCommands()) {
        const std::string help = helpOf(command);
        for (const std::string& line : lines(help.substr(0, help.find("\nExamples:")))) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
}

TEST_F(Habits, unknownOption_isAUsageErrorWithAnExample) {
    for (const std::string& command : allCommands()) {
        const TestSupport::ProcessResult result = run({command, "--zzzzzzzzzz"});
        EXPECT_EQ(result.exitStatus, usageStatus(command)) << command;
        EXPECT_THAT(result.output, IsEmpty());
        const std::vector<std::string> messages = lines(result.errors);
        ASSERT_EQ(messages.size(), 3U) << result.errors;
        EXPECT_EQ(messages[0], "kiln-prefab: The following argument was not expected: --zzzzzzzzzz");
        EXPECT_THAT(messages[1], AllOf(StartsWith("Example: "), HasSubstr("kiln-prefab " + command)));
        EXPECT_EQ(messages[2], "Run kiln-prefab " + command + " --help for usage.");
    }
}

TEST_F(Habits, misspeltOption_isAUsageErrorThatNamesTheNearest) {
    for (const std::string& command : commands()) {
        EXPECT_EQ(lines(run({command, "--rot", "content"}).errors).at(0),
                  "kiln-prefab: The following argument was not expected: --rot (did you mean '--root'?)")
            << command;
        EXPECT_EQ(lines(run({command, "--colour=auto"}).errors).at(0),
                  "kiln-prefab: The following argument was not expected: --colour=auto (did you mean '--color'?)")
            << command;
    }
}

TEST_F(Habits, misspeltCommand_isAUsageErrorThatNamesTheNearest) {
    for (const std::string& command : allCommands()) {
        const std::string misspelt = command.substr(0, command.size() - 1);
        EXPECT_EQ(run({misspelt, "a.prefab"}).errors,
                  "kiln-prefab: The following argument was not expected: " + misspelt + " (did you mean '" + command +
                      "'?)\nExample: kiln-prefab help\nRun kiln-prefab with --help for usage.\n");
    }
}

TEST_F(Habits, misspeltValue_isAUsageErrorThatNamesTheNearest) {
    for (const std::string& command : commands()) {
        EXPECT_EQ(lines(run({command, "--color", "alway"}).errors).at(0),
                  "kiln-prefab: --color: 'alway' is none of auto, always, never (did you mean 'always'?)")
            << command;
    }
}

TEST_F(Habits, rootThatIsMissing_isAUsageError) {
    for (const std::string& command : commands()) {
        const TestSupport::ProcessResult result = run({command, "--root", "nowhere", "a.prefab"});
        EXPECT_EQ(result.exitStatus, usageStatus(command)) << command;
    }
}

TEST_F(Habits, version_isOneLine) {
    const TestSupport::ProcessResult result = run({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(std::regex_match(result.output, std::regex("kiln-prefab [0-9]+\\.[0-9]+\\.[0-9]+\n"))) << result.output;
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(Habits, helpOfACode_describesTheFinding) {
    const TestSupport::ProcessResult result = run({"help", "KP0101"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, StartsWith("KP0101 not-well-formed (error)\n"));
    EXPECT_EQ(run({"help", "kp0101"}), result);
}

TEST_F(Habits, helpOfAnUnknownTopic_isAUsageErrorThatNamesTheNearest) {
    const TestSupport::ProcessResult result = run({"help", "spwan"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors, "kiln-prefab: 'spwan' is neither a command nor the code of a finding (did you mean "
                             "'spawn'?)\nExample: kiln-prefab help spawn\nRun kiln-prefab help for a list.\n");
}

} // namespace

} // namespace Kiln::PrefabToolTests
