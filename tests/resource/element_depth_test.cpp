// The limit of nested elements.

#include <resource/data_section.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <support/scoped_limits.h>

namespace Kiln {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ScopedLimits;

std::string elementsWithin(int depth, const std::string& innermost = {}) {
    std::string xml;
    for (int level = 0; level < depth; ++level) {
        xml += "<a>";
    }
    xml += innermost;
    for (int level = 0; level < depth; ++level) {
        xml += "</a>";
    }
    return xml;
}

std::size_t depthOf(DataNode node) {
    std::size_t depth = 0;
    for (DataNode child = node.firstChild(); child; child = child.nextSibling()) {
        depth = std::max(depth, depthOf(child));
    }
    return depth + 1;
}

/// Random trees of elements, some with texts, comments and CDATA sections, some in long rows, some deep.
class TreeGenerator {
public:
    explicit TreeGenerator(unsigned seed) : m_random(seed) {}

    std::string tree(int maxDepth) {
        if (maxDepth == 1 || number(4) == 0) {
            return number(2) == 0 ? "<a/>" : "<b>" + text() + "</b>";
        }
        std::string xml = "<c>" + text();
        for (int children = number(8) == 0 ? number(14) : 1; children > 0; --children) {
            xml += tree(std::max(1, maxDepth - 1 - number(2) * number(maxDepth))) + text();
        }
        return xml + "</c>";
    }

private:
    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }

    std::string text() {
        switch (number(6)) {
        case 0:
            return "text";
        case 1:
            return "<!-- <d><d><d> -->";
        case 2:
            return "<![CDATA[</c></c>]]>";
        default:
            return {};
        }
    }

    std::mt19937 m_random;
};

} // namespace

TEST(ElementDepth, upToTheLimit_isRead) {
    TestSupport::LogCapture log;
    EXPECT_TRUE(DataSection::fromText(elementsWithin(1'000), "test"));
    EXPECT_TRUE(DataSection::fromText(elementsWithin(999, "<a/>"), "test"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ElementDepth, beyondTheLimit_isRefusedWithPosition) {
    TestSupport::LogCapture log;
    EXPECT_FALSE(DataSection::fromText(elementsWithin(1'001), "test"));
    EXPECT_FALSE(DataSection::fromText(elementsWithin(1'000, "<b/>\n<b/>"), "test"));
    EXPECT_FALSE(DataSection::fromText("<r>\n<a/>" + elementsWithin(999, "\n\t<b/>") + "</r>", "test"));

    EXPECT_THAT(
        log.texts(),
        ElementsAre("XML error in 'test' at line 1, column 3001: Elements are nested deeper than the limit of 1000",
                    "XML error in 'test' at line 1, column 3001: Elements are nested deeper than the limit of 1000",
                    "XML error in 'test' at line 3, column 2: Elements are nested deeper than the limit of 1000"));
}

TEST(ElementDepth, limitIsSettable) {
    TestSupport::LogCapture log;
    {
        const ScopedLimits limits({.elementDepth = 1});
        EXPECT_TRUE(DataSection::fromText("<a>text</a>", "test"));
        EXPECT_FALSE(DataSection::fromText("<a><b/></a>", "test"));
    }
    {
        const ScopedLimits limits({.elementDepth = 0});
        EXPECT_FALSE(DataSection::fromText("<a/>", "test"));
    }
    const ScopedLimits limits({.elementDepth = SIZE_MAX});
    EXPECT_TRUE(DataSection::fromText(elementsWithin(5'000), "test"));

    EXPECT_THAT(log.texts(),
                ElementsAre("XML error in 'test' at line 1, column 4: Elements are nested deeper than the limit of 1",
                            "XML error in 'test' at line 1, column 1: Elements are nested deeper than the limit of 0"));
}

// The check passes over what is too short to be that deep; this compares it with a plain count.
TEST(ElementDepth, randomTrees_areRefusedExactlyIfTheyAreTooDeep) {
    TestSupport::LogCapture log;
    int refused = 0;
    for (unsigned seed = 0; seed < 1'000; ++seed) {
        const std::string xml = TreeGenerator(seed).tree(12);
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root) << xml;
        const std::size_t depth = depthOf(root->node());
        for (std::size_t limit = 1; limit <= 12; ++limit) {
            const ScopedLimits limits({.elementDepth = limit});
            const bool isRead = DataSection::fromText(xml, "test") != nullptr;
            refused += isRead ? 0 : 1;
            ASSERT_EQ(isRead, depth <= limit) << "depth " << depth << ", limit " << limit << ": " << xml;
        }
    }
    EXPECT_GT(refused, 1'000);
}

} // namespace Kiln
