#include <kiln_prefab/reports/totals.h>

#include <kiln_prefab/line_text.h>

#include <algorithm>
#include <numeric>

namespace Kiln::PrefabTool {

using PrefabInspection::Finding;
using PrefabInspection::Severity;

namespace {

/// "A", "A and B", "A, B and C".
[[nodiscard]] std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        text += (i == 0 ? "" : i + 1 < parts.size() ? ", " : " and ") + parts[i];
    }
    return text;
}

} // namespace

std::size_t& FindingTotals::of(Severity severity) noexcept {
    return severity == Severity::ERROR ? errors : severity == Severity::WARNING ? warnings : notes;
}

FindingTotals countFindings(const std::vector<Finding>& findings) {
    FindingTotals totals;
    for (const Finding& finding : findings) {
        ++totals.of(finding.severity);
    }
    return totals;
}

std::string summaryText(const FindingTotals& totals, std::size_t filesCount) {
    std::vector<std::string> parts;
    if (totals.errors > 0) {
        parts.push_back(counted(totals.errors, "error"));
    }
    if (totals.warnings > 0) {
        parts.push_back(counted(totals.warnings, "warning"));
    }
    if (totals.notes > 0) {
        parts.push_back(counted(totals.notes, "note"));
    }
    return (parts.empty() ? "No findings" : joined(parts)) + " in " + counted(filesCount, "checked file") + ".";
}

std::vector<std::size_t> shownFindings(const std::vector<Finding>& findings, std::size_t maxCount) {
    std::vector<std::size_t> indices(findings.size());
    std::iota(indices.begin(), indices.end(), std::size_t{0});
    if (maxCount != 0 && maxCount < indices.size()) {
        std::stable_sort(indices.begin(), indices.end(), [&findings](std::size_t left, std::size_t right) {
            return findings[left].severity > findings[right].severity;
        });
        indices.resize(maxCount);
    }
    return indices;
}

} // namespace Kiln::PrefabTool
