// Which texts and files are read as documents, and the messages for those that are rejected.

#include <resource/data_section.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <sys/stat.h>
#include <unistd.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::TemporaryDirectory;

void expectRefused(std::string_view xml, const std::string& message) {
    SCOPED_TRACE(xml);
    LogCapture log;
    EXPECT_FALSE(DataSection::fromText(xml, "props/lamp.prefab"));
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages()[0].severity, LogSeverity::ERROR);
    EXPECT_EQ(log.messages()[0].text, "XML error in 'props/lamp.prefab' at " + message);
}

} // namespace

TEST(DataSectionParse, wellFormed_isReadSilently) {
    LogCapture log;
    const auto root = DataSection::fromText("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE prefab>\n"
                                            "<!-- c -->\n<prefab a=\"b\"><c/></prefab>\n<!-- c -->\n",
                                            "test");

    ASSERT_TRUE(root);
    EXPECT_EQ(root->sectionName(), "prefab");
    EXPECT_EQ(root->childrenCount(), 1U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(DataSectionParse, sourceText_isNotChanged) {
    const std::string xml = "<r>&lt;</r>";
    const auto root = DataSection::fromText(xml, "test");

    EXPECT_EQ(root->asString(), "<");
    EXPECT_EQ(xml, "<r>&lt;</r>");
}

TEST(DataSectionParse, byteOrderMark_isPassedOver) {
    const auto root = DataSection::fromText("\xef\xbb\xbf<r><a/></r>", "test");

    ASSERT_TRUE(root);
    EXPECT_EQ(root->position().line, 1U);
    EXPECT_EQ(root->position().column, 1U);
    EXPECT_EQ(root->openSection("a", false)->position().column, 4U);
}

TEST(DataSectionParse, noRoot_isRefused) {
    expectRefused("", "line 1, column 1: No root element");
    expectRefused("\xef\xbb\xbf", "line 1, column 1: No root element");
    expectRefused(" \n\t\n", "line 3, column 1: No root element");
    expectRefused("<?xml version=\"1.0\"?>\n<!-- nothing -->", "line 2, column 17: No root element");
}

TEST(DataSectionParse, secondRoot_isRefused) {
    expectRefused("<a/><b/>", "line 1, column 5: More than one root element");
    expectRefused("<a></a>\n\n  <a></a>", "line 3, column 3: More than one root element");
}

TEST(DataSectionParse, textOutsideTheRoot_isRefused) {
    expectRefused("text", "line 1, column 1: Text outside the root element");
    expectRefused("<a/>x", "line 1, column 5: Text outside the root element");
    expectRefused("<a/>\n\n  x\n", "line 3, column 3: Text outside the root element");
    expectRefused("x\n<a/>", "line 1, column 1: Text outside the root element");
    expectRefused("<!-- c -->\n x <a/>", "line 2, column 2: Text outside the root element");
    expectRefused("<a/>&lt;", "line 1, column 5: Text outside the root element");
    expectRefused("<![CDATA[x]]><a/>", "line 1, column 10: Text outside the root element");
}

TEST(DataSectionParse, nulByte_isRefused) {
    expectRefused(std::string_view("<a>\n\0</a>", 9), "line 2, column 1: NUL byte, not a text file");
    expectRefused(std::string_view("<a/>\0", 5), "line 1, column 5: NUL byte, not a text file");
    expectRefused(std::string_view("\xff\xfe<\0a\0/\0>\0", 10), "line 1, column 4: NUL byte, not a text file");
}

TEST(DataSectionParse, truncated_isRefused) {
    expectRefused("<a>\n\t<b>text", "line 2, column 8: Start-end tags mismatch");
    expectRefused("<a>\n\t<b>text</b>\n", "line 2, column 13: Start-end tags mismatch");
    expectRefused("<a>\n\t<b", "line 2, column 3: Error parsing start element tag");
    expectRefused("<a>\n\t</a", "line 2, column 4: Error parsing end element tag");
    expectRefused("<a/><", "line 1, column 5: Could not determine tag type");
    expectRefused("<a><!-- c", "line 1, column 9: Error parsing comment");
    expectRefused("<a><![CDATA[x", "line 1, column 13: Error parsing CDATA section");
}

TEST(DataSectionParse, everyTruncation_isRefused) {
    const std::string xml = "<?xml version=\"1.0\"?>\n<a x=\"y\">t<b/>&lt;<!-- c --><![CDATA[d]]><?pi q?></a>";
    for (std::size_t size = 0; size < xml.size(); ++size) {
        LogCapture log;
        EXPECT_FALSE(DataSection::fromText(std::string_view(xml).substr(0, size), "test")) << size;
        EXPECT_EQ(log.errors().size(), 1U) << size;
    }
    EXPECT_TRUE(DataSection::fromText(xml, "test"));
}

TEST(DataSectionParse, mismatchedTags_areRefused) {
    expectRefused("<a>\n<b>\n</a>\n</b>", "line 3, column 3: Start-end tags mismatch");
    expectRefused("</a>", "line 1, column 3: Start-end tags mismatch");
}

TEST(DataSectionParse, malformedTag_isRefused) {
    expectRefused("<a>\n < b/></a>", "line 2, column 3: Could not determine tag type");
    expectRefused("<a>\n<b x/></a>", "line 2, column 6: Error parsing element attribute");
}

TEST(DataSectionParse, percentSignsInNames_areNoFormat) {
    LogCapture log;
    EXPECT_FALSE(DataSection::fromText("", "100%s%n.prefab"));

    EXPECT_THAT(log.texts(), ElementsAre("XML error in '100%s%n.prefab' at line 1, column 1: No root element"));
}

TEST(DataSectionFile, file_isRead) {
    const TemporaryDirectory directory;
    const std::string file = directory.writeFile("lamp.prefab", "<prefab><name>Lamp</name></prefab>");
    const auto root = DataSection::fromFile(file, "props/lamp.prefab", true);

    ASSERT_TRUE(root);
    EXPECT_EQ(root->readString("name"), "Lamp");
    EXPECT_EQ(root->source(), "props/lamp.prefab");
}

TEST(DataSectionFile, largeFile_isReadWhole) {
    const TemporaryDirectory directory;
    std::string xml = "<r>";
    for (int i = 0; i < 50'000; ++i) {
        xml += "<item>" + std::to_string(i) + "</item>\n";
    }
    xml += "</r>";
    const auto root = DataSection::fromFile(directory.writeFile("large.xml", xml), "large.xml", true);

    ASSERT_TRUE(root);
    EXPECT_EQ(root->childrenCount(), 50'000U);
}

TEST(DataSectionFile, emptyFile_isRefused) {
    const TemporaryDirectory directory;
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(directory.writeFile("empty.prefab", ""), "empty.prefab", true));

    EXPECT_THAT(log.texts(), ElementsAre("XML error in 'empty.prefab' at line 1, column 1: No root element"));
}

TEST(DataSectionFile, malformedFile_isReportedUnderItsSourceName) {
    const TemporaryDirectory directory;
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(directory.writeFile("bad.prefab", "<a>\n</b>"), "props/bad.prefab", false));

    EXPECT_THAT(log.texts(),
                ElementsAre("XML error in 'props/bad.prefab' at line 2, column 3: Start-end tags mismatch"));
}

TEST(DataSectionFile, missingFile_isReportedOnRequest) {
    const TemporaryDirectory directory;
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(directory.path("none.prefab"), "props/none.prefab", false));
    EXPECT_THAT(log.texts(), IsEmpty());

    EXPECT_FALSE(DataSection::fromFile(directory.path("none.prefab"), "props/none.prefab", true));
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages()[0].severity, LogSeverity::ERROR);
    EXPECT_EQ(log.messages()[0].text, "File not found: 'props/none.prefab'");
}

TEST(DataSectionFile, fileTakenForADirectory_isMissing) {
    const TemporaryDirectory directory;
    const std::string file = directory.writeFile("lamp.prefab", "<prefab/>");
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(file + "/inner.prefab", "inner.prefab", true));

    EXPECT_THAT(log.texts(), ElementsAre("File not found: 'inner.prefab'"));
}

TEST(DataSectionFile, directory_isReported) {
    const TemporaryDirectory directory;
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(directory.path().string(), "props", false));

    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages()[0].severity, LogSeverity::ERROR);
    EXPECT_EQ(log.messages()[0].text, "Cannot read 'props': is a directory");
}

TEST(DataSectionFile, unreadableFile_isReported) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "permissions do not hold for the superuser";
    }
    const TemporaryDirectory directory;
    const std::string file = directory.writeFile("secret.prefab", "<prefab/>");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(file, "secret.prefab", false));

    EXPECT_THAT(log.texts(), ElementsAre("Cannot read 'secret.prefab': Permission denied"));
}

TEST(DataSectionFile, linkToItself_isReported) {
    const TemporaryDirectory directory;
    const std::string link = directory.path("loop.prefab");
    ASSERT_EQ(symlink(link.c_str(), link.c_str()), 0);
    LogCapture log;
    EXPECT_FALSE(DataSection::fromFile(link, "loop.prefab", false));

    EXPECT_THAT(log.texts(), ElementsAre("Cannot read 'loop.prefab': Too many levels of symbolic links"));
}

} // namespace Kiln
