#include <build_paths.h>
#include <support/process_runner.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

[[nodiscard]] ProcessResult soak(const std::vector<std::string>& arguments) {
    return runProcess(KILN_BUILD_BIN_DIR "/soak", arguments);
}

TEST(Soak, shortRun_isCleanAndAccountsForEveryLoad) {
    const ProcessResult result = soak({"--seconds", "3", "--exits", "4"});

    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, testing::HasSubstr("4 processes left main during loads, all cleanly\n"));
    EXPECT_THAT(result.output, testing::HasSubstr("memory is flat\n"));
}

TEST(Soak, growingMemory_fails) {
    const ProcessResult result = soak({"--seconds", "1", "--loads", "1000", "--leak", "500000"});

    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, testing::HasSubstr("FAILED: memory grows\n"));
}

TEST(Soak, unknownOption_fails) {
    EXPECT_EQ(soak({"--no-such-option", "1"}), (ProcessResult{1, "", "FAILED: unknown option --no-such-option\n"}));
}

} // namespace
} // namespace Kiln::TestSupport
