#include "json_schema.h"
#include "report_fixture.h"

#include <build_paths.h>
#include <kiln_prefab/reports/json_report.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace Kiln::PrefabToolTests {

namespace {

using Json = nlohmann::ordered_json;
using PrefabTool::readJsonReport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

[[nodiscard]] CheckResult sampleResult() {
    CheckedFile lamp = checkedFile("props/lamp.prefab");
    lamp.isTarget = false;
    lamp.nested = {"a.prefab", "b.prefab"};
    lamp.contentHash = 0xfedcba9876543210;
    return {{missingFile(), fullFinding(), unknownComponent()}, {lamp, checkedFile("quay.prefab")}};
}

TEST(JsonReport, result_isOneDocumentWithALineForEachFindingAndFile) {
    EXPECT_EQ(
        report(ReportFormat::JSON, sampleResult()),
        R"({"schemaVersion":1,)"
        "\n"
        R"("tool":{"name":"kiln-prefab","version":"1.2.3"},)"
        "\n"
        R"("totals":{"errors":2,"warnings":1,"notes":0,"files":2,"shown":3},)"
        "\n"
        R"("findings":[)"
        "\n"
        R"({"code":"KP0106","name":"file-missing","severity":"error","file":"lost.prefab","range":null,)"
        R"("sourceLine":"","message":"There is no file of this path.","cure":"","objectPath":"","objectUuid":null,)"
        R"("chain":[],"related":[],"dependents":[],"fix":null,"subject":""},)"
        "\n"
        R"({"code":"KP0304","name":"unreadable-value","severity":"error","file":"props/lamp.prefab",)"
        R"("range":{"line":7,"column":8,"endLine":7,"endColumn":11},"sourceLine":"<isLit>yes</isLit>",)"
        R"("message":"'yes' is not a value of the type bool.","cure":"Write 'true' or 'false'.",)"
        R"("objectPath":"Lamp/Bulb","objectUuid":"00000000-0000-0000-0000-000000000002",)"
        R"("chain":[{"file":"harbour.prefab","range":{"line":40,"column":3,"endLine":40,"endColumn":20},)"
        R"("text":"integration point 'Quay'"},{"file":"quay.prefab",)"
        R"("range":{"line":30,"column":2,"endLine":30,"endColumn":18},"text":"integration point 'Lamp'"}],)"
        R"("related":[{"file":"props/lamp.prefab","range":{"line":3,"column":1,"endLine":3,"endColumn":5},)"
        R"("text":"the object"}],"dependents":["harbour.prefab","quay.prefab"],)"
        R"("fix":{"offset":120,"size":3,"text":"true","title":"Replace 'yes' by 'true'"},)"
        R"("subject":"LampComponent.isLit"},)"
        "\n"
        R"({"code":"KP0301","name":"unknown-component","severity":"warning","file":"quay.prefab",)"
        R"("range":{"line":12,"column":9,"endLine":12,"endColumn":17},"sourceLine":"\t\t<type>LampComp</type>",)"
        R"("message":"No component type 'LampComp' is registered.","cure":"Write 'LampComponent'.",)"
        R"("objectPath":"","objectUuid":null,"chain":[],"related":[],"dependents":[],"fix":null,)"
        R"("subject":"LampComp"}],)"
        "\n"
        R"("files":[)"
        "\n"
        R"({"path":"props/lamp.prefab","isTarget":false,"bytes":1000,"contentHash":"fedcba9876543210",)"
        R"("nested":["a.prefab","b.prefab"]},)"
        "\n"
        R"({"path":"quay.prefab","isTarget":true,"bytes":1000,"contentHash":"0000000000001234","nested":[]}]})"
        "\n");
}

TEST(JsonReport, noFindings_isADocumentWithEmptyLists) {
    EXPECT_EQ(report(ReportFormat::JSON, {}), R"({"schemaVersion":1,)"
                                              "\n"
                                              R"("tool":{"name":"kiln-prefab","version":"1.2.3"},)"
                                              "\n"
                                              R"("totals":{"errors":0,"warnings":0,"notes":0,"files":0,"shown":0},)"
                                              "\n"
                                              R"("findings":[],)"
                                              "\n"
                                              R"("files":[]})"
                                              "\n");
}

TEST(JsonReport, reports_matchThePublishedSchema) {
    std::ifstream file(KILN_SOURCE_DIR "/docs/findings.schema.json");
    const Json schema = Json::parse(file);
    for (const CheckResult& result :
         {CheckResult{}, sampleResult(), CheckResult{{hostileFinding()}, {checkedFile(HOSTILE)}}}) {
        EXPECT_THAT(schemaProblems(schema, Json::parse(report(ReportFormat::JSON, result))), IsEmpty());
    }
}

TEST(JsonReport, hostileTexts_areAscii) {
    const std::string text = report(ReportFormat::JSON, {{hostileFinding()}, {checkedFile(HOSTILE)}});
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char character) {
        return (character >= ' ' && character <= '~') || character == '\n';
    }));
    EXPECT_EQ(Json::parse(text).at("findings").at(0).at("message"), "a\x1b[31mb\nc\rd\xe2\x80\xa8"
                                                                    "e\xe2\x80\xae"
                                                                    "f\xef\xbf\xbdg");
}

TEST(JsonReport, limit_showsErrorsFirstAndCountsAll) {
    ReportOptions options;
    options.maxFindings = 2;
    const CheckResult result{{unknownComponent(), missingFile(), fullFinding()}, {}};
    const Json json = Json::parse(report(ReportFormat::JSON, result, options));
    EXPECT_EQ(json.at("totals").dump(), R"({"errors":2,"warnings":1,"notes":0,"files":0,"shown":2})");
    ASSERT_EQ(json.at("findings").size(), 2U);
    EXPECT_EQ(json.at("findings").at(0).at("code"), "KP0106");
    EXPECT_EQ(json.at("findings").at(1).at("code"), "KP0304");
}

TEST(ReadJsonReport, writtenReport_yieldsTheSameResult) {
    const std::string text = report(ReportFormat::JSON, sampleResult());
    std::string problem;
    const std::optional<CheckResult> result = readJsonReport(text, problem);
    ASSERT_TRUE(result) << problem;
    EXPECT_EQ(report(ReportFormat::JSON, *result), text);
    EXPECT_EQ(report(ReportFormat::TEXT, *result), report(ReportFormat::TEXT, sampleResult()));
    EXPECT_EQ(report(ReportFormat::SARIF, *result), report(ReportFormat::SARIF, sampleResult()));
}

/// Why a report is refused in which one text is replaced.
[[nodiscard]] std::string problemAfter(const std::string& wanted, const std::string& replacement) {
    std::string text = report(ReportFormat::JSON, sampleResult());
    const std::size_t offset = text.find(wanted);
    EXPECT_NE(offset, std::string::npos);
    text.replace(offset, wanted.size(), replacement);
    std::string problem;
    EXPECT_FALSE(readJsonReport(text, problem));
    return problem;
}

TEST(ReadJsonReport, damagedReport_isRefusedWithAReason) {
    EXPECT_EQ(problemAfter("\"schemaVersion\":1", "\"schemaVersion\":2"), "its schemaVersion is not 1");
    EXPECT_EQ(problemAfter("KP0106", "KP9999"), "'KP9999' is not a code of a finding");
    EXPECT_EQ(problemAfter("\"error\"", "\"fatal\""), "'fatal' is not a severity");
    EXPECT_EQ(problemAfter("fedcba9876543210", "fedcba987654321"), "'fedcba987654321' is not a hash");
    EXPECT_EQ(problemAfter("00000000-0000", "0-0000"), "'0-0000-0000-0000-000000000002' is not a UUID");
    EXPECT_EQ(problemAfter("\"errors\":2", "\"errors\":3"),
              "it does not contain all findings, because their number was limited");
    EXPECT_THAT(problemAfter("\"file\":", "\"fil\":"), HasSubstr("key 'file' not found"));
    EXPECT_THAT(problemAfter("{", "["), HasSubstr("parse error"));
}

TEST(ReportFormats, names_areThoseOfUsers) {
    EXPECT_THAT(PrefabTool::reportFormatNames(), ElementsAre("text", "json", "sarif", "junit", "github"));
    EXPECT_EQ(PrefabTool::reportFormat("sarif"), ReportFormat::SARIF);
    EXPECT_FALSE(PrefabTool::reportFormat("xml"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
