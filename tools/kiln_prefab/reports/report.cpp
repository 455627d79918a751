#include <kiln_prefab/reports/report.h>

#include <kiln_prefab/reports/github_report.h>
#include <kiln_prefab/reports/json_report.h>
#include <kiln_prefab/reports/junit_report.h>
#include <kiln_prefab/reports/sarif_report.h>
#include <kiln_prefab/reports/text_report.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

constexpr std::array<std::string_view, 5> NAMES{"text", "json", "sarif", "junit", "github"}; // As in ReportFormat.

} // namespace

std::span<const std::string_view> reportFormatNames() {
    return NAMES;
}

std::optional<ReportFormat> reportFormat(std::string_view name) {
    const auto* const found = std::find(NAMES.begin(), NAMES.end(), name);
    return found != NAMES.end() ? std::optional(static_cast<ReportFormat>(found - NAMES.begin())) : std::nullopt;
}

std::unique_ptr<Report> makeReport(ReportFormat format, ReportOptions options) {
    switch (format) {
    case ReportFormat::TEXT:
        return std::make_unique<TextReport>(std::move(options));
    case ReportFormat::JSON:
        return std::make_unique<JsonReport>(std::move(options));
    case ReportFormat::SARIF:
        return std::make_unique<SarifReport>(std::move(options));
    case ReportFormat::JUNIT:
        return std::make_unique<JunitReport>(std::move(options));
    case ReportFormat::GITHUB:
        return std::make_unique<GithubReport>(std::move(options));
    }
    return nullptr;
}

} // namespace Kiln::PrefabTool
