#include <kiln_prefab/check/baseline.h>

#include "expect_error.h"

#include <string>
#include <vector>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabTool::Baseline;
using PrefabTool::FindingKey;
using PrefabTool::findingKeys;

[[nodiscard]] Finding finding(const std::string& file, FindingCode code, const std::string& subject,
                              std::size_t line = 1) {
    Finding result;
    result.file = file;
    result.code = code;
    result.subject = subject;
    result.range.line = line;
    return result;
}

TEST(Baseline, keys_countEqualFindingsOfAFile) {
    const std::vector<FindingKey> keys = findingKeys({
        finding("a", FindingCode::LINK_TO_NOTHING, "x", 1),
        finding("a", FindingCode::LINK_TO_NOTHING, "y", 2),
        finding("a", FindingCode::LINK_TO_NOTHING, "x", 3),
        finding("b", FindingCode::LINK_TO_NOTHING, "x", 1),
        finding("b", FindingCode::NO_ROOT, "x", 2),
    });
    EXPECT_EQ(keys, (std::vector<FindingKey>{{"a", "KP0501", "x", 1},
                                             {"a", "KP0501", "y", 1},
                                             {"a", "KP0501", "x", 2},
                                             {"b", "KP0501", "x", 1},
                                             {"b", "KP0401", "x", 1}}));
}

TEST(Baseline, keys_doNotDependOnLines) {
    EXPECT_EQ(findingKeys({finding("a", FindingCode::NO_ROOT, "", 1)}),
              findingKeys({finding("a", FindingCode::NO_ROOT, "", 700)}));
}

TEST(Baseline, text_hasOneSortedEntryPerLine) {
    Baseline baseline;
    baseline.add({"b.prefab", "KP0401", "", 1});
    baseline.add({"a \"1\".prefab", "KP0501", "f\xc3\xa4n", 2});
    EXPECT_EQ(baseline.text(), "{\n\"version\": 1,\n\"findings\": [\n"
                               R"({"file":"a \"1\".prefab","code":"KP0501","subject":"f\u00e4n","occurrence":2},)"
                               "\n"
                               R"({"file":"b.prefab","code":"KP0401","subject":"","occurrence":1})"
                               "\n]\n}\n");
    EXPECT_EQ(Baseline::read(baseline.text(), "known.json").keys(), baseline.keys());
}

TEST(Baseline, emptyBaseline_isRead) {
    EXPECT_EQ(Baseline().text(), "{\n\"version\": 1,\n\"findings\": []\n}\n");
    EXPECT_TRUE(Baseline::read(Baseline().text(), "known.json").keys().empty());
}

TEST(Baseline, bytesThatAreNotUtf8_areMatched) {
    const std::vector<FindingKey> keys = findingKeys({finding("a\xff", FindingCode::NO_ROOT, "\xfe\xc3\xa4")});
    Baseline baseline;
    baseline.add(keys[0]);
    EXPECT_TRUE(Baseline::read(baseline.text(), "known.json").contains(keys[0]));
}

TEST(Baseline, otherText_isRefused) {
    const auto errorIn = [](const std::string& text) {
        return errorOf([&text] { (void)Baseline::read(text, "known.json"); });
    };
    EXPECT_EQ(errorIn("{\n"),
              "known.json:1: syntax error while parsing object key - unexpected end of input; expected string literal");
    EXPECT_EQ(errorIn("[]"), "known.json: This is no baseline; --accept writes one");
    EXPECT_EQ(errorIn(R"({"version": 2, "findings": []})"),
              "known.json: The baseline has version 2, but this program reads version 1");
    EXPECT_EQ(errorIn(R"({"version": 1, "findings": [{"file": "a"}]})"),
              "known.json: An entry of a baseline has a file, a code, a subject and an occurrence, but one is "
              R"({"file":"a"})");
}

} // namespace

} // namespace Kiln::PrefabToolTests
