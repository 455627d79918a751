#include <kiln_prefab/reports/text_report.h>

#include <core/printable_text.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/reports/source_excerpt.h>
#include <kiln_prefab/reports/totals.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::Place;
using PrefabInspection::Severity;

namespace {

// Numbers of entries that the lists of a finding show at most.
constexpr std::size_t MAX_CHAIN = 20;
constexpr std::size_t MAX_RELATED = 10;
constexpr std::size_t MAX_DEPENDENTS = 5;

constexpr std::size_t MIN_GUTTER_WIDTH = 5;

/// Writes one finding.
class FindingWriter {
public:
    FindingWriter(std::ostream& stream, const Finding& finding, const TextStyler& styler)
        : m_stream(stream), m_finding(finding), m_styler(styler) {}

    void write() {
        writeMessage();
        writeSource();
        writeObject();
        writeChain();
        writeRelated();
        writeDependents();
        if (!m_finding.cure.empty()) {
            m_stream << "  " << styled("help:", Style::STRONG) << ' ' << printable(m_finding.cure) << '\n';
        }
    }

private:
    [[nodiscard]] std::string styled(const std::string& text, Style style) const {
        return m_styler ? m_styler(text, style) : text;
    }

    [[nodiscard]] Style severityStyle() const {
        switch (m_finding.severity) {
        case Severity::ERROR:
            return Style::ERROR;
        case Severity::WARNING:
            return Style::WARNING;
        case Severity::NOTE:
            return Style::NOTE;
        }
        return Style::PLAIN;
    }

    void writeMessage() {
        const std::string severity(PrefabInspection::severityText(m_finding.severity));
        m_stream << styled(locationText(m_finding.file, m_finding.range) + ":", Style::STRONG) << ' '
                 << styled(severity + ":", severityStyle()) << ' '
                 << styled(printable(m_finding.message), Style::STRONG) << " ["
                 << PrefabInspection::codeText(m_finding.code) << "]\n";
    }

    void writeSource() {
        const std::optional<SourceExcerpt> excerpt = sourceExcerpt(m_finding);
        if (!excerpt) {
            return;
        }
        const std::string number = std::to_string(m_finding.range.line);
        const std::size_t width = std::max(number.size() + 1, MIN_GUTTER_WIDTH);
        m_stream << styled(std::string(width - number.size(), ' ') + number + " |", Style::WEAK) << ' ' << excerpt->line
                 << '\n'
                 << styled(std::string(width, ' ') + " |", Style::WEAK) << ' '
                 << styled(excerpt->marker, severityStyle()) << '\n';
    }

    void writeObject() {
        if (m_finding.objectPath.empty() && !m_finding.objectUuid) {
            return;
        }
        m_stream << "  object";
        if (!m_finding.objectPath.empty()) {
            m_stream << " '" << printable(shortenedText(m_finding.objectPath)) << '\'';
        }
        if (m_finding.objectUuid) {
            m_stream << ' ' << m_finding.objectUuid->toString();
        }
        m_stream << '\n';
    }

    void writePlace(std::string_view introduction, const Place& place) {
        m_stream << "  " << introduction << locationText(place.file, place.range);
        if (!place.text.empty()) {
            m_stream << ": " << printable(place.text);
        }
        m_stream << '\n';
    }

    void writeChain() {
        const std::size_t count = m_finding.chain.size();
        for (std::size_t i = 0; i < std::min(count, MAX_CHAIN); ++i) {
            writePlace("nested at ", m_finding.chain[count - 1 - i]);
        }
        if (count > MAX_CHAIN) {
            m_stream << "  nested through " << counted(count - MAX_CHAIN, "more prefab") << '\n';
        }
    }

    void writeRelated() {
        const std::size_t count = m_finding.related.size();
        for (std::size_t i = 0; i < std::min(count, MAX_RELATED); ++i) {
            writePlace("see ", m_finding.related[i]);
        }
        if (count > MAX_RELATED) {
            m_stream << "  see " << counted(count - MAX_RELATED, "more place") << '\n';
        }
    }

    void writeDependents() {
        const std::size_t count = m_finding.dependents.size();
        if (count == 0 || m_finding.dependents == std::vector{m_finding.file}) {
            return;
        }
        m_stream << "  affects " << counted(count, "prefab") << ": ";
        for (std::size_t i = 0; i < std::min(count, MAX_DEPENDENTS); ++i) {
            m_stream << (i == 0 ? "" : ", ") << printable(m_finding.dependents[i]);
        }
        if (count > MAX_DEPENDENTS) {
            m_stream << " and " << count - MAX_DEPENDENTS << " more";
        }
        m_stream << '\n';
    }

    std::ostream& m_stream;
    const Finding& m_finding;
    const TextStyler& m_styler;
};

} // namespace

std::string locationText(const std::string& file, const PrefabInspection::SourceRange& range) {
    std::string text = printable(file);
    if (range.line > 0) {
        text += ":" + std::to_string(range.line);
        if (range.column > 0) {
            text += ":" + std::to_string(range.column);
        }
    }
    return text;
}

void writeFinding(std::ostream& stream, const Finding& finding, const TextStyler& styled) {
    FindingWriter(stream, finding, styled).write();
}

TextReport::TextReport(ReportOptions options) : m_options(std::move(options)) {}

void TextReport::write(const CheckResult& result, std::ostream& stream) const {
    const std::vector<std::size_t> shown = shownFindings(result.findings, m_options.maxFindings);
    for (const std::size_t index : shown) {
        writeFinding(stream, result.findings[index], m_options.styled);
    }
    if (const std::size_t hiddenCount = result.findings.size() - shown.size(); hiddenCount > 0) {
        stream << counted(hiddenCount, "more finding") << (hiddenCount == 1 ? " is" : " are") << " not shown.\n";
    }
    stream << summaryText(countFindings(result.findings), result.files.size()) << '\n';
}

} // namespace Kiln::PrefabTool
