#include "report_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

[[nodiscard]] std::size_t count(const std::string& text, const std::string& part) {
    std::size_t result = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++result;
    }
    return result;
}

TEST(GithubReport, findings_areWorkflowCommands) {
    Finding note = missingFile();
    note.code = FindingCode::UNUSED_PREFAB;
    note.severity = Severity::NOTE;
    note.message = "Nothing nests it.";
    EXPECT_EQ(report(ReportFormat::GITHUB, {{fullFinding(), unknownComponent(), note}, {checkedFile("a.prefab")}}),
              "::error file=props/lamp.prefab,line=7,col=8,endColumn=11,title=KP0304 unreadable-value::"
              "'yes' is not a value of the type bool.%0Ahelp: Write 'true' or 'false'.\n"
              "::warning file=quay.prefab,line=12,col=9,endColumn=17,title=KP0301 unknown-component::"
              "No component type 'LampComp' is registered.%0Ahelp: Write 'LampComponent'.\n"
              "::notice file=lost.prefab,title=KP0606 unused-prefab::Nothing nests it.\n"
              "1 error, 1 warning and 1 note in 1 checked file.\n");
}

TEST(GithubReport, columns_countCharacters) {
    Finding finding = unknownComponent();
    finding.sourceLine = "\xc3\xa4\xc3\xb6 abc";
    finding.range = {1, 6, 1, 9};
    EXPECT_THAT(report(ReportFormat::GITHUB, {{finding}, {}}), HasSubstr(",line=1,col=4,endColumn=7,"));
}

TEST(GithubReport, rangeOfSeveralLines_hasNoColumns) {
    Finding finding = unknownComponent();
    finding.range = {1, 6, 3, 9};
    EXPECT_THAT(report(ReportFormat::GITHUB, {{finding}, {}}), HasSubstr("quay.prefab,line=1,endLine=3,title="));
}

TEST(GithubReport, specialCharacters_areEscaped) {
    Finding finding = missingFile();
    finding.file = "a:b,c%d\n";
    finding.message = "100% :,\r\n";
    EXPECT_THAT(report(ReportFormat::GITHUB, {{finding}, {}}),
                StartsWith("::error file=a%3Ab%2Cc%25d\\x0a,title=KP0106 file-missing::100%25 :,\\x0d\\x0a\n"));
}

TEST(GithubReport, hostileTexts_areEscapedInOneLine) {
    const std::string text = report(ReportFormat::GITHUB, {{hostileFinding()}, {}});
    EXPECT_FALSE(hasRawCharacters(text));
    EXPECT_EQ(count(text, "\n"), 2U);
}

TEST(GithubReport, tenAnnotationsOfEachSeverity_areTheMost) {
    CheckResult result;
    result.findings.assign(12, unknownComponent());
    result.findings.insert(result.findings.end(), 11, missingFile());
    const std::string text = report(ReportFormat::GITHUB, result);
    EXPECT_EQ(count(text, "::error "), 10U);
    EXPECT_EQ(count(text, "::warning "), 10U);
    EXPECT_THAT(text, EndsWith("\n11 errors and 12 warnings in 0 checked files. 3 findings have no annotation.\n"));
}

TEST(GithubReport, limit_leavesErrors) {
    ReportOptions options;
    options.maxFindings = 1;
    const std::string text = report(ReportFormat::GITHUB, {{unknownComponent(), missingFile()}, {}}, options);
    EXPECT_THAT(text, Not(HasSubstr("::warning")));
    EXPECT_THAT(text, EndsWith("\n1 error and 1 warning in 0 checked files. 1 finding has no annotation.\n"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
