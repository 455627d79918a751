// Runs `kiln-prefab check` in folders of prefabs and compares its reports with the expected ones. The folders of
// findings/ have the name of a code: `failing` has prefabs with that finding, `passing` nearly the same ones without
// any finding. `arguments.txt` in such a folder replaces the argument `.`. The folders of mistakes/ show typical
// mistakes of authors.
//
// With KILN_ACCEPT_GOLDENS=1 in the environment, the reports become the expected ones. Read the difference before it is
// committed: line and column of each value, and whether message and cure are true.

#include <build_paths.h>
#include <support/process_runner.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Kiln::PrefabToolTests {
namespace {

namespace fs = std::filesystem;

[[nodiscard]] std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

[[nodiscard]] std::vector<std::string> foldersIn(const char* name) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(KILN_SOURCE_DIR) / "tests/kiln_prefab" / name)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

[[nodiscard]] std::string nameOf(const testing::TestParamInfo<std::string>& tested) {
    std::string name = tested.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

class GoldenTest : public testing::TestWithParam<std::string> {
protected:
    explicit GoldenTest(const char* kind)
        : m_folder(fs::path(KILN_SOURCE_DIR) / "tests/kiln_prefab" / kind / GetParam()) {}

    /// Checks all prefabs of a folder.
    [[nodiscard]] TestSupport::ProcessResult check(const fs::path& folder, const std::string& format) const {
        std::vector<std::string> arguments{"check", "--load", KILN_BUILD_LIB_DIR "/libharbour_components.so",
                                           "--format", format};
        const std::string given = readFile(folder / "arguments.txt");
        std::istringstream others(given.empty() ? "." : given);
        for (std::string argument; others >> argument;) {
            arguments.push_back(argument);
        }
        return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/kiln-prefab", arguments, folder);
    }

    void expectReport(const fs::path& folder, const std::string& format, const std::string& expectedFile) const {
        const TestSupport::ProcessResult result = check(folder, format);
        if (std::getenv("KILN_ACCEPT_GOLDENS")) {
            std::ofstream(folder / expectedFile, std::ios::binary) << result.output;
        }
        EXPECT_EQ(result.output, readFile(folder / expectedFile)) << result.errors;
        EXPECT_NE(result.output, "");
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.exitStatus, testing::AnyOf(0, 1));
    }

    const fs::path m_folder;
};

class FindingGolden : public GoldenTest {
protected:
    FindingGolden() : GoldenTest("findings") {}

    [[nodiscard]] std::string code() const { return GetParam().substr(0, GetParam().find('_')); }
};

TEST_P(FindingGolden, failingFiles_haveTheExpectedReport) {
    expectReport(m_folder / "failing", "text", "expected.txt");
    EXPECT_THAT(readFile(m_folder / "failing/expected.txt"), testing::HasSubstr(code()));
}

TEST_P(FindingGolden, failingFiles_haveTheExpectedReportInJson) {
    expectReport(m_folder / "failing", "json", "expected.json");
    EXPECT_THAT(readFile(m_folder / "failing/expected.json"), testing::HasSubstr(code()));
}

TEST_P(FindingGolden, passingFiles_haveNoFinding) {
    const TestSupport::ProcessResult result = check(m_folder / "passing", "json");
    EXPECT_EQ(result.exitStatus, 0) << result;
    EXPECT_THAT(nlohmann::json::parse(result.output).at("findings"), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Codes, FindingGolden, testing::ValuesIn(foldersIn("findings")), nameOf);

class MistakeGolden : public GoldenTest {
protected:
    MistakeGolden() : GoldenTest("mistakes") {}
};

TEST_P(MistakeGolden, isReportedAsExpected) {
    expectReport(m_folder, "text", "expected.txt");
}

TEST_P(MistakeGolden, isReportedAsExpectedInJson) {
    expectReport(m_folder, "json", "expected.json");
}

INSTANTIATE_TEST_SUITE_P(Mistakes, MistakeGolden, testing::ValuesIn(foldersIn("mistakes")), nameOf);

} // namespace
} // namespace Kiln::PrefabToolTests
