// Colour and progress, which depend on whether the streams are terminals.

#include "kiln_prefab_fixture.h"
#include "terminal_runner.h"

#include <kiln_prefab/terminal.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <thread>

#include <unistd.h>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabTool::ColorMode;
using PrefabTool::Style;
using PrefabTool::Terminal;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* ESCAPE = "\x1b[";

class TerminalOutput : public KilnPrefabFixture {
protected:
    TerminalOutput() { write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(77))); }

    /// Output of `kiln-prefab ARGUMENTS` on a terminal, with a setting of an environment variable.
    [[nodiscard]] std::string onTerminal(std::vector<std::string> arguments, const char* variable = "TERM",
                                         const char* value = "xterm") const {
        arguments.insert(arguments.begin(), "kiln-prefab");
        return outputOnTerminal([&] {
            std::vector<char*> argv;
            for (std::string& argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            unsetenv("NO_COLOR");
            setenv("TERM", "xterm", 1);
            setenv(variable, value, 1);
            if (chdir(m_directory.path().c_str()) == 0) {
                execv(KILN_BUILD_BIN_DIR "/kiln-prefab", argv.data());
            }
            return 127;
        });
    }
};

/// What a function writes on a terminal of that many columns by means of a Terminal.
[[nodiscard]] std::string written(const std::function<void(Terminal&)>& function, unsigned short columns = 80) {
    return outputOnTerminal(
        [&] {
            setenv("TERM", "xterm", 1);
            Terminal terminal(std::cout, std::cerr);
            function(terminal);
            std::cout.flush();
            return 0;
        },
        columns);
}

void waitForProgress() {
    std::this_thread::sleep_for(std::chrono::milliseconds(550));
}

TEST_F(TerminalOutput, onATerminal_isColoured) {
    EXPECT_THAT(onTerminal({"spawn", "a.prefab"}), HasSubstr("\x1b[1;35mwarning:\x1b[0m Game object 'B'"));
}

TEST_F(TerminalOutput, notOnATerminal_isNotColoured) {
    const TestSupport::ProcessResult result = spawn({"a.prefab"});
    EXPECT_THAT(result.errors, testing::StartsWith("warning: Game object 'B'"));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr(ESCAPE)));
}

TEST_F(TerminalOutput, colorAlways_coloursOutputThatIsNoTerminal) {
    EXPECT_THAT(spawn({"--color", "always", "a.prefab"}).errors, HasSubstr("\x1b[1;35mwarning:\x1b[0m "));
}

TEST_F(TerminalOutput, colorNever_doesNotColour) {
    EXPECT_THAT(onTerminal({"spawn", "--color", "never", "a.prefab"}), Not(HasSubstr(ESCAPE)));
}

TEST_F(TerminalOutput, noColor_doesNotColour) {
    EXPECT_THAT(onTerminal({"spawn", "a.prefab"}, "NO_COLOR", "1"), Not(HasSubstr(ESCAPE)));
}

TEST_F(TerminalOutput, emptyNoColor_hasNoEffect) {
    EXPECT_THAT(onTerminal({"spawn", "a.prefab"}, "NO_COLOR", ""), HasSubstr(ESCAPE));
}

TEST_F(TerminalOutput, colorAlways_takesPrecedenceOverNoColor) {
    EXPECT_THAT(onTerminal({"spawn", "--color", "always", "a.prefab"}, "NO_COLOR", "1"), HasSubstr(ESCAPE));
}

TEST_F(TerminalOutput, dumbTerminal_isNotColoured) {
    EXPECT_THAT(onTerminal({"spawn", "a.prefab"}, "TERM", "dumb"), Not(HasSubstr(ESCAPE)));
}

TEST_F(TerminalOutput, quiet_suppressesNotesButNoErrors) {
    write("b.prefab", PrefabText().object(id(1), "A").component("NodeComponent", 0));
    const std::string note = "note: skipped 1 component of unknown type 'NodeComponent'\n";
    EXPECT_EQ(spawn({"b.prefab"}).errors, note);
    EXPECT_THAT(spawn({"--quiet", "b.prefab"}).errors, IsEmpty());
    EXPECT_EQ(spawn({"--quiet", "gone.prefab"}).errors, spawn({"gone.prefab"}).errors);
}

TEST(Terminal, styledText_isPlainInAStreamThatIsNoTerminal) {
    std::ostringstream output;
    std::ostringstream errors;
    Terminal terminal(output, errors);
    EXPECT_EQ(terminal.styled("text", Style::ERROR), "text");
    terminal.setColorMode(ColorMode::ALWAYS);
    EXPECT_EQ(terminal.styled("text", Style::ERROR), "\x1b[1;31mtext\x1b[0m");
    EXPECT_EQ(terminal.styled("text", Style::PLAIN), "text");
}

TEST(Terminal, failuresAndNotes_areMadePrintable) {
    std::ostringstream output;
    std::ostringstream errors;
    Terminal terminal(output, errors);
    terminal.reportFailure("a\x1b[2Jb");
    terminal.note("c\nd");
    EXPECT_EQ(errors.str(), "kiln-prefab: a\\x1b[2Jb\nnote: c\\x0ad\n");
    EXPECT_THAT(output.str(), IsEmpty());
}

TEST(TerminalProgress, isShownOnceTheWorkHasTakenHalfASecond) {
    EXPECT_EQ(written([](Terminal& terminal) {
                  terminal.showProgress(1, 3, "a.prefab");
                  waitForProgress();
                  terminal.showProgress(2, 3, "b.prefab");
                  terminal.clearProgress();
              }),
              "\r\x1b[K2/3 b.prefab\r\x1b[K");
}

TEST(TerminalProgress, withoutTotal_isTheCount) {
    EXPECT_EQ(written([](Terminal& terminal) {
                  waitForProgress();
                  terminal.showProgress(7, 0, "a.prefab");
              }),
              "\r\x1b[K7 a.prefab");
}

TEST(TerminalProgress, isCutToTheWidthOfTheTerminal) {
    EXPECT_EQ(written(
                  [](Terminal& terminal) {
                      waitForProgress();
                      terminal.showProgress(1, 2, "gru\u00df/lamp.prefab");
                  },
                  11),
              "\r\x1b[K1/2 gru\u00df/");
}

TEST(TerminalProgress, escapesControlCharacters) {
    EXPECT_EQ(written([](Terminal& terminal) {
                  waitForProgress();
                  terminal.showProgress(1, 2, "a\x1b[2J.prefab");
              }),
              "\r\x1b[K1/2 a\\x1b[2J.prefab");
}

TEST(TerminalProgress, isErasedBeforeResultsAreWritten) {
    EXPECT_EQ(written([](Terminal& terminal) {
                  waitForProgress();
                  terminal.showProgress(1, 2, "a.prefab");
                  terminal.output() << "result\n";
              }),
              "\r\x1b[K1/2 a.prefab\r\x1b[Kresult\n");
}

TEST(TerminalProgress, isNotShownMoreThanTenTimesASecond) {
    const std::string output = written([](Terminal& terminal) {
        waitForProgress();
        terminal.showProgress(1, 9, "a.prefab");
        terminal.showProgress(2, 9, "b.prefab");
    });
    EXPECT_EQ(output, "\r\x1b[K1/9 a.prefab");
}

TEST(TerminalProgress, isNotShownWhenQuietOrOnADumbTerminal) {
    EXPECT_THAT(written([](Terminal& terminal) {
                    terminal.setQuiet(true);
                    waitForProgress();
                    terminal.showProgress(1, 2, "a.prefab");
                }),
                IsEmpty());
    EXPECT_THAT(written([](Terminal& terminal) {
                    setenv("TERM", "dumb", 1);
                    waitForProgress();
                    terminal.showProgress(1, 2, "a.prefab");
                }),
                IsEmpty());
}

TEST(TerminalProgress, isNotShownInAStreamThatIsNoTerminal) {
    std::ostringstream output;
    std::ostringstream errors;
    Terminal terminal(output, errors);
    waitForProgress();
    terminal.showProgress(1, 2, "a.prefab");
    EXPECT_THAT(errors.str(), IsEmpty());
}

} // namespace

} // namespace Kiln::PrefabToolTests
