#include "platform_access.h"

#include <resource/data_section.h>
#include <resource/file_system_utils.h>

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;

[[nodiscard]] std::vector<std::string> childrenOf(const DataSection& section) {
    std::vector<std::string> children;
    for (const auto& child : section) {
        children.push_back(sectionName(*child) + "=" + sectionText(*child));
    }
    return children;
}

TEST(DataSections, openSection_yieldsTheFirstOfThatNameOrNull) {
    const SmartPointer<DataSection> document = parseDocument("<prefab><a>1</a><b>2</b><a>3</a></prefab>");
    ASSERT_TRUE(document);
    const SmartPointer<DataSection> a = document->openSection("a", false);
    ASSERT_TRUE(a);
    EXPECT_EQ(sectionText(*a), "1");
    EXPECT_FALSE(document->openSection("c", false));
}

TEST(DataSections, iteration_visitsTheChildrenInOrder) {
    const SmartPointer<DataSection> document = parseDocument("<prefab><a>1</a><b>2</b><a>3</a></prefab>");
    ASSERT_TRUE(document);
    EXPECT_THAT(childrenOf(*document), testing::ElementsAre("a=1", "b=2", "a=3"));
    EXPECT_THAT(childrenOf(*document->openSection("b", false)), testing::IsEmpty());
}

TEST(DataSections, readString_yieldsTheTextByteForByte) {
    const SmartPointer<DataSection> document =
        parseDocument("<prefab><text> a &lt;b&gt; </text><data><![CDATA[<c>]]></data><empty></empty></prefab>");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->readString("text"), " a <b> ");
    EXPECT_EQ(document->readString("data"), "<c>");
    EXPECT_EQ(document->readString("empty"), "");
}

TEST(DataSections, readString_withoutThatChild_yieldsTheDefault) {
    const SmartPointer<DataSection> document = parseDocument("<prefab/>");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->readString("missing"), "");
    EXPECT_EQ(document->readString("missing", "default"), "default");
}

TEST(DataSections, section_keepsItsDocumentAlive) {
    SmartPointer<DataSection> document = parseDocument("<prefab><a><b>deep</b></a></prefab>");
    ASSERT_TRUE(document);
    const SmartPointer<DataSection> a = document->openSection("a", false);
    document.reset();
    EXPECT_EQ(a->readString("b"), "deep");
}

TEST(DataSections, oneDocument_isReadByManyThreads) {
    const SmartPointer<DataSection> document = parseDocument("<prefab><a><b>1</b><b>2</b></a></prefab>");
    ASSERT_TRUE(document);
    std::atomic<int> differencesCount{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&document, &differencesCount] {
            for (int round = 0; round < 1000; ++round) {
                const SmartPointer<DataSection> a = document->openSection("a", false);
                differencesCount += childrenOf(*a) == std::vector<std::string>{"b=1", "b=2"} ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differencesCount, 0);
}

TEST(ResourceFiles, openXmlSection_yieldsTheRootOnAnyThread) {
    writeResource("lamp.prefab", "<prefab><formatVersion>1</formatVersion></prefab>");
    std::string version;
    std::thread([&version] {
        if (const SmartPointer<DataSection> root = FS::Utils::openXmlSection("lamp.prefab", true)) {
            version = root->readString("formatVersion");
        }
    }).join();
    EXPECT_EQ(version, "1");
}

/// The product reports the missing file itself.
TEST(ResourceFiles, openXmlSection_missingFile_isNullAndSilent) {
    const LogCapture log;
    EXPECT_FALSE(FS::Utils::openXmlSection("missing.prefab", true));
    EXPECT_FALSE(FS::Utils::openXmlSection("", true));
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

TEST(ResourceFiles, openXmlSection_brokenFile_isNull) {
    const LogCapture log;
    writeResource("broken.prefab", "<prefab><formatVersion>");
    EXPECT_FALSE(FS::Utils::openXmlSection("broken.prefab", true));
}

} // namespace
} // namespace Conformance
