#include <prefab_packing/text_patch.h>

#include <prefab_editing/random_document.h>

#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace Kiln::PrefabPackingTests {

namespace {

using PrefabPacking::applyTextPatch;
using PrefabPacking::makeTextPatch;

constexpr std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();

TEST(TextPatch, equalTexts_needNoBytes) {
    EXPECT_EQ(makeTextPatch("<a>1</a>", "<a>1</a>"), "");
    EXPECT_EQ(applyTextPatch("<a>1</a>", "", NO_LIMIT), "<a>1</a>");
}

TEST(TextPatch, comment_takesItsOwnSizeAndAFewBytes) {
    const std::string before = "<a><b>1</b><c>2</c></a>";
    const std::string after = "<a><b>1</b><!-- x --><c>2</c></a>";
    const std::string patch = makeTextPatch(before, after);
    EXPECT_EQ(patch, std::string("\x0b\x00\x0a<!-- x -->", 13));
    EXPECT_EQ(applyTextPatch(before, patch, NO_LIMIT), after);
}

TEST(TextPatch, attributeAndDeclaration_areChangesOfTheirOwn) {
    const std::string before = "<a><b>1</b></a>";
    const std::string after = "<?xml?><a x='1'><b>1</b></a>\n";
    EXPECT_EQ(applyTextPatch(before, makeTextPatch(before, after), NO_LIMIT), after);
}

TEST(TextPatch, anyTwoTexts_areJoinedByAPatch) {
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        const auto text = [&random] {
            return PrefabEditingTests::RandomLayout(random, "\n")
                .write(PrefabEditingTests::RandomDocument(random).make(), false);
        };
        const std::string before = text();
        const std::string after = text();
        ASSERT_EQ(applyTextPatch(before, makeTextPatch(before, after), NO_LIMIT), after);
    }
}

TEST(TextPatch, bytesThatAreNoPatch_areRefused) {
    const std::string patch = makeTextPatch("<a>1</a>", "<a>2</a>");
    for (std::size_t size = 1; size < patch.size(); ++size) {
        EXPECT_EQ(applyTextPatch("<a>1</a>", patch.substr(0, size), NO_LIMIT), std::nullopt) << size;
    }
    EXPECT_EQ(applyTextPatch("", patch, NO_LIMIT), std::nullopt);
    EXPECT_EQ(applyTextPatch("<a>1</a>", std::string(20, '\xff'), NO_LIMIT), std::nullopt);
}

TEST(TextPatch, resultBeyondTheLimit_isRefused) {
    const std::string patch = makeTextPatch("<a>1</a>", "<a>22</a>");
    EXPECT_EQ(applyTextPatch("<a>1</a>", patch, 8), std::nullopt);
    EXPECT_EQ(applyTextPatch("<a>1</a>", patch, 9), "<a>22</a>");
    EXPECT_EQ(applyTextPatch("<a>1</a>", "", 7), std::nullopt);
}

} // namespace

} // namespace Kiln::PrefabPackingTests
