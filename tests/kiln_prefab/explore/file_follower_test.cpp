#include <kiln_prefab/explore/file_follower.h>
#include <support/temporary_directory.h>
#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

using TestSupport::waitFor;

class FileFollowerTest : public testing::Test {
protected:
    [[nodiscard]] FileFollower follower(std::chrono::milliseconds settleTime) {
        return FileFollower([this] { return m_files; }, settleTime);
    }

    TestSupport::TemporaryDirectory m_directory;
    std::set<std::string> m_files{m_directory.path("a"), m_directory.path("b")};
};

TEST_F(FileFollowerTest, change_isReportedOnce) {
    FileFollower files = follower(std::chrono::milliseconds(0));
    EXPECT_FALSE(files.hasSettledChange());
    m_directory.writeFile("a", "text");
    EXPECT_TRUE(files.hasSettledChange());
    EXPECT_FALSE(files.hasSettledChange());
}

TEST_F(FileFollowerTest, change_isReportedAfterTheSettleTime) {
    FileFollower files = follower(std::chrono::milliseconds(50));
    m_directory.writeFile("a", "text");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitFor([&files] { return files.hasSettledChange(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(FileFollowerTest, changeThatIsTakenBack_isNone) {
    FileFollower files = follower(std::chrono::hours(1));
    m_directory.writeFile("a", "text");
    EXPECT_FALSE(files.hasSettledChange());
    std::filesystem::remove(m_directory.path("a"));
    EXPECT_FALSE(files.hasSettledChange());
}

TEST_F(FileFollowerTest, newFileInTheList_isAChangeUnlessItIsAdded) {
    m_directory.writeFile("c", "text");
    FileFollower files = follower(std::chrono::milliseconds(0));
    m_files.insert(m_directory.path("c"));
    files.addNewFiles();
    EXPECT_FALSE(files.hasSettledChange());
    m_files.insert(m_directory.path("d"));
    EXPECT_TRUE(files.hasSettledChange());
}

TEST_F(FileFollowerTest, changeBeforeTheNewFilesAreAdded_isNotLost) {
    FileFollower files = follower(std::chrono::milliseconds(0));
    m_directory.writeFile("a", "text");
    files.addNewFiles();
    EXPECT_TRUE(files.hasSettledChange());
}

} // namespace
} // namespace Kiln::PrefabTool
