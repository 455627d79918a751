#include <prefab_editing/text_edits.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabEditingTests {

namespace {

using PrefabEditing::EditedText;
using PrefabEditing::TextEdit;

/// Applies the edits of a text to its original.
[[nodiscard]] std::string editedOriginal(const EditedText& text) {
    std::string result = text.original();
    for (auto edit = text.edits().rbegin(); edit != text.edits().rend(); ++edit) {
        result.replace(edit->offset, edit->size, edit->text);
    }
    return result;
}

TEST(EditedText, edits_areAppliedInTheOrderOfTheirOffsets) {
    EditedText text("one two three");
    EXPECT_EQ(text.apply({{8, 5, "3"}, {0, 3, "1"}}), 2U);
    EXPECT_EQ(text.text(), "1 two 3");
    EXPECT_EQ(text.original(), "one two three");
}

TEST(EditedText, overlappingEdit_isLeftOut) {
    EditedText text("abcdef");
    EXPECT_EQ(text.apply({{1, 3, "x"}, {3, 2, "y"}, {5, 1, "z"}}), 2U);
    EXPECT_EQ(text.text(), "axez");
}

TEST(EditedText, editThatTouchesAnother_isLeftOut) {
    EditedText text("abcdef");
    EXPECT_EQ(text.apply({{1, 2, "x"}, {3, 1, "y"}, {1, 2, "z"}}), 1U);
    EXPECT_EQ(text.text(), "axdef");
}

TEST(EditedText, editOutsideOfTheText_isLeftOut) {
    EditedText text("abc");
    EXPECT_EQ(text.apply({{4, 0, "x"}, {2, 2, "y"}, {1, static_cast<std::size_t>(-1), "z"}}), 0U);
    EXPECT_EQ(text.text(), "abc");
    EXPECT_EQ(text.apply({{3, 0, "d"}}), 1U);
    EXPECT_EQ(text.text(), "abcd");
}

TEST(EditedText, laterEdits_areRelativeToTheChangedText) {
    EditedText text("one two three");
    text.apply({{0, 3, "eleven"}});
    text.apply({{7, 3, "2"}});
    EXPECT_EQ(text.text(), "eleven 2 three");
    EXPECT_EQ(editedOriginal(text), text.text());
    ASSERT_EQ(text.edits().size(), 2U);
    EXPECT_EQ(text.edits()[1].offset, 4U);
    EXPECT_EQ(text.edits()[1].size, 3U);
}

TEST(EditedText, laterEditOfAChange_isJoinedWithIt) {
    EditedText text("one two three");
    text.apply({{4, 3, "second"}});
    text.apply({{2, 5, "_"}});
    EXPECT_EQ(text.text(), "on_ond three");
    ASSERT_EQ(text.edits().size(), 1U);
    EXPECT_EQ(editedOriginal(text), text.text());
}

TEST(EditedText, manyRandomEdits_composeToTheSameText) {
    std::mt19937 random(11);
    const auto below = [&random](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    for (int round = 0; round < 500; ++round) {
        EditedText text(std::string(40, 'o'));
        for (int pass = 0; pass < 4; ++pass) {
            std::vector<TextEdit> edits;
            for (std::size_t count = below(6); count > 0; --count) {
                edits.push_back(
                    {below(text.text().size() + 1), below(8), std::string(below(5), static_cast<char>('a' + pass))});
            }
            text.apply(edits);
            ASSERT_EQ(editedOriginal(text), text.text()) << "round " << round;
        }
    }
}

} // namespace

} // namespace Kiln::PrefabEditingTests
