#include <resource/file_system_utils.h>

#include <atomic>
#include <filesystem>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

namespace Kiln::FS::Utils {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FileSystemUtils : public testing::Test {
protected:
    FileSystemUtils() { clearResourceRoots(); }
    ~FileSystemUtils() override { clearResourceRoots(); }

    TestSupport::TemporaryDirectory m_first;
    TestSupport::TemporaryDirectory m_second;
    TestSupport::LogCapture m_log;
};

} // namespace

TEST_F(FileSystemUtils, roots_keepTheirOrder) {
    EXPECT_THAT(resourceRoots(), IsEmpty());
    addResourceRoot("b");
    addResourceRoot("a");

    EXPECT_THAT(resourceRoots(), ElementsAre("b", "a"));
    clearResourceRoots();
    EXPECT_THAT(resourceRoots(), IsEmpty());
}

TEST_F(FileSystemUtils, resolve_withoutRoots_isThePathItself) {
    EXPECT_EQ(resolveResourcePath("props/lamp.prefab"), "props/lamp.prefab");
    EXPECT_EQ(resolveResourcePath("/props/lamp.prefab"), "/props/lamp.prefab");
}

TEST_F(FileSystemUtils, resolve_absolutePath_isUsedUnchangedIfItIsInside) {
    addResourceRoot(m_first.path());
    const std::string file = m_first.writeFile("lamp.prefab", "<prefab/>");

    EXPECT_EQ(resolveResourcePath(file), file);
    EXPECT_EQ(resolveResourcePath(m_first.path("none.prefab")), m_first.path("none.prefab"));
    EXPECT_EQ(resolveResourcePath(m_second.writeFile("lamp.prefab", "<prefab/>").string()), "");
    EXPECT_EQ(resolveResourcePath("/none.prefab"), "");
}

TEST_F(FileSystemUtils, resolve_emptyPath_isNoDirectory) {
    addResourceRoot(m_first.path());

    EXPECT_EQ(resolveResourcePath(""), "");
}

TEST_F(FileSystemUtils, resolve_firstRootThatHasTheFileWins) {
    addResourceRoot(m_first.path());
    addResourceRoot(m_second.path());
    const std::string inSecond = m_second.writeFile("props/lamp.prefab", "<prefab/>");
    EXPECT_EQ(resolveResourcePath("props/lamp.prefab"), inSecond);

    const std::string inFirst = m_first.writeFile("props/lamp.prefab", "<prefab/>");
    EXPECT_EQ(resolveResourcePath("props/lamp.prefab"), inFirst);
}

TEST_F(FileSystemUtils, resolve_directoryIsNoFile) {
    addResourceRoot(m_first.path());
    addResourceRoot(m_second.path());
    std::filesystem::create_directories(m_first.path("lamp.prefab"));
    const std::string file = m_second.writeFile("lamp.prefab", "<prefab/>");

    EXPECT_EQ(resolveResourcePath("lamp.prefab"), file);
}

TEST_F(FileSystemUtils, resolve_noMatch_isUnderTheFirstRoot) {
    addResourceRoot(m_first.path());
    addResourceRoot(m_second.path());

    EXPECT_EQ(resolveResourcePath("none.prefab"), m_first.path("none.prefab"));
}

TEST_F(FileSystemUtils, resolve_rootThatEndsInASlash) {
    addResourceRoot(m_first.path().string() + "/");

    EXPECT_EQ(resolveResourcePath("lamp.prefab"), m_first.path("lamp.prefab"));
}

TEST_F(FileSystemUtils, openXmlSection_opensTheResource) {
    addResourceRoot(m_first.path());
    addResourceRoot(m_second.path());
    m_second.writeFile("props/lamp.prefab", "<prefab><name>Lamp</name></prefab>");
    const auto root = openXmlSection("props/lamp.prefab", true);

    ASSERT_TRUE(root);
    EXPECT_EQ(root->readString("name"), "Lamp");
    EXPECT_EQ(root->source(), "props/lamp.prefab");
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(FileSystemUtils, openXmlSection_missing_isReportedUnlessTheCallerDoes) {
    addResourceRoot(m_first.path());
    EXPECT_FALSE(openXmlSection("none.prefab", true));
    EXPECT_FALSE(openXmlSection("", true));
    EXPECT_THAT(m_log.texts(), IsEmpty());

    EXPECT_FALSE(openXmlSection("none.prefab", false));
    EXPECT_FALSE(openXmlSection("", false));
    EXPECT_THAT(m_log.errors(), ElementsAre("File not found: 'none.prefab'", "File not found: ''"));
}

TEST_F(FileSystemUtils, openXmlSection_malformedOrUnreadable_isAlwaysReported) {
    addResourceRoot(m_first.path());
    m_first.writeFile("props/bad.prefab", "<a>");
    EXPECT_FALSE(openXmlSection("props/bad.prefab", true));
    EXPECT_FALSE(openXmlSection("props", true));

    EXPECT_THAT(m_log.errors(),
                ElementsAre("XML error in 'props/bad.prefab' at line 1, column 3: Start-end tags mismatch",
                            "Cannot read 'props': is a directory"));
}

TEST_F(FileSystemUtils, rootsAddedWhileOthersOpen_everyOpenSucceeds) {
    addResourceRoot(m_first.path());
    m_first.writeFile("lamp.prefab", "<prefab/>");
    std::latch start(3);
    std::atomic<int> failures{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 100; ++round) {
                if (!openXmlSection("lamp.prefab", false) || resourceRoots().empty()) {
                    ++failures;
                }
            }
        });
    }
    start.arrive_and_wait();
    for (int i = 0; i < 50; ++i) {
        addResourceRoot(m_second.path());
    }
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(failures, 0);
    EXPECT_EQ(resourceRoots().size(), 51U);
}

} // namespace Kiln::FS::Utils
