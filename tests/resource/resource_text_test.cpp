#include <resource/file_system_utils.h>
#include <resource/resource_limits.h>
#include <resource/resource_text.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

using FS::Utils::readResource;
using FS::Utils::ResourceText;
using testing::IsEmpty;

class ResourceTextTest : public testing::Test {
protected:
    ResourceTextTest() { FS::Utils::addResourceRoot(m_directory.path().string()); }
    ~ResourceTextTest() override {
        FS::Utils::clearResourceRoots();
        EXPECT_THAT(m_log.texts(), IsEmpty());
    }

    TestSupport::TemporaryDirectory m_directory;
    TestSupport::LogCapture m_log;
};

TEST_F(ResourceTextTest, file_isReadAsItIs) {
    m_directory.writeFile("a.prefab", "\xEF\xBB\xBF<a>\r\n</a>");
    const ResourceText text = readResource("a.prefab");
    EXPECT_EQ(text.status, ResourceText::Status::READ);
    EXPECT_EQ(text.content.text(), "\xEF\xBB\xBF<a>\r\n</a>");
}

TEST_F(ResourceTextTest, missingFile_hasNoProblemText) {
    const ResourceText text = readResource("gone.prefab");
    EXPECT_EQ(text.status, ResourceText::Status::MISSING);
    EXPECT_EQ(text.problem, "");
}

TEST_F(ResourceTextTest, pathThatLeadsOut_isOutside) {
    const ResourceText text = readResource("../gone.prefab");
    EXPECT_EQ(text.status, ResourceText::Status::OUTSIDE);
    EXPECT_EQ(text.problem, "is outside of the resource roots");
}

TEST_F(ResourceTextTest, directory_isNotRegular) {
    std::filesystem::create_directory(m_directory.path() / "folder");
    const ResourceText text = readResource("folder");
    EXPECT_EQ(text.status, ResourceText::Status::NOT_REGULAR);
    EXPECT_EQ(text.problem, "is a directory");
}

TEST_F(ResourceTextTest, fileBeyondTheLimit_failsWithTheLimit) {
    const ResourceLimits limits = resourceLimits();
    m_directory.writeFile("a.prefab", "<a></a>");
    ResourceLimits small = limits;
    small.fileSize = 3;
    setResourceLimits(small);
    const ResourceText text = readResource("a.prefab");
    setResourceLimits(limits);
    EXPECT_EQ(text.status, ResourceText::Status::FAILED);
    EXPECT_EQ(text.problem, "is larger than the limit of 3 bytes");
}

TEST_F(ResourceTextTest, malformedText_yieldsPositionAndDescription) {
    XmlProblem problem;
    EXPECT_FALSE(parseXml(FileContent::copyOf("<a>\n <b></a>"), "x.prefab", problem));
    EXPECT_EQ(problem.position, (DataPosition{2, 7}));
    EXPECT_EQ(problem.description, "Start-end tags mismatch");
    EXPECT_EQ(problem.message("x.prefab"), "XML error in 'x.prefab' at line 2, column 7: Start-end tags mismatch");
}

TEST_F(ResourceTextTest, wellFormedText_yieldsItsRoot) {
    XmlProblem problem;
    const SmartPointer<DataSection> root = parseXml(FileContent::copyOf("<a>1</a>"), "x.prefab", problem);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->sectionName(), "a");
    EXPECT_EQ(root->source(), "x.prefab");
}

} // namespace

} // namespace Kiln
