#include <resource/data_section.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <sys/stat.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::TemporaryDirectory;

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> filesIn(const std::filesystem::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

/// A text that went through a document, its XML form, and a document again.
std::string throughXml(const std::string& text) {
    const auto section = DataSection::create("r");
    section->writeString("text", text);
    const auto read = DataSection::fromText(section->toText(), "test");
    return read ? read->readString("text", "(absent)") : "(not well formed)";
}

} // namespace

TEST(DataSectionSave, toText_hasTheLayoutOfTheFormat) {
    const auto root = DataSection::create("prefab");
    root->writeUInt64("formatVersion", 1);
    const auto object = root->newSection("gameObjects")->newSection("gameObject");
    object->writeString("name", "Lamp by the gate");
    object->writeString("overridesData", "");
    root->newSection("components");

    EXPECT_EQ(root->toText(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                              "<prefab>\n"
                              "\t<formatVersion>1</formatVersion>\n"
                              "\t<gameObjects>\n"
                              "\t\t<gameObject>\n"
                              "\t\t\t<name>Lamp by the gate</name>\n"
                              "\t\t\t<overridesData></overridesData>\n"
                              "\t\t</gameObject>\n"
                              "\t</gameObjects>\n"
                              "\t<components></components>\n"
                              "</prefab>\n");
}

TEST(DataSectionSave, toText_ofASection_isTheWholeDocument) {
    const auto root = DataSection::create("r");
    const auto child = root->newSection("a");

    EXPECT_EQ(child->toText(), root->toText());
}

TEST(DataSectionSave, toText_ofAParsedDocument_isItsLayout) {
    const std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n\t<a>\n\t\t<b> x </b>\n\t</a>\n</r>\n";

    EXPECT_EQ(DataSection::fromText(xml, "test")->toText(), xml);
    EXPECT_EQ(DataSection::fromText("<r><a><b> x </b></a></r>", "test")->toText(), xml);
}

TEST(DataSectionSave, toText_commentsGoAndTheLayoutStays) {
    EXPECT_EQ(DataSection::fromText("<!-- 1 -->\n<r>\n  <!-- 2 -->\n  <a> </a>\n\n  <b>x<!-- 3 -->y</b></r>\n", "test")
                  ->toText(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n\t<a> </a>\n\t<b>xy</b>\n</r>\n");
}

TEST(DataSectionSave, toText_isStable) {
    const auto root = DataSection::fromText("<r><a>&lt;&amp;</a><b><![CDATA[<x>]]></b><c> \r\n</c></r>", "test");
    const std::string once = root->toText();

    EXPECT_EQ(DataSection::fromText(once, "test")->toText(), once);
}

TEST(DataSectionSave, text_isEscaped) {
    const auto root = DataSection::create("r");
    root->setString("<a b=\"c\">&'\x01");

    EXPECT_EQ(root->toText(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>&lt;a b=\"c\"&gt;&amp;'\x01</r>\n");
}

TEST(DataSectionSave, everyByte_survives) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string alone(1, static_cast<char>(byte));
        EXPECT_EQ(throughXml(alone), alone) << "byte " << byte;
        EXPECT_EQ(throughXml("a" + alone + alone + "b"), "a" + alone + alone + "b") << "byte " << byte;
    }
}

TEST(DataSectionSave, difficultTexts_survive) {
    for (const std::string text : {"",
                                   " ",
                                   "  \t\n",
                                   "\r",
                                   "\r\n",
                                   "\n\r",
                                   " leading",
                                   "trailing ",
                                   "\ttab\t",
                                   "\na\n",
                                   "]]>",
                                   "<![CDATA[x]]>",
                                   "<!-- c -->",
                                   "<?pi?>",
                                   "&amp;",
                                   "&lt;",
                                   "&#13;",
                                   "&",
                                   "a & b",
                                   "\"quoted\"",
                                   "'",
                                   "<a>\n\t<b/>\n</a>",
                                   "caf\xc3\xa9",
                                   "\xe6\xb8\xaf",
                                   "\xf0\x9f\x94\xa5",
                                   "\xef\xbb\xbf",
                                   "\x01\x02\x1f\x7f",
                                   "100%s"}) {
        EXPECT_EQ(throughXml(text), text);
    }
}

TEST(DataSectionSave, longText_survives) {
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        text += "<&\r\n \xc3\xa9" + std::to_string(i);
    }
    EXPECT_EQ(throughXml(text), text);
}

TEST(DataSectionSave, saveFile_writesTheText) {
    const TemporaryDirectory directory;
    LogCapture log;
    const auto root = DataSection::create("r");
    root->writeString("a", "x\r\ny");

    EXPECT_TRUE(root->saveFile(directory.path("new.prefab")));
    EXPECT_EQ(contentOf(directory.path("new.prefab")), root->toText());
    EXPECT_THAT(filesIn(directory.path()), ElementsAre("new.prefab"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(DataSectionSave, saveFile_replacesContentAndKeepsPermissions) {
    const TemporaryDirectory directory;
    const std::string file = directory.writeFile("old.prefab", std::string(10'000, 'x'));
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    const auto root = DataSection::create("r");

    EXPECT_TRUE(root->saveFile(file));
    EXPECT_EQ(contentOf(file), root->toText());
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(DataSectionSave, saveFile_throughALink_replacesWhatItLeadsTo) {
    const TemporaryDirectory directory;
    const std::string file = directory.writeFile("target/real.prefab", "old");
    std::filesystem::create_symlink("target/real.prefab", directory.path("link.prefab"));
    const auto root = DataSection::create("r");

    EXPECT_TRUE(root->saveFile(directory.path("link.prefab")));
    EXPECT_EQ(contentOf(file), root->toText());
    EXPECT_TRUE(std::filesystem::is_symlink(directory.path("link.prefab")));
}

TEST(DataSectionSave, saveFile_relativeName) {
    const TemporaryDirectory directory;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    const bool isSaved = DataSection::create("r")->saveFile("relative.prefab");
    std::filesystem::current_path(before);

    EXPECT_TRUE(isSaved);
    EXPECT_THAT(filesIn(directory.path()), ElementsAre("relative.prefab"));
}

TEST(DataSectionSave, saveFile_missingDirectory_fails) {
    const TemporaryDirectory directory;
    const std::string file = directory.path("none/a.prefab");
    LogCapture log;

    EXPECT_FALSE(DataSection::create("r")->saveFile(file));
    ASSERT_EQ(log.messages().size(), 1U);
    EXPECT_EQ(log.messages()[0].severity, LogSeverity::ERROR);
    EXPECT_EQ(log.messages()[0].text, "Cannot write '" + file + "': No such file or directory");
}

TEST(DataSectionSave, saveFile_directory_failsAndLeavesNoFile) {
    const TemporaryDirectory directory;
    directory.writeFile("folder/inner.prefab", "<r/>");
    LogCapture log;

    EXPECT_FALSE(DataSection::create("r")->saveFile(directory.path("folder")));
    EXPECT_THAT(log.texts(), ElementsAre("Cannot write '" + directory.path("folder") + "': is a directory"));
    EXPECT_THAT(filesIn(directory.path()), ElementsAre("folder"));
}

TEST(DataSectionSave, saveFile_device_isRefused) {
    LogCapture log;

    EXPECT_FALSE(DataSection::create("r")->saveFile("/dev/null"));
    EXPECT_THAT(log.texts(), ElementsAre("Cannot write '/dev/null': is not a regular file"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST(DataSectionSave, saveFile_whileOthersRead_isSeenAsAWhole) {
    const TemporaryDirectory directory;
    const std::string file = directory.path("shared.prefab");
    const auto small = DataSection::create("r");
    const auto large = DataSection::create("r");
    for (int i = 0; i < 2'000; ++i) {
        large->newSection("item");
    }
    ASSERT_TRUE(small->saveFile(file));

    LogCapture log;
    std::atomic<bool> isDone{false};
    std::thread writer([&] {
        for (int i = 0; i < 100; ++i) {
            (void)(i % 2 == 0 ? large : small)->saveFile(file);
        }
        isDone = true;
    });
    int brokenReads = 0;
    do {
        const auto read = DataSection::fromFile(file, "shared.prefab", true);
        if (!read || (read->childrenCount() != 0 && read->childrenCount() != 2'000)) {
            ++brokenReads;
        }
    } while (!isDone);
    writer.join();

    EXPECT_EQ(brokenReads, 0);
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(filesIn(directory.path()), ElementsAre("shared.prefab"));
}

} // namespace Kiln
