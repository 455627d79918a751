#include <kiln_prefab/reports/sarif_report.h>

#include <kiln_prefab/check/stable_hash.h>
#include <kiln_prefab/reports/hash_text.h>
#include <kiln_prefab/reports/json_text.h>
#include <kiln_prefab/reports/rule_text.h>
#include <kiln_prefab/reports/text_columns.h>
#include <kiln_prefab/reports/totals.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <utility>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::FindingRule;
using PrefabInspection::Place;
using PrefabInspection::SourceRange;

namespace {

constexpr const char* URI_BASE = "ROOT";
constexpr const char* FINGERPRINT_NAME = "codeFileSubject/v1";

[[nodiscard]] Json text(std::string_view content) {
    return {{"text", content}};
}

[[nodiscard]] Json toArtifactLocation(const std::string& file) {
    return {{"uri", uriText(file)}, {"uriBaseId", URI_BASE}};
}

/// A location in a line whose text is not known: without columns.
[[nodiscard]] Json toPhysicalLocation(const std::string& file, const SourceRange& range) {
    Json location{{"artifactLocation", toArtifactLocation(file)}};
    if (range.line > 0) {
        location["region"] = {{"startLine", range.line}, {"endLine", std::max(range.line, range.endLine)}};
    }
    return location;
}

[[nodiscard]] Json toPhysicalLocation(const Finding& finding) {
    Json location = toPhysicalLocation(finding.file, finding.range);
    const SourceRange& range = finding.range;
    if (range.column > 0 && !finding.sourceLine.empty()) {
        Json& region = location["region"];
        region["startColumn"] = characterColumn(finding.sourceLine, range.column);
        if (range.endLine == range.line) {
            region["endColumn"] = characterColumn(finding.sourceLine, std::max(range.column, range.endColumn));
            location["contextRegion"] = {
                {"startLine", range.line}, {"endLine", range.line}, {"snippet", text(finding.sourceLine)}};
        }
    }
    return location;
}

[[nodiscard]] Json toLocation(const Finding& finding) {
    Json location{{"physicalLocation", toPhysicalLocation(finding)}};
    if (!finding.objectPath.empty()) {
        location["logicalLocations"] = {{{"fullyQualifiedName", finding.objectPath}, {"kind", "object"}}};
    }
    return location;
}

[[nodiscard]] Json toLocation(const Place& place) {
    return {{"physicalLocation", toPhysicalLocation(place.file, place.range)}, {"message", text(place.text)}};
}

[[nodiscard]] Json toRelatedLocations(const Finding& finding) {
    Json list = Json::array();
    for (const Place& place : finding.related) {
        Json location{{"id", list.size()}};
        location.update(toLocation(place));
        list.push_back(std::move(location));
    }
    return list;
}

/// The way through the integration points to the finding.
[[nodiscard]] Json toCodeFlow(const Finding& finding) {
    Json steps = Json::array();
    for (const Place& place : finding.chain) {
        steps.push_back({{"location", toLocation(place)}, {"nestingLevel", steps.size()}});
    }
    steps.push_back({{"location", toLocation(finding)}, {"nestingLevel", steps.size()}});
    return {{"message", text("The prefabs that nest the file")}, {"threadFlows", {{{"locations", std::move(steps)}}}}};
}

[[nodiscard]] Json toFix(const Finding& finding) {
    const Json replacement{{"deletedRegion", {{"byteOffset", finding.fix->offset}, {"byteLength", finding.fix->size}}},
                           {"insertedContent", text(finding.fix->text)}};
    return {{"description", text(finding.fix->title)},
            {"artifactChanges",
             {{{"artifactLocation", toArtifactLocation(finding.file)}, {"replacements", {replacement}}}}}};
}

[[nodiscard]] Json toProperties(const Finding& finding) {
    Json properties{{"subject", finding.subject}};
    if (finding.objectUuid) {
        properties["objectUuid"] = finding.objectUuid->toString();
    }
    if (!finding.dependents.empty()) {
        properties["dependents"] = finding.dependents;
    }
    return properties;
}

[[nodiscard]] Json toResult(const Finding& finding, std::size_t ruleIndex, const std::string& fingerprint) {
    const std::string separator = finding.cure.empty() ? "" : " ";
    Json result{{"ruleId", PrefabInspection::codeText(finding.code)},
                {"ruleIndex", ruleIndex},
                {"level", PrefabInspection::severityText(finding.severity)},
                {"message", text(finding.message + separator + finding.cure)},
                {"locations", {toLocation(finding)}},
                {"partialFingerprints", {{FINGERPRINT_NAME, fingerprint}}}};
    if (!finding.related.empty()) {
        result["relatedLocations"] = toRelatedLocations(finding);
    }
    if (!finding.chain.empty()) {
        result["codeFlows"] = {toCodeFlow(finding)};
    }
    if (finding.fix) {
        result["fixes"] = {toFix(finding)};
    }
    result["properties"] = toProperties(finding);
    return result;
}

/// The help is also the address of the help, as a "data" URI: it has to be absolute, and this one needs no server.
[[nodiscard]] Json toRule(const FindingRule& rule) {
    return {{"id", PrefabInspection::codeText(rule.code)},
            {"name", rule.name},
            {"shortDescription", text(rule.what)},
            {"fullDescription", text(std::string(rule.what) + " " + std::string(rule.why))},
            {"help", {{"text", ruleText(rule, 0)}, {"markdown", ruleMarkdown(rule)}}},
            {"helpUri", "data:text/plain;charset=utf-8," + uriText(ruleText(rule))},
            {"defaultConfiguration", {{"level", PrefabInspection::severityText(rule.severity)}}}};
}

/// The codes of the findings, each once, in ascending order.
[[nodiscard]] std::vector<FindingCode> codesOf(const std::vector<Finding>& findings) {
    std::set<FindingCode> codes;
    for (const Finding& finding : findings) {
        codes.insert(finding.code);
    }
    return {codes.begin(), codes.end()};
}

void writeDriver(std::ostream& stream, const std::string& version, const std::vector<FindingCode>& codes) {
    stream << "{\"name\":\"kiln-prefab\",\"semanticVersion\":" << jsonText(version) << ",\"rules\":[";
    const char* separator = "\n";
    for (const FindingCode code : codes) {
        stream << std::exchange(separator, ",\n") << jsonText(toRule(PrefabInspection::findingRule(code)));
    }
    stream << "]}";
}

} // namespace

std::vector<std::string> findingFingerprints(const std::vector<Finding>& findings) {
    constexpr char SEPARATOR = '\0';
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> fingerprints;
    fingerprints.reserve(findings.size());
    for (const Finding& finding : findings) {
        const std::string identity =
            PrefabInspection::codeText(finding.code) + SEPARATOR + finding.file + SEPARATOR + finding.subject;
        fingerprints.push_back(hashText(stableHash(identity + SEPARATOR + std::to_string(counts[identity]++))));
    }
    return fingerprints;
}

std::string uriText(std::string_view path) {
    constexpr std::string_view UNRESERVED = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string uri;
    for (const char character : path) {
        if (UNRESERVED.find(character) != std::string_view::npos) {
            uri += character;
        } else {
            const auto byte = static_cast<std::uint8_t>(character);
            uri += {'%', DIGITS[byte >> 4U], DIGITS[byte & 0xfU]};
        }
    }
    return uri;
}

SarifReport::SarifReport(ReportOptions options) : m_options(std::move(options)) {}

// The results are written one by one, because they can be too many to be held in memory twice.
void SarifReport::write(const CheckResult& result, std::ostream& stream) const {
    const Json bases{{URI_BASE, {{"description", text("The resource root of the file")}}}};
    stream << "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\",\n\"version\":\"2.1.0\",\n"
           << "\"runs\":[{\"tool\":{\"driver\":";
    const std::vector<FindingCode> codes = codesOf(result.findings);
    writeDriver(stream, m_options.toolVersion, codes);
    stream << "},\n\"columnKind\":\"unicodeCodePoints\",\n\"originalUriBaseIds\":" << jsonText(bases)
           << ",\n\"results\":[";
    const std::vector<std::string> fingerprints = findingFingerprints(result.findings);
    const char* separator = "\n";
    for (const std::size_t index : shownFindings(result.findings, m_options.maxFindings)) {
        const Finding& finding = result.findings[index];
        const auto rule = std::lower_bound(codes.begin(), codes.end(), finding.code);
        stream << std::exchange(separator, ",\n")
               << jsonText(toResult(finding, static_cast<std::size_t>(rule - codes.begin()), fingerprints[index]));
    }
    const FindingTotals totals = countFindings(result.findings);
    const Json properties{{"errors", totals.errors},
                          {"warnings", totals.warnings},
                          {"notes", totals.notes},
                          {"files", result.files.size()}};
    stream << "],\n\"properties\":" << jsonText(properties) << "}]}\n";
}

} // namespace Kiln::PrefabTool
