#include <prefab_packing/packing.h>

#include <resource/file_system_utils.h>
#include <support/temporary_directory.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabPackingTests {

namespace {

using PrefabPacking::packFiles;
using PrefabPacking::PackingOptions;
using PrefabPacking::PackingResult;
using testing::ElementsAre;
using testing::IsEmpty;

class PackingTest : public testing::Test {
protected:
    PackingTest() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~PackingTest() override { FS::Utils::clearResourceRoots(); }

    void writeFiles(int count) {
        for (int i = 0; i < count; ++i) {
            const std::string path = "file" + std::to_string(i) + ".prefab";
            m_directory.writeFile(path, "<prefab><name>Object " + std::to_string(i % 5) + "</name><index>" +
                                            std::to_string(i) + "</index></prefab>");
            m_paths.push_back(path);
        }
    }

    /// Packs the files and returns the bytes.
    std::string pack(const PackingOptions& options, PackingResult& result) const {
        const std::string name = m_directory.path("game.kilnpack");
        result = packFiles(m_paths, name, options);
        EXPECT_THAT(result.problems, IsEmpty());
        std::ifstream stream(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TestSupport::TemporaryDirectory m_directory;
    std::vector<std::string> m_paths;
};

TEST_F(PackingTest, threadsAndOrder_doNotMatter) {
    writeFiles(40);
    PackingOptions options;
    options.threads = 1;
    PackingResult result;
    const std::string bytes = pack(options, result);
    options.threads = 4;
    std::reverse(m_paths.begin(), m_paths.end());
    EXPECT_EQ(pack(options, result), bytes);
}

TEST_F(PackingTest, update_yieldsTheBytesOfAFullRun) {
    writeFiles(20);
    for (const bool isCompressed : {false, true}) {
        PackingOptions options;
        options.isCompressed = isCompressed;
        options.keepsPositions = true;
        PackingResult result;
        static_cast<void>(pack(options, result));
        std::string problem;
        options.previous = ResourcePack::open(m_directory.path("game.kilnpack"), problem);
        ASSERT_TRUE(options.previous) << problem;

        m_directory.writeFile("file3.prefab", "<prefab><!-- changed --></prefab>");
        m_paths.push_back("new.prefab");
        m_directory.writeFile("new.prefab", "<prefab><name>New</name></prefab>");
        const std::string updated = pack(options, result);
        EXPECT_EQ(result.reusedCount, 19U);
        options.previous.reset();
        EXPECT_EQ(pack(options, result), updated);
        EXPECT_EQ(result.reusedCount, 0U);
        m_paths.pop_back();
        m_directory.writeFile("file3.prefab", "<prefab></prefab>");
    }
}

TEST_F(PackingTest, fileThatCannotBeRead_isReportedAndNothingIsWritten) {
    m_paths = {"missing.prefab", "../outside.prefab"};
    const PackingResult result = packFiles(m_paths, m_directory.path("game.kilnpack"), {});
    EXPECT_THAT(result.problems, ElementsAre("Cannot read 'missing.prefab': the file does not exist",
                                             "Cannot read '../outside.prefab': is outside of the resource roots"));
    EXPECT_FALSE(std::filesystem::exists(m_directory.path("game.kilnpack")));
}

TEST_F(PackingTest, packThatCannotBeWritten_isReported) {
    writeFiles(1);
    const std::string name = m_directory.path("missing/game.kilnpack");
    EXPECT_THAT(packFiles(m_paths, name, {}).problems,
                ElementsAre("Cannot write '" + name + "': No such file or directory"));
}

TEST_F(PackingTest, texts_areCounted) {
    writeFiles(2);
    m_directory.writeFile("broken.xml", "<a>");
    m_paths.push_back("broken.xml");
    PackingOptions options;
    options.keepsMalformed = true;
    PackingResult result;
    static_cast<void>(pack(options, result));
    EXPECT_EQ(result.textsCount, 1U);
}

TEST_F(PackingTest, malformedFile_isReportedAndNothingIsWritten) {
    writeFiles(1);
    m_directory.writeFile("broken.xml", "<a>");
    m_paths.push_back("broken.xml");
    const PackingResult result = packFiles(m_paths, m_directory.path("game.kilnpack"), {});
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_THAT(result.malformed,
                ElementsAre("XML error in 'broken.xml' at line 1, column 3: Start-end tags mismatch"));
    EXPECT_FALSE(std::filesystem::exists(m_directory.path("game.kilnpack")));
}

TEST_F(PackingTest, steps_areCountedUp) {
    writeFiles(3);
    std::vector<std::size_t> counts;
    std::vector<std::string> paths;
    PackingOptions options;
    options.threads = 2;
    options.onStep = [&](std::size_t count, const std::string& path) {
        counts.push_back(count);
        paths.push_back(path);
    };
    PackingResult result;
    static_cast<void>(pack(options, result));
    EXPECT_THAT(counts, ElementsAre(1, 2, 3, 4, 5, 6));
    std::vector<std::string> expected = m_paths;
    expected.insert(expected.end(), m_paths.begin(), m_paths.end());
    EXPECT_THAT(paths, testing::UnorderedElementsAreArray(expected));
}

} // namespace

} // namespace Kiln::PrefabPackingTests
