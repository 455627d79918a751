#include <prefab_inspection/findings/finding_rules.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace Kiln::PrefabInspection {

namespace {

using testing::EndsWith;
using testing::MatchesRegex;

TEST(FindingRules, rule_isFoundByCode) {
    for (const FindingRule& rule : findingRules()) {
        EXPECT_EQ(&findingRule(rule.code), &rule);
    }
}

TEST(FindingRules, codeText_isReadBack) {
    EXPECT_EQ(codeText(FindingCode::NOT_WELL_FORMED), "KP0101");
    for (const FindingRule& rule : findingRules()) {
        EXPECT_EQ(findingCode(codeText(rule.code)), rule.code);
    }
}

TEST(FindingRules, namesAndLowerCase_areCodes) {
    EXPECT_EQ(findingCode("kp0101"), FindingCode::NOT_WELL_FORMED);
    EXPECT_EQ(findingCode("not-well-formed"), FindingCode::NOT_WELL_FORMED);
    EXPECT_EQ(findingCode("Unused-Prefab"), FindingCode::UNUSED_PREFAB);
}

TEST(FindingRules, otherTexts_areNoCodes) {
    for (const char* const text : {"", "KP", "KP0100", "KP9999", "KP101", "KP01011", "KP 101", "KP010x", "XX0101"}) {
        EXPECT_FALSE(findingCode(text)) << text;
    }
}

TEST(FindingRules, names_areUniqueAndInKebabCase) {
    std::set<std::string_view> names;
    for (const FindingRule& rule : findingRules()) {
        EXPECT_THAT(std::string(rule.name), MatchesRegex("[a-z][a-z0-9]*(-[a-z0-9]+)*"));
        EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
    }
}

TEST(FindingRules, texts_areSentences) {
    for (const FindingRule& rule : findingRules()) {
        for (const std::string_view text : {rule.what, rule.why, rule.cure}) {
            EXPECT_THAT(std::string(text), EndsWith(".")) << rule.name;
            EXPECT_TRUE(text.front() >= 'A' && text.front() <= 'Z') << rule.name;
            EXPECT_EQ(text.find('\n'), std::string_view::npos) << rule.name;
            EXPECT_EQ(text.find("  "), std::string_view::npos) << rule.name;
        }
    }
}

// The texts become part of URIs, and some consumers refuse those that encode other characters.
TEST(FindingRules, texts_areAscii) {
    for (const FindingRule& rule : findingRules()) {
        for (const std::string_view text : {rule.what, rule.why, rule.example, rule.cure}) {
            EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char character) {
                return (character >= ' ' && character <= '~') || character == '\n' || character == '\t';
            })) << rule.name;
        }
    }
}

// The files of an unresolved conflict load, but must not be used.
TEST(FindingRules, severities_areErrorsWhereLoadingFails) {
    std::set<std::string> errors;
    std::set<std::string> notes;
    for (const FindingRule& rule : findingRules()) {
        if (rule.severity == Severity::ERROR) {
            errors.insert(codeText(rule.code));
        } else if (rule.severity == Severity::NOTE) {
            notes.insert(codeText(rule.code));
        }
    }
    EXPECT_EQ(errors,
              (std::set<std::string>{"KP0101", "KP0102", "KP0106", "KP0107", "KP0108", "KP0109", "KP0110", "KP0201",
                                     "KP0202", "KP0207", "KP0208", "KP0209", "KP0302", "KP0304", "KP0306", "KP0401",
                                     "KP0402", "KP0404", "KP0406", "KP0409", "KP0601", "KP0602", "KP0701"}));
    EXPECT_EQ(notes, (std::set<std::string>{"KP0606", "KP0705"}));
}

TEST(FindingRules, severityText_namesTheSeverity) {
    EXPECT_EQ(severityText(Severity::NOTE), "note");
    EXPECT_EQ(severityText(Severity::WARNING), "warning");
    EXPECT_EQ(severityText(Severity::ERROR), "error");
}

} // namespace

} // namespace Kiln::PrefabInspection
