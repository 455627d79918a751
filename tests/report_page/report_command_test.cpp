#include <build_paths.h>
#include <kiln_prefab/report/report_page.h>
#include <support/prefab_text.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {
namespace {

using testing::HasSubstr;
using TestSupport::id;
using TestSupport::PrefabText;
using Json = nlohmann::json;

class ReportProgram : public testing::Test {
protected:
    void SetUp() override {
        if (!hasReportPage()) {
            GTEST_SKIP() << NO_REPORT_PAGE;
        }
        PrefabText lamp;
        lamp.root(id(1), "Lamp");
        lamp.child(id(2), "Bulb &lt;/script&gt;", id(1));
        m_directory.writeFile("lamp.prefab", lamp.text());
        PrefabText quay;
        quay.root(id(11), "Quay");
        quay.nested(id(12), "West", id(11), "lamp.prefab");
        quay.nested(id(13), "East", id(11), "lamp.prefab");
        m_directory.writeFile("quay.prefab", quay.text());
    }

    [[nodiscard]] TestSupport::ProcessResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "report");
        return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/kiln-prefab", arguments, m_directory.path());
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(std::filesystem::path(m_directory.path()) / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The data of the page that the program writes.
    [[nodiscard]] Json data(const std::vector<std::string>& paths) const {
        std::vector<std::string> arguments = paths;
        arguments.insert(arguments.end(), {"-o", "page.html"});
        const TestSupport::ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result;
        const std::string page = read("page.html");
        const std::string begin = R"(<script id="data" type="application/json">)";
        const std::size_t start = page.find(begin) + begin.size();
        return Json::parse(page.substr(start, page.find("</script>", start) - start));
    }

    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(ReportProgram, page_isWrittenWithANote) {
    const TestSupport::ProcessResult result = run({".", "-o", "page.html"});
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("wrote 2 prefabs and 0 findings to page.html\n"));
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(ReportProgram, page_isTheSameEachTimeAndForAnyNumberOfThreads) {
    ASSERT_EQ(run({".", "-o", "a.html", "--jobs", "1"}).exitStatus, 0);
    ASSERT_EQ(run({".", "-o", "b.html", "--jobs", "4"}).exitStatus, 0);
    EXPECT_EQ(read("a.html"), read("b.html"));
}

TEST_F(ReportProgram, numbers_areThoseOfWholeInstances) {
    const Json files = data({"."}).at("files");
    EXPECT_EQ(files.at("objects"), Json({2, 5}));
    EXPECT_EQ(files.at("instances"), Json({0, 2}));
    EXPECT_EQ(files.at("depth"), Json({0, 1}));
    EXPECT_EQ(files.at("bytes")[0], read("lamp.prefab").size());
}

TEST_F(ReportProgram, missingNestedPrefab_isAFileWithAProblemAndAFinding) {
    std::filesystem::remove(std::filesystem::path(m_directory.path()) / "lamp.prefab");
    const Json page = data({"quay.prefab"});
    const Json& files = page.at("files");
    EXPECT_EQ(page.at("strings")[files.at("problem")[0].get<std::size_t>()], "The file is missing");
    EXPECT_EQ(page.at("findings")[0].at("code"), "KP0106");
    EXPECT_EQ(page.at("blocks")[1].at("missing"), Json({1, 2}));
    EXPECT_EQ(files.at("objects")[1], 1);
}

TEST_F(ReportProgram, settings_decideWhichFindingsAreShown) {
    std::filesystem::remove(std::filesystem::path(m_directory.path()) / "lamp.prefab");
    EXPECT_EQ(data({"quay.prefab", "--ignore", "KP0106"}).at("findings"), Json::array());
}

TEST_F(ReportProgram, folderWithoutPrefabs_isAFailure) {
    std::filesystem::create_directory(std::filesystem::path(m_directory.path()) / "empty");
    const TestSupport::ProcessResult result = run({"empty", "-o", "page.html"});
    EXPECT_EQ(result.errors, "kiln-prefab: there is no prefab in 'empty'\n");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(read("page.html"), "");
}

TEST_F(ReportProgram, outputThatCannotBeWritten_isAFailure) {
    const TestSupport::ProcessResult result = run({".", "-o", "no/such/page.html"});
    EXPECT_EQ(result.errors, "kiln-prefab: 'no/such/page.html' cannot be written: No such file or directory\n");
    EXPECT_EQ(result.exitStatus, 2);
}

} // namespace
} // namespace Kiln::PrefabTool
