#pragma once

#include <kiln_prefab/reports/report.h>

namespace Kiln::PrefabTool {

/// Colours a printable text; empty for no colours.
using TextStyler = std::function<std::string(std::string_view text, Style style)>;

/// "FILE:LINE:COLUMN", or "FILE" for the file as a whole, printable.
[[nodiscard]] std::string locationText(const std::string& file, const PrefabInspection::SourceRange& range);

/// Writes a finding as a message with the source line, the chain of nesting, related places, dependents and the cure.
/// Every line ends with a line break. Lists are shortened.
void writeFinding(std::ostream& stream, const PrefabInspection::Finding& finding, const TextStyler& styled);

/// Messages like those of a compiler, followed by a summary line.
class TextReport final : public Report {
public:
    explicit TextReport(ReportOptions options);

    void write(const PrefabInspection::CheckResult& result, std::ostream& stream) const override;

private:
    ReportOptions m_options;
};

} // namespace Kiln::PrefabTool
