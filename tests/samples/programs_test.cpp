#include <build_paths.h>
#include <gtest/gtest.h>
#include <support/temporary_directory.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace Kiln::SamplesTest {

namespace {

struct Outcome {
    int status;
    std::string output; ///< What it wrote to stdout.
};

/// Runs a sample program on the samples of the source tree.
[[nodiscard]] Outcome runProgram(const std::string& program, const std::string& furtherArguments = "") {
    const std::string command =
        "'" KILN_BUILD_BIN_DIR "/" + program + "' '" KILN_SOURCE_DIR "/samples' " + furtherArguments;
    FILE* const pipe = popen(command.c_str(), "r");
    if (!pipe) {
        return {-1, ""};
    }
    Outcome result{0, ""};
    std::array<char, 4096> buffer;
    for (std::size_t size; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        result.output.append(buffer.data(), size);
    }
    result.status = pclose(pipe);
    return result;
}

/// The output that the program is to have: tests/samples/expected/<program>.txt.
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
    const Outcome result = runProgram(GetParam(), "'" + directory.path("file.prefab") + "'");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output, "");
    EXPECT_EQ(result.output, expected(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, SamplePrograms,
                         testing::Values("01_load_a_prefab", "02_load_under_a_parent", "03_own_components",
                                         "04_build_and_save_a_prefab", "05_overrides"),
                         [](const auto& program) { return "program_" + std::string(program.param); });

} // namespace Kiln::SamplesTest
