#include <build_paths.h>
#include <support/process_runner.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

using testing::HasSubstr;

class StreamingStress : public testing::TestWithParam<const char*> {};

TEST_P(StreamingStress, randomOperations_everyRequestEndsOnceAndNothingIsLeft) {
    const ProcessResult result =
        runProcess(KILN_BUILD_BIN_DIR "/streaming_stress", {"--operations", "5000", "--seed", GetParam()});

    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, HasSubstr(" operations in 10 rounds and "));
}

INSTANTIATE_TEST_SUITE_P(Seeds, StreamingStress, testing::Values("1", "2", "3"),
                         [](const auto& seed) { return "seed_" + std::string(seed.param); });

TEST(StreamingStressProgram, unknownOption_fails) {
    EXPECT_EQ(runProcess(KILN_BUILD_BIN_DIR "/streaming_stress", {"--no-such-option", "1"}),
              (ProcessResult{1, "", "FAILED: : not true that --no-such-option is an option\n"}));
}

} // namespace
} // namespace Kiln::TestSupport
