#include "help_reader.h"
#include "kiln_prefab_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace Kiln::PrefabToolTests {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

class Completions : public KilnPrefabFixture {
protected:
    [[nodiscard]] std::string script(const std::string& shell) const { return run({"completions", shell}).output; }

    [[nodiscard]] std::vector<std::string> commands() const {
        const std::string help = run({"help"}).output;
        std::vector<std::string> all = commandNames(help, "Commands");
        const std::vector<std::string> others = commandNames(help, "About the program");
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }

    /// Runs a shell that checks the syntax of its completions; skips the test if the shell is not installed.
    void expectSyntax(const std::string& shell, const std::string& program) const {
        if (!std::filesystem::exists(program)) {
            GTEST_SKIP() << program << " is not installed";
        }
        write("script", script(shell));
        const TestSupport::ProcessResult result = TestSupport::runProcess(program, {"-n", m_directory.path("script")});
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_THAT(result.output + result.errors, IsEmpty());
    }

    /// What bash offers for the last of the words.
    [[nodiscard]] std::vector<std::string> offeredByBash(const std::vector<std::string>& words) const {
        write("script", script("bash"));
        std::string command = "compopt() { :; }\nsource ./script\nCOMP_WORDS=(kiln-prefab";
        for (const std::string& word : words) {
            command += " '" + word + "'";
        }
        command +=
            ")\nCOMP_CWORD=" + std::to_string(words.size()) + "\n_kiln_prefab\nprintf '%s\\n' \"${COMPREPLY[@]}\"";
        const TestSupport::ProcessResult result =
            TestSupport::runProcess("/bin/bash", {"-c", command}, m_directory.path());
        EXPECT_THAT(result.errors, IsEmpty());
        return lines(result.output);
    }
};

TEST_F(Completions, syntaxForBash_isRight) {
    expectSyntax("bash", "/bin/bash");
}
TEST_F(Completions, syntaxForZsh_isRight) {
    expectSyntax("zsh", "/usr/bin/zsh");
}
TEST_F(Completions, syntaxForFish_isRight) {
    expectSyntax("fish", "/usr/bin/fish");
}

TEST_F(Completions, bash_offersEveryCommand) {
    EXPECT_THAT(offeredByBash({""}), IsSupersetOf(commands()));
    EXPECT_THAT(offeredByBash({"spa"}), ElementsAre("spawn"));
}

TEST_F(Completions, bash_offersEveryOptionOfEveryCommand) {
    for (const std::string& command : commands()) {
        EXPECT_THAT(offeredByBash({command, "--"}),
                    testing::UnorderedElementsAreArray(optionNames(run({command, "--help"}).output)))
            << command;
    }
}

TEST_F(Completions, bash_offersTheValuesOfAnOption) {
    EXPECT_THAT(offeredByBash({"spawn", "--color", ""}), ElementsAre("auto", "always", "never"));
    EXPECT_THAT(offeredByBash({"spawn", "--color", "="}), ElementsAre("auto", "always", "never"));
    EXPECT_THAT(offeredByBash({"spawn", "--color", "=", "al"}), ElementsAre("always"));
    EXPECT_THAT(offeredByBash({"check", "--only", "KP010"}), Contains("KP0101"));
    EXPECT_THAT(offeredByBash({"help", "comp"}), ElementsAre("completions"));
}

TEST_F(Completions, bash_offersFilesAndDirectories) {
    write("content/a file.prefab", simplePrefab());
    write("contents.prefab", simplePrefab());
    EXPECT_THAT(offeredByBash({"spawn", "cont"}), testing::UnorderedElementsAre("content", "contents.prefab"));
    EXPECT_THAT(offeredByBash({"spawn", "content/"}), ElementsAre("content/a file.prefab"));
    EXPECT_THAT(offeredByBash({"spawn", "--root", "cont"}), ElementsAre("content"));
}

TEST_F(Completions, bash_offersNoOptionsBehindADoubleDash) {
    EXPECT_THAT(offeredByBash({"spawn", "--", "--co"}), ElementsAre(""));
}

TEST_F(Completions, zshAndFish_nameEveryOptionOfEveryCommand) {
    const std::string zsh = script("zsh");
    const std::string fish = script("fish");
    for (const std::string& command : commands()) {
        const std::size_t start = zsh.find("\n        " + command + ")\n");
        ASSERT_NE(start, std::string::npos) << command;
        const std::string part = zsh.substr(start, zsh.find("            ;;\n", start) - start);
        EXPECT_THAT(fish, HasSubstr(" -n '__fish_use_subcommand' -a " + command + " "));
        const std::vector<std::string> fishLines = lines(fish);
        for (const std::string& option : optionNames(run({command, "--help"}).output)) {
            EXPECT_THAT(part, testing::ContainsRegex("'\\*?" + option + "=?\\[")) << command;
            const auto isOfOption = [&](const std::string& line) {
                return line.starts_with("complete -c kiln-prefab -n '__fish_seen_subcommand_from " + command + "'") &&
                       line.find(" -l " + option.substr(2) + " ") != std::string::npos;
            };
            EXPECT_TRUE(std::any_of(fishLines.begin(), fishLines.end(), isOfOption)) << command << ' ' << option;
        }
    }
}

TEST_F(Completions, unknownShell_isAUsageError) {
    const TestSupport::ProcessResult result = run({"completions", "zhs"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(lines(result.errors).at(0), "kiln-prefab: SHELL: 'zhs' is none of bash, zsh, fish (did you mean 'zsh'?)");
}

TEST_F(Completions, generatedTexts_haveNoAbsolutePaths) {
    for (const std::string shell : {"bash", "zsh", "fish"}) {
        EXPECT_THAT(script(shell), Not(HasSubstr(m_directory.path().string())));
        EXPECT_THAT(script(shell), Not(HasSubstr(KILN_BUILD_BIN_DIR)));
    }
}

class Manual : public Completions {
protected:
    [[nodiscard]] std::string content(const std::string& file) const {
        std::ifstream stream(m_directory.path(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(Manual, pageOfTheProgram_namesEveryCommand) {
    const std::string page = run({"manual"}).output;
    for (const std::string& command : commands()) {
        const std::string escaped = std::regex_replace(command, std::regex("-"), "\\-");
        EXPECT_THAT(page, HasSubstr(".TP\n\\fB" + escaped + "\\fR\n"));
        EXPECT_THAT(page, HasSubstr(".BR kiln\\-prefab\\-" + escaped + " (1)"));
    }
}

TEST_F(Manual, pageOfACommand_namesEveryOption) {
    for (const std::string& command : commands()) {
        const std::string page = run({"manual", command}).output;
        for (std::string option : optionNames(run({command, "--help"}).output)) {
            for (std::size_t at = 0; (at = option.find('-', at)) != std::string::npos; at += 2) {
                option.insert(at, "\\");
            }
            EXPECT_THAT(page, HasSubstr("\\fB" + option + "\\fR")) << command;
        }
    }
}

TEST_F(Manual, writeTo_writesAllPages) {
    std::filesystem::create_directory(m_directory.path("man1"));
    const TestSupport::ProcessResult result = run({"manual", "--write-to", "man1"});
    EXPECT_EQ(result, (TestSupport::ProcessResult{0, "", ""}));
    EXPECT_EQ(content("man1/kiln-prefab.1"), run({"manual"}).output);
    for (const std::string& command : commands()) {
        EXPECT_EQ(content("man1/kiln-prefab-" + command + ".1"), run({"manual", command}).output);
    }
}

TEST_F(Manual, pages_areFormattedWithoutWarnings) {
    if (!std::filesystem::exists("/usr/bin/man") || !std::filesystem::exists("/usr/bin/groff")) {
        GTEST_SKIP() << "man and groff are not installed";
    }
    std::filesystem::create_directory(m_directory.path("man1"));
    ASSERT_EQ(run({"manual", "--write-to", "man1"}).exitStatus, 0);
    for (const std::filesystem::directory_entry& page : std::filesystem::directory_iterator(m_directory.path("man1"))) {
        const TestSupport::ProcessResult result =
            TestSupport::runProcess("/usr/bin/man", {"--warnings", "-E", "UTF-8", "-Z", "-l", page.path().string()});
        EXPECT_EQ(result.exitStatus, 0) << page.path();
        EXPECT_THAT(result.errors, IsEmpty()) << page.path();
    }
}

TEST_F(Manual, unknownCommand_isAUsageErrorThatNamesTheNearest) {
    const TestSupport::ProcessResult result = run({"manual", "spawm"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(lines(result.errors).at(0), "kiln-prefab: 'spawm' is no command (did you mean 'spawn'?)");
}

} // namespace

} // namespace Kiln::PrefabToolTests
