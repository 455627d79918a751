#include <build_paths.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include <sys/wait.h>

namespace Kiln::Tests {
namespace {

struct ProgramEnd {
    int status = -1; ///< Exit status; -1 when the program did not exit by itself.
    std::string output;
};

/// Runs exit_program.cpp and collects what it writes to stdout and stderr.
ProgramEnd runExitProgram(const std::string& mode) {
    const std::string command = "KILN_EXIT_MODE=" + mode + " '" KILN_BUILD_BIN_DIR "/core_exit_program' 2>&1";
    std::FILE* const pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): a command of our own
    if (!pipe) {
        return {};
    }
    ProgramEnd end;
    std::array<char, 4096> buffer;
    while (const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        end.output.append(buffer.data(), length);
    }
    const int status = pclose(pipe);
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

class ExitTest : public testing::TestWithParam<const char*> {};

TEST_P(ExitTest, processWithTasksUnderWay_endsCleanly) {
    const ProgramEnd end = runExitProgram(GetParam());

    // Nothing else: a sanitizer's report would show here.
    EXPECT_EQ(end.output, "[3] The log outlives static objects\nfinished\n");
    EXPECT_EQ(end.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, ExitTest,
                         testing::Values("older-state", "younger-state-and-guard", "exit-from-main", "without-tasks",
                                         "submit-from-static-destructor", "exit-from-task", "static-initialisation"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(ExitProgram, unknownMode_fails) {
    const ProgramEnd end = runExitProgram("no-such-mode");

    EXPECT_EQ(end.output, "FAILED: unknown mode\n");
    EXPECT_EQ(end.status, 3);
}

} // namespace
} // namespace Kiln::Tests
