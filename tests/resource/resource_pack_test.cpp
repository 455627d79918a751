#include "pack_support.h"

#include <resource/resource_limits.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

using FS::Utils::addResourcePack;
using FS::Utils::openXmlSection;
using FS::Utils::readResource;
using FS::Utils::ResourceText;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::packedDocument;

class ResourcePackTest : public TestSupport::PackFixture {
protected:
    /// Writes a pack with one document, `<a>TEXT</a>`.
    std::string writeText(const std::string& name, const std::string& path, const std::string& text) const {
        return write(name, packedDocument(path, "<a>" + text + "</a>"));
    }

    [[nodiscard]] static std::string textOf(const std::string& path) {
        const SmartPointer<DataSection> section = openXmlSection(path, true);
        return section ? section->asString() : "null";
    }
};

TEST_F(ResourcePackTest, emptyPack_hasNoDocuments) {
    std::string problem;
    const SmartPointer<ResourcePack> pack =
        ResourcePack::open(write("empty.kilnpack", std::vector<PackDocument>()), problem);
    ASSERT_TRUE(pack) << problem;
    EXPECT_EQ(pack->documentsCount(), 0U);
    EXPECT_EQ(pack->find("a.prefab"), std::nullopt);
}

TEST_F(ResourcePackTest, documents_areSortedAndFound) {
    std::vector<PackDocument> documents;
    for (const char* const path : {"props/lamp.prefab", "a.prefab", "props.prefab"}) {
        documents.push_back(packedDocument(path, "<a/>"));
    }
    std::string problem;
    const SmartPointer<ResourcePack> pack = ResourcePack::open(write("a.kilnpack", std::move(documents)), problem);
    ASSERT_TRUE(pack) << problem;
    EXPECT_EQ(pack->document(0).path, "a.prefab");
    EXPECT_EQ(pack->document(1).path, "props.prefab");
    EXPECT_EQ(pack->find("props/lamp.prefab"), 2U);
    EXPECT_EQ(pack->find("props"), std::nullopt);
    EXPECT_EQ(pack->document(2).sourceChecksum, sourceChecksum("<a/>"));
}

TEST_F(ResourcePackTest, equalDocuments_yieldEqualBytes) {
    for (const bool isCompressed : {false, true}) {
        std::string first;
        for (const std::size_t threads : {1U, 2U, 7U}) {
            std::vector<PackDocument> documents;
            for (int i = 0; i < 50; ++i) {
                const int number = threads == 1 ? i : 49 - i;
                documents.push_back(packedDocument("file" + std::to_string(number) + ".prefab",
                                                   "<a><b>" + std::to_string(number % 7) + " x</b></a>"));
            }
            PackOptions options;
            options.isCompressed = isCompressed;
            options.threads = threads;
            const std::string bytes = bytesOf(write("a.kilnpack", std::move(documents), options));
            first = first.empty() ? bytes : first;
            EXPECT_EQ(bytes, first);
        }
    }
}

TEST_F(ResourcePackTest, samePathTwice_isRefused) {
    std::vector<PackDocument> documents;
    documents.push_back(packedDocument("a.prefab", "<a/>"));
    documents.push_back(packedDocument("a.prefab", "<a/>"));
    std::string problem;
    EXPECT_FALSE(writePack(m_directory.path("a.kilnpack"), std::move(documents), {}, problem));
    EXPECT_EQ(problem, "two documents have the path 'a.prefab'");
    EXPECT_FALSE(std::filesystem::exists(m_directory.path("a.kilnpack")));
}

TEST_F(ResourcePackTest, pathsThatLeadElsewhere_areRefused) {
    for (const char* const path : {"", "/a", "../a", "a/../b", "./a", "a//b", "a/", "a\nb"}) {
        PackDocument document = packedDocument(path, "<a/>");
        std::vector<PackDocument> documents;
        documents.push_back(std::move(document));
        std::string problem;
        EXPECT_FALSE(writePack(m_directory.path("a.kilnpack"), std::move(documents), {}, problem)) << path;
        EXPECT_THAT(problem, testing::StartsWith("a pack cannot have the path '")) << path;
    }
}

TEST_F(ResourcePackTest, looseFile_hasPrecedence) {
    FS::Utils::addResourceRoot(m_directory.path().string());
    m_directory.writeFile("a.prefab", "<a>loose</a>");
    std::vector<PackDocument> documents;
    documents.push_back(packedDocument("a.prefab", "<a>packed</a>"));
    documents.push_back(packedDocument("b.prefab", "<a>packed</a>"));
    addResourcePack(write("a.kilnpack", std::move(documents)));
    EXPECT_EQ(textOf("a.prefab"), "loose");
    EXPECT_EQ(textOf("b.prefab"), "packed");
}

TEST_F(ResourcePackTest, packThatWasAddedFirst_hasPrecedence) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "first"));
    addResourcePack(writeText("b.kilnpack", "a.prefab", "second"));
    EXPECT_EQ(textOf("a.prefab"), "first");
    EXPECT_THAT(FS::Utils::resourcePacks(),
                ElementsAre(m_directory.path("a.kilnpack"), m_directory.path("b.kilnpack")));
}

TEST_F(ResourcePackTest, missingDocument_isReportedUnlessTheCallerDoes) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "text"));
    EXPECT_FALSE(openXmlSection("b.prefab", true));
    EXPECT_THAT(m_log.texts(), IsEmpty());
    EXPECT_FALSE(openXmlSection("b.prefab", false));
    EXPECT_THAT(m_log.texts(), ElementsAre("File not found: 'b.prefab'"));
    m_log.clear();
}

TEST_F(ResourcePackTest, packsAlone_confinePaths) {
    const std::string outside = m_directory.writeFile("outside.prefab", "<a/>");
    addResourcePack(writeText("a.kilnpack", "a.prefab", "text"));
    EXPECT_FALSE(openXmlSection(outside, true));
    EXPECT_FALSE(openXmlSection("../a.prefab", true));
    EXPECT_FALSE(openXmlSection("x\n.prefab", true));
    EXPECT_THAT(m_log.texts(), ElementsAre("Cannot read '" + outside + "': is outside of the resource roots",
                                           "Cannot read '../a.prefab': is outside of the resource roots",
                                           "Cannot read 'x\\x0a.prefab': the path has a control character"));
    m_log.clear();
    EXPECT_EQ(FS::Utils::resolveResourcePath("a.prefab"), "");
}

TEST_F(ResourcePackTest, pathsAreNormalised) {
    addResourcePack(writeText("a.kilnpack", "props/a.prefab", "text"));
    EXPECT_EQ(textOf("./props//ships/../a.prefab"), "text");
    EXPECT_EQ(textOf("props/a.prefab/"), "null");
}

TEST_F(ResourcePackTest, withoutConfinement_packsAreSearchedLast) {
    FS::Utils::setPathConfinement(false);
    addResourcePack(writeText("a.kilnpack", "kiln_test_nowhere/a.prefab", "text"));
    EXPECT_EQ(textOf("kiln_test_nowhere/a.prefab"), "text");
    FS::Utils::setPathConfinement(true);
}

TEST_F(ResourcePackTest, replacedPack_servesNewLoadsOnly) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "old"));
    addResourcePack(writeText("b.kilnpack", "a.prefab", "other"));
    const SmartPointer<DataSection> old = openXmlSection("a.prefab", true);
    addResourcePack(writeText("a.kilnpack", "a.prefab", "new"));
    EXPECT_EQ(textOf("a.prefab"), "new");
    FS::Utils::clearResourcePacks();
    EXPECT_EQ(old->asString(), "old");
}

TEST_F(ResourcePackTest, packThatCannotBeOpened_changesNothing) {
    const std::string name = writeText("a.kilnpack", "a.prefab", "text");
    addResourcePack(name);
    m_directory.writeFile("a.kilnpack.new", "no pack");
    std::filesystem::rename(m_directory.path("a.kilnpack.new"), name);
    EXPECT_FALSE(addResourcePack(name));
    EXPECT_FALSE(addResourcePack(m_directory.path("missing.kilnpack")));
    EXPECT_FALSE(addResourcePack(m_directory.path().string()));
    EXPECT_THAT(
        m_log.texts(),
        ElementsAre("Cannot open the pack '" + name + "': it is not a pack",
                    "Cannot open the pack '" + m_directory.path("missing.kilnpack") + "': the file does not exist",
                    "Cannot open the pack '" + m_directory.path().string() + "': is a directory"));
    m_log.clear();
    EXPECT_EQ(textOf("a.prefab"), "text");
}

TEST_F(ResourcePackTest, readResource_yieldsADocumentForParseXml) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "text"));
    ResourceText text = readResource("a.prefab");
    ASSERT_EQ(text.status, ResourceText::Status::READ);
    EXPECT_EQ(text.content.text(), "");
    XmlProblem problem;
    EXPECT_EQ(parseXml(std::move(text.content), "a.prefab", problem)->asString(), "text");
    EXPECT_EQ(readResource("b.prefab").status, ResourceText::Status::MISSING);
}

TEST_F(ResourcePackTest, documentBeyondTheLimit_isRefused) {
    const ResourceLimits limits = resourceLimits();
    PackOptions options;
    options.isCompressed = true;
    addResourcePack(
        write("a.kilnpack", packedDocument("a.prefab", "<a>" + std::string(100'000, 'x') + "</a>"), options));
    EXPECT_LT(bytesOf(m_directory.path("a.kilnpack")).size(), 1000U);
    setResourceLimits({10'000, limits.elementDepth});
    const ResourceText text = readResource("a.prefab");
    setResourceLimits(limits);
    EXPECT_EQ(text.status, ResourceText::Status::FAILED);
    EXPECT_EQ(text.problem, "is larger than the limit of 10000 bytes");
}

TEST_F(ResourcePackTest, textThatManyElementsShare_countsForEachOfThem) {
    std::string text = "<a>";
    for (int i = 0; i < 100; ++i) {
        text += "<b>" + std::string(200, 'x') + "</b>";
    }
    text += "</a>";
    addResourcePack(write("a.kilnpack", packedDocument("a.prefab", text)));
    EXPECT_LT(bytesOf(m_directory.path("a.kilnpack")).size(), 2000U);
    const ResourceLimits limits = resourceLimits();
    setResourceLimits({100 * 201, limits.elementDepth}); // The name of the root is too much.
    const ResourceText refused = readResource("a.prefab");
    setResourceLimits({100 * 201 + 1, limits.elementDepth});
    const ResourceText read = readResource("a.prefab");
    setResourceLimits(limits);
    EXPECT_EQ(refused.status, ResourceText::Status::FAILED);
    EXPECT_EQ(refused.problem, "is larger than the limit of 20100 bytes");
    EXPECT_EQ(read.status, ResourceText::Status::READ);
}

TEST_F(ResourcePackTest, looseFileThatCannotBeRead_isNotReplaced) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "text"));
    std::filesystem::create_directories(m_directory.path("root/a.prefab"));
    FS::Utils::addResourceRoot(m_directory.path("root"));
    EXPECT_EQ(readResource("a.prefab").status, ResourceText::Status::NOT_REGULAR);
}

TEST_F(ResourcePackTest, packsWithoutFolders_noOtherFileIsRead) {
    addResourcePack(writeText("a.kilnpack", "a.prefab", "text"));
    const std::string loose = "loose_file_of_resource_pack_test.xml"; // In the current directory.
    std::ofstream(loose) << "<a/>";
    for (const bool isConfined : {true, false}) {
        FS::Utils::setPathConfinement(isConfined);
        EXPECT_EQ(FS::Utils::resolveResourcePath(loose), "");
        EXPECT_EQ(readResource(loose).status, ResourceText::Status::MISSING);
        EXPECT_EQ(readResource("a.prefab").status, ResourceText::Status::READ);
    }
    FS::Utils::setPathConfinement(true);
    std::filesystem::remove(loose);
}

TEST_F(ResourcePackTest, threads_openDocumentsWhileThePackIsReplaced) {
    PackOptions options;
    options.isCompressed = true;
    const std::string text = "<a>" + std::string(1000, 'x') + "</a>";
    const auto replace = [&](const std::string& second) {
        std::vector<PackDocument> documents;
        documents.push_back(packedDocument("a.prefab", text));
        documents.push_back(packedDocument("b.prefab", "<a>" + second + "</a>"));
        addResourcePack(write("a.kilnpack", std::move(documents), options));
    };
    replace("0");
    std::atomic<bool> isStopped{false};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!isStopped) {
                failures += textOf("a.prefab").size() == 1000 && textOf("b.prefab") != "null" ? 0 : 1;
            }
        });
    }
    for (int i = 1; i <= 50; ++i) {
        replace(std::to_string(i));
    }
    isStopped = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(textOf("b.prefab"), "50");
}

} // namespace

} // namespace Kiln
