#include <kiln_prefab/reports/github_report.h>

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/reports/text_columns.h>
#include <kiln_prefab/reports/totals.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::Severity;

namespace {

/// Escapes a printable text as GitHub prescribes it. Line breaks stay, because printable texts have none.
[[nodiscard]] std::string escaped(const std::string& text, std::string_view specials) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (specials.find(character) == std::string_view::npos) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += {'%', DIGITS[byte >> 4U], DIGITS[byte & 0xfU]};
        }
    }
    return result;
}

[[nodiscard]] std::string dataText(const std::string& text) {
    return escaped(printable(text), "%");
}

[[nodiscard]] std::string propertyText(const std::string& text) {
    return escaped(printable(text), "%:,");
}

[[nodiscard]] std::string_view commandName(Severity severity) {
    return severity == Severity::NOTE ? "notice" : PrefabInspection::severityText(severity);
}

void writeRange(std::ostream& stream, const Finding& finding) {
    const PrefabInspection::SourceRange& range = finding.range;
    if (range.line == 0) {
        return;
    }
    stream << ",line=" << range.line;
    // Columns count characters, so they need the line; GitHub ignores them if the range has several lines.
    if (range.endLine == range.line && !finding.sourceLine.empty()) {
        stream << ",col=" << characterColumn(finding.sourceLine, range.column)
               << ",endColumn=" << characterColumn(finding.sourceLine, range.endColumn);
    } else if (range.endLine > range.line) {
        stream << ",endLine=" << range.endLine;
    }
}

void writeAnnotation(std::ostream& stream, const Finding& finding) {
    constexpr std::string_view LINE_BREAK = "%0A";
    const PrefabInspection::FindingRule& rule = PrefabInspection::findingRule(finding.code);
    stream << "::" << commandName(finding.severity) << " file=" << propertyText(finding.file);
    writeRange(stream, finding);
    stream << ",title=" << PrefabInspection::codeText(finding.code) << ' ' << rule.name
           << "::" << dataText(finding.message);
    if (!finding.cure.empty()) {
        stream << LINE_BREAK << "help: " << dataText(finding.cure);
    }
    stream << '\n';
}

} // namespace

GithubReport::GithubReport(ReportOptions options) : m_options(std::move(options)) {}

void GithubReport::write(const CheckResult& result, std::ostream& stream) const {
    FindingTotals annotated;
    for (const std::size_t index : shownFindings(result.findings, m_options.maxFindings)) {
        const Finding& finding = result.findings[index];
        if (std::size_t& count = annotated.of(finding.severity); count < MAX_ANNOTATIONS) {
            ++count;
            writeAnnotation(stream, finding);
        }
    }
    stream << summaryText(countFindings(result.findings), result.files.size());
    if (const std::size_t rest = result.findings.size() - annotated.all(); rest > 0) {
        stream << ' ' << counted(rest, "finding") << (rest == 1 ? " has" : " have") << " no annotation.";
    }
    stream << '\n';
}

} // namespace Kiln::PrefabTool
