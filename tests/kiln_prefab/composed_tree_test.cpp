// What tree --composed shows must be what an instance of the prefab really has.

#include "kiln_prefab_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

constexpr const char* INSTANCE = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";

/// The directory of the corpus; empty without one.
[[nodiscard]] fs::path corpusDirectory() {
    const char* const given = std::getenv("KILN_CORPUS_DIR");
    const fs::path start = given ? fs::path(given) : fs::path(KILN_SOURCE_DIR).parent_path() / "shared" / "corpus";
    std::error_code error;
    if (fs::exists(start / "expected.json", error)) {
        return start;
    }
    std::vector<fs::path> folders;
    for (const fs::directory_entry& entry : fs::directory_iterator(start, error)) {
        if (fs::exists(entry.path() / "expected.json", error)) {
            folders.push_back(entry.path());
        }
    }
    return folders.empty() ? fs::path() : *std::min_element(folders.begin(), folders.end());
}

class ComposedTree : public KilnPrefabFixture {
protected:
    /// Name, UUID, parent and sorted components of each object.
    [[nodiscard]] static std::vector<std::string> summary(const Json& objects) {
        std::vector<std::string> result;
        for (const Json& object : objects) {
            std::vector<std::string> components = object.at("components");
            std::sort(components.begin(), components.end());
            result.push_back(object.at("name").dump() + object.at("uuid").dump() + object.at("parent").dump() +
                             Json(components).dump());
        }
        return result;
    }

    void expectAgreement(const fs::path& root, const std::string& file, const std::string& library) {
        SCOPED_TRACE(root.string() + " " + file);
        std::vector<std::string> common{"--root", root.string(), "--instance-uuid", INSTANCE, file};
        if (!library.empty()) {
            common.insert(common.end(), {"--load", KILN_BUILD_LIB_DIR "/" + library});
        }
        std::vector<std::string> spawnArguments = common;
        spawnArguments.insert(spawnArguments.begin(), {"spawn", "--json"});
        common.insert(common.begin(), {"tree", "--composed", "--components", "--format", "json"});
        const Json spawned = Json::parse(run(spawnArguments).output);
        const TestSupport::ProcessResult composed = run(common);
        if (spawned.at("objects").empty()) {
            EXPECT_EQ(composed.output, "");
            EXPECT_NE(composed.exitStatus, 0);
            ++m_failedCount;
            return;
        }
        ASSERT_NE(composed.output, "") << composed.errors;
        EXPECT_EQ(summary(Json::parse(composed.output).at("objects")), summary(spawned.at("objects")));
        m_objectsCount += spawned.at("objects").size();
        ++m_createdCount;
    }

    void expectAgreementBelow(const fs::path& root, const std::string& library) {
        std::vector<std::string> files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
            if (entry.path().extension() == ".prefab") {
                files.push_back(entry.path().lexically_relative(root).generic_string());
            }
        }
        std::sort(files.begin(), files.end());
        for (const std::string& file : files) {
            expectAgreement(root, file, library);
        }
    }

    std::size_t m_createdCount = 0;
    std::size_t m_failedCount = 0;
    std::size_t m_objectsCount = 0;
};

TEST_F(ComposedTree, harbourSample_agreesWithTheLoader) {
    expectAgreementBelow(KILN_SOURCE_DIR "/samples", "libharbour_components.so");
    EXPECT_EQ(m_createdCount, 10U);
    EXPECT_EQ(m_failedCount, 0U);
}

TEST_F(ComposedTree, scenarios_agreeWithTheLoader) {
    for (const fs::directory_entry& scenario : fs::directory_iterator(KILN_SOURCE_DIR "/tests/scenarios")) {
        expectAgreementBelow(scenario.path(), {});
    }
    EXPECT_GE(m_createdCount, 120U);
    EXPECT_GE(m_failedCount, 10U);
}

TEST_F(ComposedTree, corpus_agreesWithTheLoader) {
    const fs::path directory = corpusDirectory();
    if (directory.empty()) {
        GTEST_SKIP() << "There is no corpus; KILN_CORPUS_DIR can name its directory";
    }
    expectAgreementBelow(directory, "libcorpus_components.so");
    EXPECT_GE(m_objectsCount, 1'000U);
}

} // namespace

} // namespace Kiln::PrefabToolTests
