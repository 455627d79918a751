#pragma once

#include <kiln_prefab/reports/report.h>

namespace Kiln::PrefabTool {

/// A test suite with a test case for each checked file. Findings at or above the failing severity are failures of the
/// test case; the others are its output.
class JunitReport final : public Report {
public:
    explicit JunitReport(ReportOptions options);

    void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const override;

private:
    ReportOptions m_options;
};

} // namespace Kiln::PrefabTool
