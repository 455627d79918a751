#pragma once

#include <kiln_prefab/reports/report.h>

namespace Kiln::PrefabTool {

/// SARIF 2.1.0 with one run, which describes the rules of its findings. Files are relative to "ROOT", the resource root
/// that contains them. Columns count characters; they are left out where the text of the line is not known.
class SarifReport final : public Report {
public:
    explicit SarifReport(ReportOptions options);

    void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const override;

private:
    ReportOptions m_options;
};

/// Values that distinguish findings from each other and stay the same when lines move: a hash of code, file, subject,
/// and the number of earlier findings with the same of these.
[[nodiscard]] std::vector<std::string> findingFingerprints(const std::vector<PrefabInspection::Finding>& findings);

/// A resource path as a relative reference (RFC 3986).
[[nodiscard]] std::string uriText(std::string_view path);

} // namespace Kiln::PrefabTool
