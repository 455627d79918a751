#include "check_fixture.h"

#include <kiln_prefab/check/result_cache.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CacheCommand : public CheckFixture {
protected:
    CacheCommand() {
        write("base.prefab", sound(1));
        write("outer.prefab", nesting(2, "base.prefab"));
        write("other.prefab", withUnknownType(3, "TagComponent"));
        write("broken.prefab", "<prefab>");
        write("empty.prefab", "");
    }

    [[nodiscard]] std::vector<fs::path> cacheFiles() const {
        std::vector<fs::path> files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_directory.path("cache"))) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
        return files;
    }

    /// Checks with the cache and expects the result of a check without it.
    void expectSameResult(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments{"--format", "json", "."};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const TestSupport::ProcessResult expected = check(arguments);
        arguments.insert(arguments.end(), {"--cache", "cache"});
        EXPECT_EQ(check(arguments), expected);
    }
};

TEST_F(CacheCommand, warmOutput_equalsColdOutput) {
    expectSameResult();
    EXPECT_EQ(cacheFiles().size(), 5U);
    expectSameResult();
    expectSameResult({"--jobs", "3", "--severity", "KP0301=error", "--ignore", "KP0102"});
    EXPECT_EQ(cacheFiles().size(), 5U);
}

TEST_F(CacheCommand, outputOfManyPrefabs_isTheSame) {
    for (const std::string folder : {"tests/scenarios", "samples"}) {
        fs::create_directories(m_directory.path(folder));
        fs::copy(KILN_SOURCE_DIR "/" + folder, m_directory.path(folder), fs::copy_options::recursive);
    }
    expectSameResult();
    expectSameResult();
    EXPECT_GT(cacheFiles().size(), 50U);
}

TEST_F(CacheCommand, changedFile_isTheOnlyOneThatIsReadAgain) {
    expectSameResult();
    write("base.prefab", PrefabText().object(id(9), "A").object(id(10), "B"));
    EXPECT_THAT(findings({"--cache", "cache", "outer.prefab"}), Not(IsEmpty()));
    EXPECT_EQ(cacheFiles().size(), 6U);
    expectSameResult();
}

TEST_F(CacheCommand, damagedFiles_areIgnored) {
    expectSameResult();
    for (const fs::path& file : cacheFiles()) {
        fs::resize_file(file, fs::file_size(file) / 2);
    }
    expectSameResult();
    for (const fs::path& file : cacheFiles()) {
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        stream.seekp(static_cast<std::streamoff>(fs::file_size(file) / 3));
        stream.put('\x7f');
    }
    expectSameResult();
    for (const fs::path& file : cacheFiles()) {
        fs::resize_file(file, 0);
    }
    expectSameResult();
}

TEST_F(CacheCommand, otherLibraries_haveResultsOfTheirOwn) {
    const std::vector<std::string> load{"--load", TEST_COMPONENTS};
    expectSameResult();
    expectSameResult(load);
    EXPECT_EQ(cacheFiles().size(), 10U);
    expectSameResult();
    expectSameResult(load);
    EXPECT_EQ(cacheFiles().size(), 10U);
}

TEST_F(CacheCommand, directoryThatCannotBeMade_isAnError) {
    const TestSupport::ProcessResult result = check({"--cache", "base.prefab", "."});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: Cannot make the directory 'base.prefab/"));
}

TEST(ResultCache, values_areKeptForOtherProcesses) {
    const TestSupport::TemporaryDirectory directory;
    const std::string value("a\0b", 3);
    PrefabTool::ResultCache cache(directory.path("cache"), 1);
    EXPECT_EQ(cache.find("key"), std::nullopt);
    cache.store("key", value);
    EXPECT_EQ(PrefabTool::ResultCache(directory.path("cache"), 1).find("key"), value);
    EXPECT_EQ(PrefabTool::ResultCache(directory.path("cache"), 2).find("key"), std::nullopt);
    EXPECT_NE(PrefabTool::loadedCodeHash(), 0U);
    EXPECT_EQ(PrefabTool::loadedCodeHash(), PrefabTool::loadedCodeHash());
}

TEST(FastHash, everyByteCounts) {
    std::string text(21, 'x');
    const std::uint64_t hash = PrefabInspection::fastHash(text);
    for (std::size_t index = 0; index < text.size(); ++index) {
        std::string changed = text;
        changed[index] = 'y';
        EXPECT_NE(PrefabInspection::fastHash(changed), hash) << index;
    }
    EXPECT_NE(PrefabInspection::fastHash(text + '\0'), hash);
    EXPECT_NE(PrefabInspection::fastHash(""), PrefabInspection::fastHash(std::string(1, '\0')));
}

} // namespace

} // namespace Kiln::PrefabToolTests
