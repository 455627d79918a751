#include <build_paths.h>
#include <kiln_prefab/reports/rule_text.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace Kiln::PrefabToolTests {

namespace {

using PrefabInspection::FindingCode;
using PrefabInspection::findingRule;
using PrefabInspection::FindingRule;
using PrefabInspection::findingRules;
using testing::HasSubstr;

[[nodiscard]] std::string readFile(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(RuleText, plainText_hasHeadingParagraphsAndExample) {
    EXPECT_EQ(PrefabTool::ruleText(findingRule(FindingCode::NOT_WELL_FORMED)),
              "KP0101 not-well-formed (error)\n"
              "\n"
              "The file is not well-formed XML: a tag has no end, tags cross each other, or\n"
              "there is a character that XML does not allow where it is.\n"
              "\n"
              "Why it matters: The loader refuses the whole file, and every prefab that nests\n"
              "it is loaded without it.\n"
              "\n"
              "Example:\n"
              "\n"
              "    <gameObject>\n"
              "      <name>Lamp</nmae>\n"
              "    </gameObject>\n"
              "\n"
              "How to fix it: Correct the text at the reported position. The cause is often a\n"
              "few lines before it: look for the last tag that was opened and not closed.\n");
}

TEST(RuleText, markdown_escapesWhatWouldBeHtml) {
    EXPECT_EQ(
        PrefabTool::ruleMarkdown(findingRule(FindingCode::BARE_AMPERSAND)),
        "A text has the character '&amp;' where it does not begin a reference such as '&amp;lt;' or '&amp;#10;'.\n"
        "\n"
        "Why it matters: The loader reads it as the character itself, but this is not well-formed XML, and other "
        "programs refuse the file.\n"
        "\n"
        "Example:\n"
        "\n"
        "    <name>Pier & jetty</name>\n"
        "\n"
        "How to fix it: Write '&amp;amp;' instead of '&amp;', or put the text into a CDATA section.\n");
}

TEST(RuleText, contents_linkToTheHeadingsOfThePage) {
    const std::string page = PrefabTool::findingsPage();
    EXPECT_THAT(page, HasSubstr("\n| [KP0101](#kp0101-not-well-formed) | not-well-formed | error |\n"));
    EXPECT_THAT(page, HasSubstr("\n### KP0101 not-well-formed\n"));
}

TEST(RuleText, linesOfPlainText_fitIntoTheWidth) {
    for (const FindingRule& rule : findingRules()) {
        std::istringstream lines(PrefabTool::ruleText(rule));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(line.size() <= 80 || line.starts_with("    ")) << line;
        }
    }
}

TEST(RuleText, page_hasTheTextOfEachRule) {
    const std::string page = PrefabTool::findingsPage();
    for (const FindingRule& rule : findingRules()) {
        EXPECT_THAT(page, HasSubstr(PrefabTool::ruleMarkdown(rule, 120)));
    }
}

TEST(RuleText, docsFindings_isUpToDate) {
    EXPECT_EQ(readFile(KILN_SOURCE_DIR "/docs/findings.md"), PrefabTool::findingsPage())
        << "Build the target findings_page to write the page.";
}

} // namespace

} // namespace Kiln::PrefabToolTests
