#pragma once

#include <kiln_prefab/reports/report.h>

namespace Kiln::PrefabTool {

/// Workflow commands of GitHub Actions, which show findings as annotations, followed by a summary line. GitHub shows at
/// most ten annotations of each severity for a step, so no more are written.
class GithubReport final : public Report {
public:
    static constexpr std::size_t MAX_ANNOTATIONS = 10; ///< Of each severity.

    explicit GithubReport(ReportOptions options);

    void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const override;

private:
    ReportOptions m_options;
};

} // namespace Kiln::PrefabTool
