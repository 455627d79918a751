#include "report_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

[[nodiscard]] std::string textOf(const Finding& finding) {
    return report(ReportFormat::TEXT, {{finding}, {checkedFile(finding.file)}});
}

TEST(TextReport, findingWithPosition_isAMessageWithSourceLineAndCure) {
    EXPECT_EQ(textOf(unknownComponent()),
              "quay.prefab:12:9: warning: No component type 'LampComp' is registered. [KP0301]\n"
              "   12 | \t\t<type>LampComp</type>\n"
              "      | \t\t      ^~~~~~~~\n"
              "  help: Write 'LampComponent'.\n"
              "1 warning in 1 checked file.\n");
}

TEST(TextReport, findingOfAWholeFile_hasNoPosition) {
    EXPECT_EQ(textOf(missingFile()), "lost.prefab: error: There is no file of this path. [KP0106]\n"
                                     "1 error in 1 checked file.\n");
}

TEST(TextReport, findingWithEverything_namesObjectChainPlacesAndDependents) {
    EXPECT_EQ(textOf(fullFinding()), "props/lamp.prefab:7:8: error: 'yes' is not a value of the type bool. [KP0304]\n"
                                     "    7 | <isLit>yes</isLit>\n"
                                     "      |        ^~~\n"
                                     "  object 'Lamp/Bulb' 00000000-0000-0000-0000-000000000002\n"
                                     "  nested at quay.prefab:30:2: integration point 'Lamp'\n"
                                     "  nested at harbour.prefab:40:3: integration point 'Quay'\n"
                                     "  see props/lamp.prefab:3:1: the object\n"
                                     "  affects 2 prefabs: harbour.prefab, quay.prefab\n"
                                     "  help: Write 'true' or 'false'.\n"
                                     "1 error in 1 checked file.\n");
}

TEST(TextReport, manyDependents_areCounted) {
    Finding finding = missingFile();
    finding.dependents = {"a.prefab", "b.prefab", "c.prefab", "d.prefab", "e.prefab", "f.prefab", "g.prefab"};
    EXPECT_THAT(textOf(finding),
                HasSubstr("\n  affects 7 prefabs: a.prefab, b.prefab, c.prefab, d.prefab, e.prefab and 2 more\n"));
}

TEST(TextReport, oneDependent_isInTheSingular) {
    Finding finding = missingFile();
    finding.dependents = {"a.prefab"};
    EXPECT_THAT(textOf(finding), HasSubstr("\n  affects 1 prefab: a.prefab\n"));
}

TEST(TextReport, fileOfTheFindingAsOnlyDependent_isNotRepeated) {
    Finding finding = missingFile();
    finding.dependents = {finding.file};
    EXPECT_THAT(textOf(finding), Not(HasSubstr("affects")));
}

TEST(TextReport, longPathOfAnObject_isShortened) {
    Finding finding = missingFile();
    finding.objectPath = std::string(300, 'a');
    EXPECT_THAT(textOf(finding), HasSubstr("\n  object '" + std::string(256, 'a') + "… (300 bytes in all)'\n"));
}

TEST(TextReport, longListsOfPlaces_areShortened) {
    Finding finding = missingFile();
    finding.chain.assign(21, {"a.prefab", {1, 1, 1, 1}, ""});
    finding.related.assign(12, {"b.prefab", {2, 2, 2, 2}, ""});
    const std::string text = textOf(finding);
    EXPECT_THAT(text, HasSubstr("\n  nested at a.prefab:1:1\n  nested through 1 more prefab\n"));
    EXPECT_THAT(text, HasSubstr("\n  see b.prefab:2:2\n  see 2 more places\n"));
}

TEST(TextReport, limit_showsErrorsFirstAndCountsAll) {
    Finding note = unknownComponent();
    note.code = FindingCode::HIDDEN_OVERRIDE;
    note.severity = Severity::NOTE;
    ReportOptions options;
    options.maxFindings = 2;
    const CheckResult result{{note, unknownComponent(), fullFinding(), unknownComponent()},
                             {checkedFile("a.prefab"), checkedFile("b.prefab")}};
    const std::string text = report(ReportFormat::TEXT, result, options);
    EXPECT_THAT(text, StartsWith("props/lamp.prefab:7:8: error: "));
    EXPECT_THAT(text, HasSubstr("\nquay.prefab:12:9: warning: "));
    EXPECT_THAT(text, HasSubstr("\n2 more findings are not shown.\n"
                                "1 error, 2 warnings and 1 note in 2 checked files.\n"));
    EXPECT_THAT(text, Not(HasSubstr("KP0705")));
}

TEST(TextReport, noFindings_isOnlyASummary) {
    EXPECT_EQ(report(ReportFormat::TEXT, {{}, {checkedFile("a.prefab"), checkedFile("b.prefab")}}),
              "No findings in 2 checked files.\n");
}

TEST(TextReport, styler_coloursTheParts) {
    ReportOptions options;
    options.styled = [](std::string_view text, PrefabTool::Style style) {
        return "{" + std::to_string(static_cast<int>(style)) + ":" + std::string(text) + "}";
    };
    EXPECT_EQ(report(ReportFormat::TEXT, {{unknownComponent()}, {}}, options),
              "{4:quay.prefab:12:9:} {2:warning:} {4:No component type 'LampComp' is registered.} [KP0301]\n"
              "{5:   12 |} \t\t<type>LampComp</type>\n"
              "{5:      |} {2:\t\t      ^~~~~~~~}\n"
              "  {4:help:} Write 'LampComponent'.\n"
              "1 warning in 0 checked files.\n");
}

TEST(TextReport, hostileTexts_areEscaped) {
    const std::string text = textOf(hostileFinding());
    EXPECT_FALSE(hasRawCharacters(text));
    EXPECT_THAT(text, StartsWith(HOSTILE_SHOWN + ":1:1: error: " + HOSTILE_SHOWN + " [KP0304]\n    1 | " +
                                 HOSTILE_SHOWN + "\n      | ^\n  object '" + HOSTILE_SHOWN + "' "));
    EXPECT_THAT(text, HasSubstr("\n  nested at " + HOSTILE_SHOWN + ":1:1: " + HOSTILE_SHOWN + "\n  see " +
                                HOSTILE_SHOWN + ":1:1: " + HOSTILE_SHOWN + "\n  affects 2 prefabs: " + HOSTILE_SHOWN +
                                ", z.prefab\n  help: " + HOSTILE_SHOWN + "\n"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
