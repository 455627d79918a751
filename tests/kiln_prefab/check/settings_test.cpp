#include <kiln_prefab/check/settings.h>

#include "expect_error.h"

namespace Kiln::PrefabToolTests {

namespace {

using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::Severity;
using PrefabTool::readSettings;
using PrefabTool::Settings;

[[nodiscard]] Finding finding(FindingCode code, Severity severity) {
    Finding result;
    result.code = code;
    result.severity = severity;
    return result;
}

[[nodiscard]] Settings read(const std::string& text) {
    return readSettings(text, "s.json", "folder");
}

[[nodiscard]] std::string errorIn(const std::string& text) {
    return errorOf([&text] { (void)read(text); });
}

TEST(Settings, withoutValues_showFindingsAsTheyAre) {
    const Settings settings;
    EXPECT_EQ(settings.shownSeverity(finding(FindingCode::NO_ROOT, Severity::ERROR)), Severity::ERROR);
    EXPECT_EQ(settings.shownSeverity(finding(FindingCode::UNUSED_PREFAB, Severity::NOTE)), std::nullopt);
    EXPECT_TRUE(settings.isFailure(Severity::ERROR));
    EXPECT_FALSE(settings.isFailure(Severity::WARNING));
}

TEST(Settings, file_setsEveryValue) {
    const Settings settings = read(R"({
        "severity": {"KP0305": "error", "no-root": "warning", "KP0604": "off"},
        "ignore": ["KP0603"],
        "only": ["KP0305", "KP0603", "KP0604"],
        "strict": true,
        "unused": true,
        "baseline": "known.json"
    })");
    EXPECT_EQ(describeSettings(settings), "strict = true (s.json:5)\n"
                                          "unused = true (s.json:6)\n"
                                          "only = KP0305, KP0603, KP0604 (s.json:4)\n"
                                          "baseline = folder/known.json (s.json:7)\n"
                                          "severity of KP0305 = error (s.json:2)\n"
                                          "severity of KP0401 = warning (s.json:2)\n"
                                          "severity of KP0603 = off (s.json:3)\n"
                                          "severity of KP0604 = off (s.json:2)\n");
    EXPECT_EQ(settings.shownSeverity(finding(FindingCode::SUSPICIOUS_TRANSFORM, Severity::WARNING)), Severity::ERROR);
    EXPECT_EQ(settings.shownSeverity(finding(FindingCode::COMPONENT_AT_POINT_AND_ROOT, Severity::WARNING)),
              std::nullopt);
    EXPECT_EQ(settings.shownSeverity(finding(FindingCode::NO_ROOT, Severity::ERROR)), std::nullopt);
    EXPECT_TRUE(settings.isFailure(Severity::WARNING));
    EXPECT_FALSE(settings.isFailure(Severity::NOTE));
}

TEST(Settings, emptyObject_setsNothing) {
    EXPECT_EQ(describeSettings(read("{}")), "strict = false (default)\n"
                                            "unused = false (default)\n"
                                            "only = all codes (default)\n"
                                            "baseline = none (default)\n");
}

TEST(Settings, absoluteBaseline_isNotRelativeToTheFolder) {
    EXPECT_EQ(read(R"({"baseline": "/known.json"})").baseline->value, "/known.json");
}

TEST(Settings, nearerValues_overrideFartherOnes) {
    Settings settings =
        readSettings(R"({"ignore": ["KP0305", "KP0604"], "only": ["KP0305"], "strict": true})", "far", "");
    settings.overrideWith(readSettings(R"({"severity": {"KP0305": "note"}, "only": []})", "near", ""));
    EXPECT_EQ(describeSettings(settings), "strict = true (far:1)\n"
                                          "unused = false (default)\n"
                                          "only = no code (near:1)\n"
                                          "baseline = none (default)\n"
                                          "severity of KP0305 = note (near:1)\n"
                                          "severity of KP0604 = off (far:1)\n");
}

TEST(Settings, mistakes_areReportedWithTheirLines) {
    EXPECT_EQ(errorIn("[]"), "s.json:1: The settings must be an object");
    EXPECT_EQ(errorIn("{\n\"strikt\": true}"), "s.json:2: Unknown setting 'strikt'; did you mean 'strict'?");
    EXPECT_EQ(errorIn("{\n\"colour\": true}"), "s.json:2: Unknown setting 'colour'");
    EXPECT_EQ(errorIn(R"({"strict": 1})"), "s.json:1: 'strict' must be true or false");
    EXPECT_EQ(errorIn(R"({"unused": null})"), "s.json:1: 'unused' must be true or false");
    EXPECT_EQ(errorIn(R"({"strict": true, "strict": true})"), "s.json:1: 'strict' is set twice");
    EXPECT_EQ(errorIn(R"({"ignore": "KP0305"})"), "s.json:1: 'ignore' must be a list of codes, such as [\"KP0305\"]");
    EXPECT_EQ(errorIn("{\"only\": [\n5\n]}"), "s.json:2: 'only' must be a list of codes, such as [\"KP0305\"]");
    EXPECT_EQ(errorIn("{\"only\": [\n\"KP0106\",\n\"KP9999\"]}"), "s.json:3: There is no code 'KP9999'");
    EXPECT_EQ(errorIn(R"({"ignore": ["no-rot"]})"), "s.json:1: There is no code 'no-rot'; did you mean 'no-root'?");
    EXPECT_EQ(errorIn(R"({"severity": []})"),
              "s.json:1: 'severity' must be an object, such as {\"KP0305\": \"error\"}");
    EXPECT_EQ(errorIn("{\"severity\": {\n\"KP0305\": \"fatal\"}}"),
              "s.json:2: The severity of 'KP0305' must be \"error\", \"warning\", \"note\" or \"off\"");
    EXPECT_EQ(errorIn(R"({"severity": {"KP0305": "note"}, "ignore": ["KP0305"]})"),
              "s.json:1: KP0305 is given two severities, note and off");
    EXPECT_EQ(errorIn(R"({"baseline": ""})"), "s.json:1: 'baseline' must be the name of a file");
}

TEST(Settings, levelOfTheCommandLine_isACodeAndALevel) {
    Settings settings;
    addLevel(settings, "KP0305=error", "command line");
    EXPECT_EQ(settings.levels.at(FindingCode::SUSPICIOUS_TRANSFORM).value, PrefabTool::Level::ERROR);
    EXPECT_EQ(errorOf([&settings] { addLevel(settings, "KP0305", "command line"); }),
              "'KP0305' is not of the form CODE=LEVEL, where LEVEL is error, warning, note or off");
    EXPECT_EQ(errorOf([&settings] { addLevel(settings, "KP0305=off", "command line"); }),
              "KP0305 is given two severities, error and off");
}

} // namespace

} // namespace Kiln::PrefabToolTests
