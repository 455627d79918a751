#pragma once

#include <core/non_copyable.h>
#include <kiln_prefab/terminal.h>
#include <prefab_inspection/checking/checker.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

enum class ReportFormat {
    TEXT,   ///< For people: messages like those of a compiler.
    JSON,   ///< Everything that is known; docs/findings.schema.json describes it.
    SARIF,  ///< Version 2.1.0, for code scanning services.
    JUNIT,  ///< For build servers.
    GITHUB, ///< Workflow commands of GitHub Actions, which become annotations.
};

/// The formats by their names, as users write them: "text", "json", "sarif", "junit", "github".
[[nodiscard]] std::span<const std::string_view> reportFormatNames();
[[nodiscard]] std::optional<ReportFormat> reportFormat(std::string_view name);

struct ReportOptions {
    /// Number of findings that are shown at most; 0 for all. If it cuts the output, errors come first, then warnings.
    /// Totals always count all findings.
    std::size_t maxFindings = 0;

    /// Findings of this severity and above are failures in JUNIT.
    PrefabInspection::Severity failingSeverity = PrefabInspection::Severity::ERROR;

    std::string toolVersion;

    /// Colours a printable text of TEXT, such as Terminal::styled(). Without it nothing is coloured.
    std::function<std::string(std::string_view text, Style style)> styled;
};

/// Writes the result of a check in one format. The output contains neither times nor absolute paths, and no character
/// of a file that controls a terminal: TEXT, JUNIT and GITHUB write such bytes as \xNN, JSON and SARIF are ASCII.
class Report : NonCopyable {
public:
    virtual ~Report() = default;

    /// `result` is sorted, with the severities that are to be shown. Failure: as by the stream.
    virtual void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const = 0;
};

[[nodiscard]] std::unique_ptr<Report> makeReport(ReportFormat format, ReportOptions options);

} // namespace Kiln::PrefabTool
