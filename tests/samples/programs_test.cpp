#include <build_paths.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/packed_folder.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Kiln::SamplesTests {

namespace {

/// Runs a sample program on the samples of the source tree.
[[nodiscard]] TestSupport::ProcessResult runProgram(const std::string& program,
                                                    const std::string& furtherArgument = "") {
    std::vector<std::string> arguments{KILN_SOURCE_DIR "/samples"};
    if (!furtherArgument.empty()) {
        arguments.push_back(furtherArgument);
    }
    return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/" + program, arguments);
}

/// The expected output of the program: tests/samples/expected/<program>.txt.
[[nodiscard]] std::string expected(const std::string& program) {
    const std::ifstream file(KILN_SOURCE_DIR "/tests/samples/expected/" + program + ".txt", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

class SamplePrograms : public testing::TestWithParam<const char*> {};

TEST_P(SamplePrograms, run_succeedsWithTheExpectedOutput) {
    const TestSupport::TemporaryDirectory directory;
    const TestSupport::ProcessResult result = runProgram(GetParam(), directory.path("file.prefab"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.output, "");
    EXPECT_EQ(result.output, expected(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, SamplePrograms,
                         testing::Values("01_load_a_prefab", "02_load_under_a_parent", "03_own_components",
                                         "04_build_and_save_a_prefab", "05_overrides", "06_stream_a_world",
                                         "08_find_objects"),
                         [](const auto& program) { return "program_" + std::string(program.param); });

TEST(PackSample, packOfTheSamples_isLoadedFromTheCurrentDirectory) {
    const TestSupport::TemporaryDirectory directory;
    TestSupport::packFolder(KILN_SOURCE_DIR "/samples", directory.path("game.kilnpack"), false);
    const TestSupport::ProcessResult result =
        TestSupport::runProcess(KILN_BUILD_BIN_DIR "/07_load_from_a_pack", {}, directory.path());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, expected("07_load_from_a_pack"));
}

TEST(PackSample, packIsMissing_programFails) {
    const TestSupport::TemporaryDirectory directory;
    const TestSupport::ProcessResult result =
        TestSupport::runProcess(KILN_BUILD_BIN_DIR "/07_load_from_a_pack", {}, directory.path());
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, testing::HasSubstr("Cannot open the pack 'game.kilnpack': the file does not exist"));
}

} // namespace Kiln::SamplesTests
