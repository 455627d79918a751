#pragma once

#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Kiln::PrefabInspection {

/// What is known about a kind of finding. The texts are plain sentences, except for `example`, which is a part of a
/// prefab file that has the problem.
struct FindingRule {
    FindingCode code;
    std::string_view name; ///< Such as "not-well-formed".
    Severity severity;     ///< The usual one. Some findings are less serious in certain files.
    std::string_view what;
    std::string_view why;
    std::string_view example;
    std::string_view cure;
};

/// All rules, by ascending code.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::span<const FindingRule> findingRules();

[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT const FindingRule& findingRule(FindingCode code);

/// The code as users see it: "KP0101".
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::string codeText(FindingCode code);

/// The code with that text or name: "KP0101" or "not-well-formed"; none if there is no such code.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::optional<FindingCode> findingCode(std::string_view text);

/// "error", "warning" or "note".
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT std::string_view severityText(Severity severity);

} // namespace Kiln::PrefabInspection
