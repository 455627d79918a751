#pragma once

#include <kiln_prefab/reports/report.h>

namespace Kiln::PrefabTool {

/// One JSON document with everything that is known, as docs/findings.schema.json describes it. Each finding and each
/// file has a line of its own.
class JsonReport final : public Report {
public:
    /// Number in "schemaVersion". It changes when a program that reads reports has to change.
    static constexpr int SCHEMA_VERSION = 1;

    explicit JsonReport(ReportOptions options);

    void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const override;

private:
    ReportOptions m_options;
};

/// Reads what JsonReport has written. Failure: returns nothing, and `problem` is a phrase that says why. A report whose
/// findings were cut by ReportOptions::maxFindings is refused, too.
[[nodiscard]] std::optional<PrefabInspection::CheckResult> readJsonReport(const std::string& text,
                                                                          std::string& problem);

} // namespace Kiln::PrefabTool
