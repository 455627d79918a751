#include "json_schema.h"
#include "report_fixture.h"

#include <build_paths.h>
#include <kiln_prefab/reports/rule_text.h>
#include <kiln_prefab/reports/sarif_report.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace Kiln::PrefabToolTests {

namespace {

using Json = nlohmann::ordered_json;
using testing::IsEmpty;

[[nodiscard]] Json sarif(const CheckResult& result) {
    return Json::parse(report(ReportFormat::SARIF, result));
}

[[nodiscard]] Json firstResult(const Finding& finding) {
    return sarif({{finding}, {}}).at("runs").at(0).at("results").at(0);
}

[[nodiscard]] Json firstRegion(const Finding& finding) {
    return firstResult(finding).at("locations").at(0).at("physicalLocation").at("region");
}

TEST(SarifReport, run_describesTheTool) {
    const Json run = sarif({}).at("runs").at(0);
    const Json& driver = run.at("tool").at("driver");
    EXPECT_EQ(driver.at("name"), "kiln-prefab");
    EXPECT_EQ(driver.at("semanticVersion"), "1.2.3");
    EXPECT_EQ(driver.at("rules"), Json::array());
    EXPECT_EQ(run.at("columnKind"), "unicodeCodePoints");
    EXPECT_EQ(run.at("results"), Json::array());
}

TEST(SarifReport, rulesOfFindings_areDescribedOnce) {
    const Json run = sarif({{unknownComponent(), missingFile(), unknownComponent()}, {}}).at("runs").at(0);
    const Json& rules = run.at("tool").at("driver").at("rules");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(run.at("results").at(0).at("ruleIndex"), 1);
    EXPECT_EQ(run.at("results").at(1).at("ruleIndex"), 0);
    EXPECT_EQ(run.at("results").at(2).at("ruleIndex"), 1);
    const PrefabInspection::FindingRule& expected = PrefabInspection::findingRule(FindingCode::FILE_MISSING);
    EXPECT_EQ(rules.at(0).at("id"), "KP0106");
    EXPECT_EQ(rules.at(0).at("name"), "file-missing");
    EXPECT_EQ(rules.at(0).at("shortDescription").at("text"), expected.what);
    EXPECT_EQ(rules.at(0).at("help").at("text"), PrefabTool::ruleText(expected, 0));
    EXPECT_EQ(rules.at(0).at("help").at("markdown"), PrefabTool::ruleMarkdown(expected));
    EXPECT_EQ(rules.at(0).at("helpUri"),
              "data:text/plain;charset=utf-8," + PrefabTool::uriText(PrefabTool::ruleText(expected)));
    EXPECT_EQ(rules.at(0).at("defaultConfiguration").at("level"), "error");
}

TEST(SarifReport, finding_isAResultWithEverything) {
    EXPECT_EQ(firstResult(fullFinding()).dump(2), R"({
  "ruleId": "KP0304",
  "ruleIndex": 0,
  "level": "error",
  "message": {
    "text": "'yes' is not a value of the type bool. Write 'true' or 'false'."
  },
  "locations": [
    {
      "physicalLocation": {
        "artifactLocation": {
          "uri": "props/lamp.prefab",
          "uriBaseId": "ROOT"
        },
        "region": {
          "startLine": 7,
          "endLine": 7,
          "startColumn": 8,
          "endColumn": 11
        },
        "contextRegion": {
          "startLine": 7,
          "endLine": 7,
          "snippet": {
            "text": "<isLit>yes</isLit>"
          }
        }
      },
      "logicalLocations": [
        {
          "fullyQualifiedName": "Lamp/Bulb",
          "kind": "object"
        }
      ]
    }
  ],
  "partialFingerprints": {
    "codeFileSubject/v1": "432d984d4d4f0452"
  },
  "relatedLocations": [
    {
      "id": 0,
      "physicalLocation": {
        "artifactLocation": {
          "uri": "props/lamp.prefab",
          "uriBaseId": "ROOT"
        },
        "region": {
          "startLine": 3,
          "endLine": 3
        }
      },
      "message": {
        "text": "the object"
      }
    }
  ],
  "codeFlows": [
    {
      "message": {
        "text": "The prefabs that nest the file"
      },
      "threadFlows": [
        {
          "locations": [
            {
              "location": {
                "physicalLocation": {
                  "artifactLocation": {
                    "uri": "harbour.prefab",
                    "uriBaseId": "ROOT"
                  },
                  "region": {
                    "startLine": 40,
                    "endLine": 40
                  }
                },
                "message": {
                  "text": "integration point 'Quay'"
                }
              },
              "nestingLevel": 0
            },
            {
              "location": {
                "physicalLocation": {
                  "artifactLocation": {
                    "uri": "quay.prefab",
                    "uriBaseId": "ROOT"
                  },
                  "region": {
                    "startLine": 30,
                    "endLine": 30
                  }
                },
                "message": {
                  "text": "integration point 'Lamp'"
                }
              },
              "nestingLevel": 1
            },
            {
              "location": {
                "physicalLocation": {
                  "artifactLocation": {
                    "uri": "props/lamp.prefab",
                    "uriBaseId": "ROOT"
                  },
                  "region": {
                    "startLine": 7,
                    "endLine": 7,
                    "startColumn": 8,
                    "endColumn": 11
                  },
                  "contextRegion": {
                    "startLine": 7,
                    "endLine": 7,
                    "snippet": {
                      "text": "<isLit>yes</isLit>"
                    }
                  }
                },
                "logicalLocations": [
                  {
                    "fullyQualifiedName": "Lamp/Bulb",
                    "kind": "object"
                  }
                ]
              },
              "nestingLevel": 2
            }
          ]
        }
      ]
    }
  ],
  "fixes": [
    {
      "description": {
        "text": "Replace 'yes' by 'true'"
      },
      "artifactChanges": [
        {
          "artifactLocation": {
            "uri": "props/lamp.prefab",
            "uriBaseId": "ROOT"
          },
          "replacements": [
            {
              "deletedRegion": {
                "byteOffset": 120,
                "byteLength": 3
              },
              "insertedContent": {
                "text": "true"
              }
            }
          ]
        }
      ]
    }
  ],
  "properties": {
    "subject": "LampComponent.isLit",
    "objectUuid": "00000000-0000-0000-0000-000000000002",
    "dependents": [
      "harbour.prefab",
      "quay.prefab"
    ]
  }
})");
}

TEST(SarifReport, wholeFile_hasNoRegion) {
    const Json location = firstResult(missingFile()).at("locations").at(0).at("physicalLocation");
    EXPECT_FALSE(location.contains("region"));
    EXPECT_EQ(location.at("artifactLocation").at("uri"), "lost.prefab");
}

TEST(SarifReport, columns_countCharacters) {
    Finding finding = unknownComponent();
    finding.sourceLine = "\xc3\xa4\xc3\xb6\xf0\x9f\x9a\xa2 abc";
    finding.range = {1, 10, 1, 13};
    EXPECT_EQ(firstRegion(finding).dump(), R"({"startLine":1,"endLine":1,"startColumn":5,"endColumn":8})");
}

TEST(SarifReport, rangeOfSeveralLines_hasNoEndColumn) {
    Finding finding = unknownComponent();
    finding.range = {1, 3, 4, 2};
    EXPECT_EQ(firstRegion(finding).dump(), R"({"startLine":1,"endLine":4,"startColumn":3})");
}

TEST(SarifReport, unknownLine_hasNoColumns) {
    Finding finding = unknownComponent();
    finding.sourceLine.clear();
    EXPECT_EQ(firstRegion(finding).dump(), R"({"startLine":12,"endLine":12})");
}

TEST(SarifReport, paths_arePercentEncoded) {
    EXPECT_EQ(PrefabTool::uriText("props/lamp.prefab"), "props/lamp.prefab");
    EXPECT_EQ(PrefabTool::uriText("a b/c:d%e?f#g"), "a%20b/c%3Ad%25e%3Ff%23g");
    EXPECT_EQ(PrefabTool::uriText("\xc3\xa4\xff\n"), "%C3%A4%FF%0A");
}

TEST(SarifReport, fingerprints_areUniqueAndIndependentOfLines) {
    Finding other = unknownComponent();
    other.subject = "Other";
    const std::vector<Finding> findings{unknownComponent(), unknownComponent(), other, missingFile()};
    const std::vector<std::string> fingerprints = PrefabTool::findingFingerprints(findings);
    EXPECT_EQ(std::set<std::string>(fingerprints.begin(), fingerprints.end()).size(), 4U);

    std::vector<Finding> moved = findings;
    for (Finding& finding : moved) {
        finding.range = {99, 1, 99, 2};
        finding.message = "Reworded.";
    }
    EXPECT_EQ(PrefabTool::findingFingerprints(moved), fingerprints);
}

TEST(SarifReport, reports_matchTheSchema) {
    std::ifstream file(KILN_SOURCE_DIR "/tests/kiln_prefab/reports/sarif.schema.json");
    const Json schema = Json::parse(file);
    for (const CheckResult& result :
         {CheckResult{}, CheckResult{{missingFile(), fullFinding(), unknownComponent(), hostileFinding()}, {}}}) {
        EXPECT_THAT(schemaProblems(schema, sarif(result)), IsEmpty());
    }
}

TEST(SarifReport, hostileTexts_areAscii) {
    const std::string text = report(ReportFormat::SARIF, {{hostileFinding()}, {checkedFile(HOSTILE)}});
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char character) {
        return (character >= ' ' && character <= '~') || character == '\n';
    }));
}

TEST(SarifReport, limit_countsAllFindings) {
    ReportOptions options;
    options.maxFindings = 1;
    const CheckResult result{{unknownComponent(), missingFile()}, {checkedFile("a.prefab")}};
    const Json run = Json::parse(report(ReportFormat::SARIF, result, options)).at("runs").at(0);
    ASSERT_EQ(run.at("results").size(), 1U);
    EXPECT_EQ(run.at("results").at(0).at("ruleId"), "KP0106");
    EXPECT_EQ(run.at("properties").dump(), R"({"errors":1,"warnings":1,"notes":0,"files":1})");
}

} // namespace

} // namespace Kiln::PrefabToolTests
