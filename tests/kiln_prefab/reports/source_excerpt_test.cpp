#include <kiln_prefab/reports/source_excerpt.h>
#include <kiln_prefab/reports/text_columns.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabTool::sourceExcerpt;
using PrefabTool::SourceExcerpt;

/// The two lines for a range of columns in a line.
[[nodiscard]] std::string shown(const std::string& line, std::size_t column, std::size_t endColumn) {
    PrefabInspection::Finding finding;
    finding.sourceLine = line;
    finding.range = {1, column, 1, endColumn};
    const std::optional<SourceExcerpt> excerpt = sourceExcerpt(finding);
    return excerpt ? excerpt->line + "\n" + excerpt->marker : "";
}

TEST(SourceExcerpt, range_isMarkedByCaretAndTildes) {
    EXPECT_EQ(shown("<name>Lamp</nmae>", 14, 18), "<name>Lamp</nmae>\n"
                                                  "             ^~~~");
}

TEST(SourceExcerpt, emptyRange_isMarkedByCaret) {
    EXPECT_EQ(shown("<flags></flags>", 8, 8), "<flags></flags>\n"
                                              "       ^");
}

TEST(SourceExcerpt, rangeBehindTheLine_isMarkedByCaret) {
    EXPECT_EQ(shown("<name>", 7, 7), "<name>\n"
                                     "      ^");
}

TEST(SourceExcerpt, tabs_areKeptInBothLines) {
    EXPECT_EQ(shown("\tab\tc", 5, 6), "\tab\tc\n"
                                      "\t  \t^");
}

TEST(SourceExcerpt, charactersOfSeveralBytes_takeOneColumn) {
    EXPECT_EQ(shown("\xc3\xa4\xc3\xb6 x", 6, 7), "\xc3\xa4\xc3\xb6 x\n"
                                                 "   ^");
}

TEST(SourceExcerpt, wideCharacters_takeTwoColumns) {
    EXPECT_EQ(shown("\xe6\xb8\xaf x", 1, 4), "\xe6\xb8\xaf x\n"
                                             "^~");
    EXPECT_EQ(shown("\xe6\xb8\xaf x", 5, 6), "\xe6\xb8\xaf x\n"
                                             "   ^");
}

TEST(SourceExcerpt, combiningMarks_takeNoColumn) {
    EXPECT_EQ(shown("e\xcc\x81 x", 5, 6), "e\xcc\x81 x\n"
                                          "  ^");
}

TEST(SourceExcerpt, unprintableBytes_takeTheColumnsOfTheirEscapes) {
    EXPECT_EQ(shown("a\x1b"
                    "b",
                    3, 4),
              "a\\x1bb\n"
              "     ^");
    EXPECT_EQ(shown("a\xff"
                    "b",
                    2, 3),
              "a\\xffb\n"
              " ^~~~");
}

TEST(SourceExcerpt, longLine_isShortenedAroundTheRange) {
    const std::string line = std::string(100, 'a') + "<x>" + std::string(200, 'b');
    EXPECT_EQ(shown(line, 101, 104),
              "…" + std::string(40, 'a') + "<x>" + std::string(77, 'b') + "…\n" + std::string(41, ' ') + "^~~");
}

TEST(SourceExcerpt, longLineWithRangeAtItsBeginning_isCutAtItsEnd) {
    EXPECT_EQ(shown(std::string(300, 'a'), 1, 3), std::string(120, 'a') + "…\n^~");
}

TEST(SourceExcerpt, rangeLongerThanTheLine_isMarkedUpToTheCut) {
    EXPECT_EQ(shown(std::string(300, 'a'), 1, 301), std::string(120, 'a') + "…\n^" + std::string(119, '~'));
}

TEST(SourceExcerpt, rangeOfSeveralLines_isMarkedToTheEndOfTheFirst) {
    PrefabInspection::Finding finding;
    finding.sourceLine = "<item>abc";
    finding.range = {1, 7, 3, 2};
    EXPECT_EQ(sourceExcerpt(finding)->marker, "      ^~~");
}

TEST(SourceExcerpt, unknownLine_hasNoExcerpt) {
    PrefabInspection::Finding finding;
    finding.range = {1, 7, 1, 9};
    EXPECT_FALSE(sourceExcerpt(finding));
    finding.sourceLine = "abc";
    finding.range = {};
    EXPECT_FALSE(sourceExcerpt(finding));
}

TEST(TextColumns, characterColumn_countsCharactersAndInvalidBytes) {
    using PrefabTool::characterColumn;
    const std::string line = "\xc3\xa4\xff\xf0\x9f\x9a\xa2z";
    EXPECT_EQ(characterColumn(line, 1), 1U);
    EXPECT_EQ(characterColumn(line, 3), 2U);
    EXPECT_EQ(characterColumn(line, 4), 3U);
    EXPECT_EQ(characterColumn(line, 8), 4U);
    EXPECT_EQ(characterColumn(line, 9), 5U);
    EXPECT_EQ(characterColumn(line, 11), 7U);
}

TEST(TextColumns, firstCharacter_refusesWhatIsNotUtf8) {
    using PrefabTool::firstCharacter;
    for (const std::string_view text :
         {"\x80", "\xc0\x80", "\xe0\x80\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc3", "\xc3z"}) {
        EXPECT_FALSE(firstCharacter(text).isValid);
        EXPECT_EQ(firstCharacter(text).size, 1U);
    }
    EXPECT_EQ(firstCharacter("\xf0\x9f\x9a\xa2").codePoint, U'\U0001f6a2');
}

} // namespace

} // namespace Kiln::PrefabToolTests
