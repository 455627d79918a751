#include <core/shared_text.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Kiln {

namespace {

static_assert(sizeof(SharedText) == sizeof(void*));

TEST(SharedTextContent, default_isEmpty) {
    EXPECT_EQ(SharedText().view(), "");
    EXPECT_STREQ(SharedText().view().data(), "");
}

TEST(SharedTextContent, emptyText_isTheDefault) {
    EXPECT_EQ(SharedText("").view().data(), SharedText().view().data());
}

TEST(SharedTextContent, text_isCopiedAndEndsWithANull) {
    std::string original = "lamp of the quay";
    const SharedText text(std::string_view(original).substr(0, 4));
    original[0] = 'd';
    EXPECT_EQ(text.view(), "lamp");
    EXPECT_STREQ(text.view().data(), "lamp");
}

TEST(SharedTextContent, nullCharacters_arePartOfTheText) {
    const std::string_view withNull("a\0b", 3);
    EXPECT_EQ(SharedText(withNull).view(), withNull);
}

TEST(SharedTextCopies, copy_sharesTheCharacters) {
    const SharedText text("lamp");
    const SharedText copy = text; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.view().data(), text.view().data());
}

TEST(SharedTextCopies, copy_outlivesTheOriginal) {
    SharedText copy;
    {
        const SharedText text("lamp");
        copy = text;
    }
    EXPECT_EQ(copy.view(), "lamp");
}

TEST(SharedTextCopies, move_leavesTheEmptyText) {
    SharedText text("lamp");
    const SharedText moved = std::move(text);
    EXPECT_EQ(moved.view(), "lamp");
    EXPECT_EQ(text.view(), ""); // NOLINT(bugprone-use-after-move)
}

TEST(SharedTextCopies, assignment_replacesTheText) {
    SharedText text("lamp");
    text = SharedText("buoy");
    EXPECT_EQ(text.view(), "buoy");
    const SharedText& itself = text;
    text = itself;
    EXPECT_EQ(text.view(), "buoy");
    text = SharedText();
    EXPECT_EQ(text.view(), "");
}

TEST(SharedTextThreads, copies_areMadeAndDestroyedOnAnyThread) {
    auto text = std::make_unique<SharedText>("lamp");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([text = *text] {
            for (int k = 0; k < 10'000; ++k) {
                const SharedText copy = text; // NOLINT(performance-unnecessary-copy-initialization)
                ASSERT_EQ(copy.view(), "lamp");
            }
        });
    }
    text.reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

} // namespace Kiln
