#include <resource/data_section.h>

#include <atomic>
#include <latch>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

static void PrintTo(const DataPosition& position, std::ostream* stream) {
    *stream << position.line << ":" << position.column;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> childNames(const DataSection& section) {
    std::vector<std::string> names;
    for (const SmartPointer<DataSection> child : section) {
        names.emplace_back(child->sectionName());
    }
    return names;
}

} // namespace

TEST(DataSection, create_isAnEmptyRoot) {
    const auto root = DataSection::create("prefab");

    EXPECT_EQ(root->sectionName(), "prefab");
    EXPECT_EQ(root->asString(), "");
    EXPECT_EQ(root->childrenCount(), 0U);
    EXPECT_EQ(root->source(), "");
    EXPECT_EQ(root->position(), (DataPosition{0, 0}));
}

TEST(DataSection, openSection_isTheFirstOfThatName) {
    const auto root = DataSection::fromText("<r><a>1</a><b>2</b><a>3</a></r>", "test");

    EXPECT_EQ(root->openSection("a", false)->asString(), "1");
    EXPECT_EQ(root->openSection("a", true)->asString(), "1");
    EXPECT_EQ(root->openSection("b", false)->asString(), "2");
    EXPECT_EQ(root->childrenCount(), 3U);
}

TEST(DataSection, openSection_absent_isNullOrMade) {
    const auto root = DataSection::fromText("<r><a/></r>", "test");

    EXPECT_FALSE(root->openSection("b", false));
    EXPECT_THAT(childNames(*root), ElementsAre("a"));
    EXPECT_EQ(root->openSection("b", true)->sectionName(), "b");
    EXPECT_THAT(childNames(*root), ElementsAre("a", "b"));
}

TEST(DataSection, openSection_twice_isOneElement) {
    const auto root = DataSection::fromText("<r><a/></r>", "test");
    root->openSection("a", false)->setString("text");

    EXPECT_EQ(root->openSection("a", false)->asString(), "text");
    EXPECT_EQ(root->openSection("a", false)->node(), root->openSection("a", false)->node());
}

TEST(DataSection, newSection_addsAnother) {
    const auto root = DataSection::fromText("<r><a>1</a></r>", "test");
    root->newSection("a")->setString("2");

    EXPECT_THAT(childNames(*root), ElementsAre("a", "a"));
    EXPECT_EQ(root->openSection("a", false)->asString(), "1");
}

TEST(DataSection, iteration_isInDocumentOrder) {
    EXPECT_THAT(childNames(*DataSection::fromText("<r><b/>x<a/><!-- --><b/></r>", "test")), ElementsAre("b", "a", "b"));
    EXPECT_THAT(childNames(*DataSection::fromText("<r>text</r>", "test")), IsEmpty());
}

TEST(DataSection, child_keepsTheDocumentAlive) {
    SmartPointer<DataSection> child;
    {
        const auto root = DataSection::fromText("<r><a><b>text</b></a></r>", "source name");
        child = root->openSection("a", false);
    }

    EXPECT_EQ(child->openSection("b", false)->asString(), "text");
    EXPECT_EQ(child->source(), "source name");
    EXPECT_EQ(child->position(), (DataPosition{1, 4}));
}

TEST(DataSection, position_isThatOfTheStartTag) {
    const auto root =
        DataSection::fromText("<?xml version=\"1.0\"?>\n<r>\n\t<a>text\nmore</a><b/>\r\n  <c\n/></r>", "test");

    EXPECT_EQ(root->position(), (DataPosition{2, 1}));
    EXPECT_EQ(root->openSection("a", false)->position(), (DataPosition{3, 2}));
    EXPECT_EQ(root->openSection("b", false)->position(), (DataPosition{4, 9}));
    EXPECT_EQ(root->openSection("c", false)->position(), (DataPosition{5, 3}));
}

TEST(DataSection, position_columnsCountBytes) {
    const auto root = DataSection::fromText("<r>\xc3\xa9<a/></r>", "test");

    EXPECT_EQ(root->openSection("a", false)->position(), (DataPosition{1, 6}));
}

TEST(DataSection, position_afterReferencesAndEdits_isThatOfTheOriginal) {
    const auto root = DataSection::fromText("<r><a>&lt;\n&lt;</a>\n<b/></r>", "test");
    root->writeString("a", "a much longer text\n\n\n\n");
    root->newSection("c");

    EXPECT_EQ(root->openSection("b", false)->position(), (DataPosition{3, 1}));
    EXPECT_EQ(root->openSection("a", false)->position(), (DataPosition{1, 4}));
    EXPECT_EQ(root->openSection("c", false)->position(), (DataPosition{0, 0}));
}

TEST(DataSection, position_inALongDocument) {
    std::string xml = "<r>\n";
    for (int i = 0; i < 100'000; ++i) {
        xml += "\t<item></item>\n";
    }
    const auto root = DataSection::fromText(xml + "</r>", "test");

    DataNode last = root->node().firstChild();
    while (last.nextSibling()) {
        last = last.nextSibling();
    }
    EXPECT_EQ(root->positionOf(last).line, 100'001U);
    EXPECT_EQ(root->positionOf(last).column, 2U);
    EXPECT_EQ(root->positionOf(DataNode()).line, 0U);
}

TEST(DataSection, manyThreadsRead_allSeeTheSame) {
    std::string xml = "<r>";
    for (int i = 0; i < 500; ++i) {
        xml += "<item>" + std::to_string(i) + "<!-- c --> &lt;<![CDATA[x]]></item>\n";
    }
    const auto root = DataSection::fromText(xml + "</r>", "test");
    ASSERT_TRUE(root);

    std::latch start(4);
    std::atomic<int> wrongReads{0};
    std::vector<std::thread> readers;
    for (int thread = 0; thread < 4; ++thread) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            std::size_t index = 0;
            for (const SmartPointer<DataSection> item : *root) {
                if (item->asString() != std::to_string(index) + " <x" || item->position().line != index + 1) {
                    ++wrongReads;
                }
                ++index;
            }
            if (index != 500 || root->openSection("item", false)->source() != "test" || root->toText().empty()) {
                ++wrongReads;
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(wrongReads, 0);
}

} // namespace Kiln
