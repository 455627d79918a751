#include "finding_text.h"

#include "block_text.h"
#include "data_text.h"

#include <prefab_inspection/findings/finding_rules.h>

#include <set>
#include <string_view>

namespace Kiln::PrefabTool {

using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::FindingRule;

namespace {

/// Appends a member that is not the first one of its object.
void appendText(std::string& output, const char* name, std::string_view text) {
    output.append(",\"").append(name).append("\":");
    appendJsonString(output, text);
}

void appendFinding(std::string& output, const Finding& finding, const FileIndices& indices) {
    output += "{\"file\":";
    appendNumber(output, indices.find(finding.file));
    output += ",\"line\":";
    appendNumber(output, finding.range.line);
    output += ",\"column\":";
    appendNumber(output, finding.range.column);
    appendText(output, "code", PrefabInspection::codeText(finding.code));
    appendText(output, "severity", PrefabInspection::severityText(finding.severity));
    appendText(output, "message", finding.message);
    appendText(output, "cure", finding.cure);
    appendText(output, "object", finding.objectPath);
    output += ",\"uuid\":\"";
    if (finding.objectUuid) {
        appendUuid(output, *finding.objectUuid);
    }
    output += "\",\"related\":";
    appendList(output, finding.related.size(), [&](std::size_t i) {
        output += "{\"line\":";
        appendNumber(output, finding.related[i].range.line);
        appendText(output, "file", finding.related[i].file);
        appendText(output, "text", finding.related[i].text);
        output += '}';
    });
    output += '}';
}

} // namespace

void appendFindings(std::string& output, const std::vector<Finding>& findings, const FileIndices& indices) {
    std::set<FindingCode> codes;
    appendList(output, findings.size(), [&](std::size_t i) {
        codes.insert(findings[i].code);
        appendFinding(output, findings[i], indices);
    });
    output += ",\n\"rules\":{";
    for (const FindingCode code : codes) {
        const FindingRule& rule = PrefabInspection::findingRule(code);
        output += code == *codes.begin() ? "" : ",";
        appendJsonString(output, PrefabInspection::codeText(code));
        output += ":{\"name\":";
        appendJsonString(output, rule.name);
        appendText(output, "what", rule.what);
        appendText(output, "why", rule.why);
        output += '}';
    }
    output += '}';
}

} // namespace Kiln::PrefabTool
