#pragma once

#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Number of findings of each severity.
struct FindingTotals {
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t notes = 0;

    [[nodiscard]] std::size_t all() const noexcept { return errors + warnings + notes; }
    [[nodiscard]] std::size_t& of(PrefabInspection::Severity severity) noexcept;
};

[[nodiscard]] FindingTotals countFindings(const std::vector<PrefabInspection::Finding>& findings);

/// "2 errors and 1 warning in 12 checked files.", "No findings in 1 checked file."
[[nodiscard]] std::string summaryText(const FindingTotals& totals, std::size_t filesCount);

/// The indices of the findings to show: all of them in order or, if there are more than `maxCount`, the first ones by
/// descending severity. `maxCount` is 0 for all.
[[nodiscard]] std::vector<std::size_t> shownFindings(const std::vector<PrefabInspection::Finding>& findings,
                                                     std::size_t maxCount);

} // namespace Kiln::PrefabTool
