// Checks the examples of the documentation: the first program of the README is built and run, other C++ examples are
// excerpts of samples, and XML examples load.

#include <build_paths.h>
#include <common/white_space.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <object_serialization/override_records.h>
#include <resource/data_section.h>
#include <support/log_capture.h>
#include <support/process_runner.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::SamplesTest {

namespace {

namespace fs = std::filesystem;

struct Example {
    std::string page;
    std::string language;
    std::string text;
};

[[nodiscard]] std::string readFile(const fs::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

[[nodiscard]] std::vector<fs::path> pages() {
    std::vector<fs::path> found{KILN_SOURCE_DIR "/README.md", KILN_SOURCE_DIR "/CHANGELOG.md",
                                KILN_SOURCE_DIR "/CONTRIBUTING.md", KILN_SOURCE_DIR "/SECURITY.md"};
    for (const auto& entry : fs::recursive_directory_iterator(KILN_SOURCE_DIR "/docs")) {
        if (entry.path().extension() == ".md") {
            found.push_back(entry.path());
        }
    }
    return found;
}

/// The fenced blocks of a language in all pages.
[[nodiscard]] std::vector<Example> examples(std::string_view language) {
    std::vector<Example> found;
    for (const fs::path& page : pages()) {
        std::istringstream lines(readFile(page));
        bool isInside = false;
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("```")) {
                if (isInside) {
                    found.back().text += line + "\n";
                }
            } else if (isInside) {
                isInside = false;
            } else {
                isInside = true;
                found.push_back({page.filename().string(), line.substr(3), ""});
            }
        }
    }
    std::erase_if(found, [&](const Example& example) { return example.language != language; });
    return found;
}

/// The page without its fenced blocks.
[[nodiscard]] std::string withoutExamples(const std::string& page) {
    std::string result;
    std::istringstream lines(page);
    bool isInside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("```")) {
            isInside = !isInside;
        } else if (!isInside) {
            result.append(line).append("\n");
        }
    }
    return result;
}

/// The targets of the links of a page: the part in parentheses of [text](target).
[[nodiscard]] std::vector<std::string> linkTargets(const std::string& page) {
    std::vector<std::string> targets;
    for (std::size_t end = 0; (end = page.find("](", end)) != std::string::npos;) {
        const std::size_t start = end + 2;
        end = page.find(')', start);
        targets.push_back(page.substr(start, end - start));
    }
    return targets;
}

/// The text without empty lines and without the white space around lines, which differs with the depth of nesting.
[[nodiscard]] std::string withoutLayout(const std::string& text) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string_view trimmed = trimWhiteSpace(line);
        if (!trimmed.empty()) {
            result.append(trimmed).append("\n");
        }
    }
    return result;
}

} // namespace

// The build extracts the program from README.md (tests/samples/CMakeLists.txt), so this runs the text of the page.
TEST(Documentation, firstExampleOfTheReadme_runsFromTheTopOfTheRepository) {
    const TestSupport::ProcessResult result =
        TestSupport::runProcess(KILN_BUILD_BIN_DIR "/readme_example", {}, KILN_SOURCE_DIR);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.output, "Lamp and 2 objects below it\n");
}

TEST(Documentation, otherCppExamples_areExcerptsOfSampleSources) {
    std::vector<std::string> sources;
    for (const auto& entry : fs::recursive_directory_iterator(KILN_SOURCE_DIR "/samples")) {
        const fs::path extension = entry.path().extension();
        if (extension == ".cpp" || extension == ".h") {
            sources.push_back(withoutLayout(readFile(entry.path())));
        }
    }
    std::vector<Example> found = examples("cpp");
    ASSERT_FALSE(found.empty());
    ASSERT_EQ(found.front().page, "README.md");
    found.erase(found.begin()); // Built and run by the test above.
    EXPECT_FALSE(found.empty());
    for (const Example& example : found) {
        EXPECT_THAT(sources, testing::Contains(testing::HasSubstr(withoutLayout(example.text))))
            << "in " << example.page;
    }
}

TEST(Documentation, prefabExamples_areReadWithoutAnyMessage) {
    std::size_t count = 0;
    for (const Example& example : examples("xml")) {
        const TestSupport::LogCapture log;
        const SmartPointer<DataSection> document = DataSection::fromText(example.text, example.page);
        ASSERT_TRUE(document) << "in " << example.page;
        if (document->sectionName() != "prefab") {
            continue;
        }
        std::vector<std::string> problems;
        Tessel::DeseriralizeErrorHandler handler;
        handler.callback = [&](const std::string& problem) { problems.push_back(problem); };
        EXPECT_FALSE(Tessel::GameObjectPrefab::loadHierarchy(document, &handler)->isEmpty()) << "in " << example.page;
        EXPECT_THAT(problems, testing::IsEmpty()) << "in " << example.page;
        EXPECT_THAT(log.texts(), testing::IsEmpty()) << "in " << example.page;
        ++count;
    }
    EXPECT_GT(count, 0U);
}

TEST(Documentation, overrideExamples_areReadWithoutAnyMessage) {
    std::size_t count = 0;
    for (const Example& example : examples("xml")) {
        if (example.text.starts_with("<overrides>")) {
            const TestSupport::LogCapture log;
            EXPECT_TRUE(OverrideRecords::create(example.text)) << "in " << example.page;
            EXPECT_THAT(log.texts(), testing::IsEmpty()) << "in " << example.page;
            ++count;
        }
    }
    EXPECT_GT(count, 0U);
}

TEST(Documentation, relativeLinks_leadToFilesOfTheRepository) {
    for (const fs::path& page : pages()) {
        for (const std::string& target : linkTargets(withoutExamples(readFile(page)))) {
            const std::string file = target.substr(0, target.find('#'));
            if (!file.empty() && !target.starts_with("https://")) {
                EXPECT_TRUE(fs::exists(page.parent_path() / file)) << page.filename() << " links to " << file;
            }
        }
    }
}

} // namespace Kiln::SamplesTest
