#include <kiln_prefab/reports/junit_report.h>

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/reports/text_report.h>
#include <kiln_prefab/reports/totals.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <sstream>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;

namespace {

/// The findings to show, by file. Files that were checked are there even if they have none.
using FindingsByFile = std::map<std::string, std::vector<const Finding*>>;

/// A printable text, which can have tabs and line breaks, as XML. U+FFFE and U+FFFF, which are printable but not
/// allowed in XML, are written as \xNN, too.
[[nodiscard]] std::string xmlText(std::string_view text) {
    std::string xml;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i);
        if (rest.starts_with("\xef\xbf\xbe") || rest.starts_with("\xef\xbf\xbf")) {
            xml += rest[2] == '\xbe' ? "\\xef\\xbf\\xbe" : "\\xef\\xbf\\xbf";
            i += 2;
            continue;
        }
        switch (text[i]) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        case '"':
            xml += "&quot;";
            break;
        default:
            xml += text[i];
        }
    }
    return xml;
}

[[nodiscard]] std::string findingText(const Finding& finding) {
    std::ostringstream text;
    writeFinding(text, finding, {});
    return xmlText(text.str());
}

[[nodiscard]] FindingsByFile group(const CheckResult& result, std::size_t maxFindings) {
    FindingsByFile files;
    for (const CheckedFile& file : result.files) {
        files.try_emplace(file.path);
    }
    for (const std::size_t index : shownFindings(result.findings, maxFindings)) {
        const Finding& finding = result.findings[index];
        files[finding.file].push_back(&finding);
    }
    return files;
}

void writeTestCase(std::ostream& stream, const std::string& file, const std::vector<const Finding*>& findings,
                   PrefabInspection::Severity failingSeverity) {
    stream << "<testcase classname=\"kiln-prefab.check\" name=\"" << xmlText(printable(file)) << '"';
    if (findings.empty()) {
        stream << "/>\n";
        return;
    }
    stream << ">\n";
    std::string output;
    for (const Finding* const finding : findings) {
        if (finding->severity < failingSeverity) {
            output += findingText(*finding);
            continue;
        }
        stream << "<failure type=\"" << PrefabInspection::codeText(finding->code) << "\" message=\""
               << xmlText(printable(finding->message)) << "\">" << findingText(*finding) << "</failure>\n";
    }
    if (!output.empty()) {
        stream << "<system-out>" << output << "</system-out>\n";
    }
    stream << "</testcase>\n";
}

} // namespace

JunitReport::JunitReport(ReportOptions options) : m_options(std::move(options)) {}

void JunitReport::write(const CheckResult& result, std::ostream& stream) const {
    const FindingsByFile files = group(result, m_options.maxFindings);
    const auto failureCount = std::count_if(files.begin(), files.end(), [this](const auto& file) {
        return std::any_of(file.second.begin(), file.second.end(),
                           [this](const Finding* finding) { return finding->severity >= m_options.failingSeverity; });
    });
    std::ostringstream counts;
    counts << " tests=\"" << files.size() << "\" failures=\"" << failureCount << "\" errors=\"0\">\n";
    stream << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           << "<testsuites" << counts.str() << "<testsuite name=\"kiln-prefab check\"" << counts.str();
    for (const auto& [file, findings] : files) {
        writeTestCase(stream, file, findings, m_options.failingSeverity);
    }
    stream << "<system-out>" << summaryText(countFindings(result.findings), result.files.size()) << "</system-out>\n"
           << "</testsuite>\n</testsuites>\n";
}

} // namespace Kiln::PrefabTool
