#pragma once

#include <prefab_inspection/findings/finding_rules.h>

#include <cstddef>
#include <string>

/// The description of a kind of finding, which `kiln-prefab help CODE`, docs/findings.md and SARIF have in common.
namespace Kiln::PrefabTool {

/// As plain text. Paragraphs are broken into lines of at most `width` characters; 0 for no line breaks in them.
[[nodiscard]] std::string ruleText(const PrefabInspection::FindingRule& rule, std::size_t width = 80);

/// As Markdown, without heading.
[[nodiscard]] std::string ruleMarkdown(const PrefabInspection::FindingRule& rule, std::size_t width = 0);

/// The page docs/findings.md, which describes all rules.
[[nodiscard]] std::string findingsPage();

} // namespace Kiln::PrefabTool
