// Documents that are nested deeper than a recursion could follow. Everything runs on a thread with a small stack, which
// a frame per level would overflow long before the last one.

#include <resource/data_section.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/log_capture.h>
#include <support/scoped_limits.h>

#include <pthread.h>

namespace Kiln {

namespace {

using TestSupport::ScopedLimits;

constexpr int DEPTH = 100'000;
constexpr std::size_t STACK_SIZE = 256 * 1024;

std::string nested(int depth, const std::string& innermost) {
    std::string xml;
    for (int i = 0; i < depth; ++i) {
        xml += "<a>";
    }
    xml += innermost;
    for (int i = 0; i < depth; ++i) {
        xml += "</a>";
    }
    return xml;
}

/// Runs the work without a limit of nesting.
void runOnSmallStack(std::function<void()> work) {
    const ScopedLimits limits({.elementDepth = DEPTH + 1});
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, STACK_SIZE), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

} // namespace

TEST(DeepDocument, isReadWalkedAndDestroyed) {
    const std::string xml = nested(DEPTH, "text");
    runOnSmallStack([&xml] {
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);
        int depth = 1;
        DataNode node = root->node();
        while (const DataNode child = node.firstChild()) {
            node = child;
            ++depth;
        }
        EXPECT_EQ(depth, DEPTH);
        EXPECT_EQ(node.text(), "text");
        EXPECT_EQ(root->node().text(), "");
    });
}

TEST(DeepDocument, withComments_losesSpaceBetweenElementsOnly) {
    const std::string xml = nested(DEPTH, " <a> <!-- c --> </a> <a/> ");
    runOnSmallStack([&xml] {
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);
        DataNode node = root->node();
        DataNode parent;
        while (const DataNode child = node.firstChild()) {
            parent = std::exchange(node, child);
        }
        EXPECT_EQ(node.text(), "  ");
        EXPECT_EQ(parent.text(), "");
    });
}

TEST(DeepDocument, deeperThanTheLimit_isRefused) {
    const std::string xml = nested(DEPTH + 2, "text");
    TestSupport::LogCapture log;
    runOnSmallStack([&xml] { EXPECT_FALSE(DataSection::fromText(xml, "test")); });

    EXPECT_THAT(log.errors(), testing::ElementsAre("XML error in 'test' at line 1, column 300004: Elements are nested "
                                                   "deeper than the limit of 100001"));
}

TEST(DeepDocument, truncated_isRefused) {
    const std::string xml = nested(DEPTH, "").substr(0, DEPTH * 5);
    TestSupport::LogCapture log;
    runOnSmallStack([&xml] { EXPECT_FALSE(DataSection::fromText(xml, "test")); });

    EXPECT_EQ(log.errors().size(), 1U);
}

TEST(DeepDocument, isBuiltInMemory) {
    runOnSmallStack([] {
        const auto root = DataSection::create("a");
        DataNode node = root->node();
        for (int i = 1; i < DEPTH; ++i) {
            node = node.append("a");
        }
        node.setText("text");
        EXPECT_EQ(node.text(), "text");
    });
}

// Indented text grows with the square of the depth, so the depth of this one is moderate, though still too much for a
// recursion on the small stack.
TEST(DeepDocument, isWritten) {
    constexpr int WRITTEN_DEPTH = 5'000;
    const std::string xml = nested(WRITTEN_DEPTH, "text");
    std::string text;
    runOnSmallStack([&] {
        const auto root = DataSection::fromText(xml, "test");
        ASSERT_TRUE(root);
        text = root->toText();
    });

    const std::size_t innermost = text.find("<a>text</a>\n");
    ASSERT_NE(innermost, std::string::npos);
    EXPECT_EQ(innermost - text.find_last_not_of('\t', innermost - 1) - 1, WRITTEN_DEPTH - 1U);
    EXPECT_TRUE(text.ends_with("\n</a>\n"));
}

} // namespace Kiln
