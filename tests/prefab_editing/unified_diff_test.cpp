#include <prefab_editing/unified_diff.h>

#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabEditingTests {

namespace {

using PrefabEditing::EditedText;
using PrefabEditing::TextEdit;
using PrefabEditing::unifiedDiff;

[[nodiscard]] std::string diff(const std::string& original, const std::vector<TextEdit>& edits,
                               const std::string& path = "a.prefab") {
    EditedText text(original);
    text.apply(edits);
    return unifiedDiff(path, text);
}

TEST(UnifiedDiff, textWithoutChanges_hasNone) {
    EXPECT_EQ(diff("a\nb\n", {}), "");
    EXPECT_EQ(diff("a\nb\n", {{0, 1, "a"}}), "");
}

TEST(UnifiedDiff, changedLine_isShownWithThreeLinesAround) {
    EXPECT_EQ(diff("1\n2\n3\n4\n5\n6\n7\n8\n9\n", {{8, 1, "five"}}), "diff --git a/a.prefab b/a.prefab\n"
                                                                     "--- a/a.prefab\n"
                                                                     "+++ b/a.prefab\n"
                                                                     "@@ -2,7 +2,7 @@\n"
                                                                     " 2\n 3\n 4\n-5\n+five\n 6\n 7\n 8\n");
}

TEST(UnifiedDiff, changesInOneLine_areOneChange) {
    EXPECT_EQ(diff("abc\n", {{0, 1, "x"}, {2, 1, "y"}}), "diff --git a/a.prefab b/a.prefab\n"
                                                         "--- a/a.prefab\n"
                                                         "+++ b/a.prefab\n"
                                                         "@@ -1 +1 @@\n"
                                                         "-abc\n+xby\n");
}

TEST(UnifiedDiff, removedAndAddedLines_shiftTheFollowingHunk) {
    EXPECT_EQ(diff("1\n2\n3\n4\n5\n6\n7\n8\n9\na\n", {{0, 2, ""}, {18, 2, "x\ny\nz\n"}}),
              "diff --git a/a.prefab b/a.prefab\n"
              "--- a/a.prefab\n"
              "+++ b/a.prefab\n"
              "@@ -1,4 +1,3 @@\n"
              "-1\n 2\n 3\n 4\n"
              "@@ -7,4 +6,6 @@\n"
              " 7\n 8\n 9\n-a\n+x\n+y\n+z\n");
}

TEST(UnifiedDiff, missingEndOfTheLastLine_isMarked) {
    EXPECT_EQ(diff("a\nb", {{2, 1, "c"}}), "diff --git a/a.prefab b/a.prefab\n"
                                           "--- a/a.prefab\n"
                                           "+++ b/a.prefab\n"
                                           "@@ -1,2 +1,2 @@\n"
                                           " a\n-b\n\\ No newline at end of file\n"
                                           "+c\n\\ No newline at end of file\n");
}

TEST(UnifiedDiff, unusualPath_isQuoted) {
    EXPECT_EQ(diff("a\n", {{0, 1, "b"}}, "my \"\xc3\xa4\".prefab"),
              "diff --git \"a/my \\\"\\303\\244\\\".prefab\" \"b/my \\\"\\303\\244\\\".prefab\"\n"
              "--- \"a/my \\\"\\303\\244\\\".prefab\"\t\n"
              "+++ \"b/my \\\"\\303\\244\\\".prefab\"\t\n"
              "@@ -1 +1 @@\n"
              "-a\n+b\n");
}

class AppliedPatch : public testing::Test {
protected:
    /// Applies the patch of an edited text with git and returns the resulting text of the file.
    [[nodiscard]] std::string applyWithGit(const EditedText& text, const std::string& path) const {
        m_directory.writeFile(path, text.original());
        m_directory.writeFile("change.patch", unifiedDiff(path, text));
        const TestSupport::ProcessResult result =
            TestSupport::runProcess("/usr/bin/git", {"apply", "change.patch"}, m_directory.path());
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        std::ifstream stream(m_directory.path(path), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TestSupport::TemporaryDirectory m_directory;
};

TEST_F(AppliedPatch, unusualPaths_areTaken) {
    for (const std::string path : {"with space.prefab", "f\xc3\xa4n.prefab", "quote\"d.prefab", "sub/b\\s.prefab"}) {
        EditedText text("one\ntwo\n");
        text.apply({{4, 3, "2"}});
        EXPECT_EQ(applyWithGit(text, path), "one\n2\n") << path;
    }
}

TEST_F(AppliedPatch, randomTexts_becomeTheEditedTexts) {
    std::mt19937 random(7);
    const auto below = [&random](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    const auto randomText = [&below](std::size_t size) {
        std::string text;
        for (; size > 0; --size) {
            text += std::string("ab\n\n\r\xff\xc3").at(below(7));
        }
        return text;
    };
    for (int round = 0; round < 60; ++round) {
        EditedText text(randomText(1 + below(80)));
        for (int pass = 0; pass < 2; ++pass) {
            std::vector<TextEdit> edits;
            for (std::size_t count = 1 + below(4); count > 0; --count) {
                edits.push_back({below(text.text().size() + 1), below(6), randomText(below(5))});
            }
            text.apply(edits);
        }
        if (!unifiedDiff("a.prefab", text).empty() && !text.text().empty()) {
            ASSERT_EQ(applyWithGit(text, "a.prefab"), text.text()) << "round " << round;
        }
    }
}

} // namespace

} // namespace Kiln::PrefabEditingTests
