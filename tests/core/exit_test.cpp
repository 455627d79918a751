#include <build_paths.h>
#include <gtest/gtest.h>
#include <support/process_runner.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace Kiln::Tests {
namespace {

[[nodiscard]] TestSupport::ProcessResult runExitProgram(const char* mode) {
    setenv("KILN_EXIT_MODE", mode, 1); // NOLINT(concurrency-mt-unsafe): no other thread reads the environment
    return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/core_exit_program", {});
}

class Exit : public testing::TestWithParam<const char*> {};

TEST_P(Exit, processWithTasksUnderWay_endsCleanly) {
    const TestSupport::ProcessResult end = runExitProgram(GetParam());

    EXPECT_EQ(end, (TestSupport::ProcessResult{0, "finished\n", "[3] The log outlives static objects\n"}));
}

INSTANTIATE_TEST_SUITE_P(Modes, Exit,
                         testing::Values("older-state", "younger-state-and-guard", "exit-from-main", "without-tasks",
                                         "submit-from-static-destructor", "exit-from-task", "static-initialisation"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(ExitProgram, repeatedMessages_areCountedAtExitAndWrittenOneByOneAfterwards) {
    const TestSupport::ProcessResult end = runExitProgram("repeated-messages");

    EXPECT_EQ(end, (TestSupport::ProcessResult{0, "finished\n",
                                               "[4] again\n[4] again (repeated 1 time)\n[4] late\n[4] late\n"
                                               "[3] The log outlives static objects\n"}));
}

TEST(ExitProgram, unknownMode_fails) {
    const TestSupport::ProcessResult end = runExitProgram("no-such-mode");

    EXPECT_EQ(end, (TestSupport::ProcessResult{3, "", "FAILED: unknown mode\n"}));
}

} // namespace
} // namespace Kiln::Tests
