#include <kiln_prefab/reports/json_report.h>

#include <kiln_prefab/reports/hash_text.h>
#include <kiln_prefab/reports/json_text.h>
#include <kiln_prefab/reports/totals.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <cstdint>
#include <exception>
#include <ostream>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::Fix;
using PrefabInspection::Place;
using PrefabInspection::SourceRange;

namespace {

[[nodiscard]] Json toJson(const SourceRange& range) {
    if (range.line == 0) {
        return nullptr;
    }
    return {{"line", range.line}, {"column", range.column}, {"endLine", range.endLine}, {"endColumn", range.endColumn}};
}

[[nodiscard]] Json toJson(const std::vector<Place>& places) {
    Json list = Json::array();
    for (const Place& place : places) {
        list.push_back({{"file", place.file}, {"range", toJson(place.range)}, {"text", place.text}});
    }
    return list;
}

[[nodiscard]] Json toJson(const std::optional<Fix>& fix) {
    if (!fix) {
        return nullptr;
    }
    return {{"offset", fix->offset}, {"size", fix->size}, {"text", fix->text}, {"title", fix->title}};
}

[[nodiscard]] Json toJson(const Finding& finding) {
    const PrefabInspection::FindingRule& rule = PrefabInspection::findingRule(finding.code);
    return {{"code", PrefabInspection::codeText(finding.code)},
            {"name", rule.name},
            {"severity", PrefabInspection::severityText(finding.severity)},
            {"file", finding.file},
            {"range", toJson(finding.range)},
            {"sourceLine", finding.sourceLine},
            {"message", finding.message},
            {"cure", finding.cure},
            {"objectPath", finding.objectPath},
            {"objectUuid", finding.objectUuid ? Json(finding.objectUuid->toString()) : Json(nullptr)},
            {"chain", toJson(finding.chain)},
            {"related", toJson(finding.related)},
            {"dependents", finding.dependents},
            {"fix", toJson(finding.fix)},
            {"subject", finding.subject}};
}

[[nodiscard]] Json toJson(const CheckedFile& file) {
    return {{"path", file.path},
            {"isTarget", file.isTarget},
            {"bytes", file.bytes},
            {"contentHash", hashText(file.contentHash)},
            {"nested", file.nested}};
}

[[nodiscard]] Json toJson(FindingTotals totals, std::size_t filesCount, std::size_t shownCount) {
    return {{"errors", totals.errors},
            {"warnings", totals.warnings},
            {"notes", totals.notes},
            {"files", filesCount},
            {"shown", shownCount}};
}

/// What makes a report unreadable although it is a JSON document.
class FormatError : public std::exception {
public:
    explicit FormatError(std::string problem) : m_problem(std::move(problem)) {}

    [[nodiscard]] const char* what() const noexcept override { return m_problem.c_str(); }

private:
    std::string m_problem;
};

[[nodiscard]] PrefabInspection::Severity readSeverity(const std::string& text) {
    using PrefabInspection::Severity;
    for (const Severity severity : {Severity::NOTE, Severity::WARNING, Severity::ERROR}) {
        if (text == PrefabInspection::severityText(severity)) {
            return severity;
        }
    }
    throw FormatError("'" + text + "' is not a severity");
}

[[nodiscard]] SourceRange readRange(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    return {json.at("line"), json.at("column"), json.at("endLine"), json.at("endColumn")};
}

[[nodiscard]] std::vector<Place> readPlaces(const Json& json) {
    std::vector<Place> places;
    for (const Json& place : json) {
        places.push_back({place.at("file"), readRange(place.at("range")), place.at("text")});
    }
    return places;
}

[[nodiscard]] std::optional<Uuid> readUuid(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    const std::string text = json;
    const std::optional<Uuid> uuid = Uuid::fromString(text);
    if (!uuid) {
        throw FormatError("'" + text + "' is not a UUID");
    }
    return uuid;
}

[[nodiscard]] std::optional<Fix> readFix(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return Fix{json.at("offset"), json.at("size"), json.at("text"), json.at("title")};
}

[[nodiscard]] Finding readFinding(const Json& json) {
    const std::string code = json.at("code");
    const std::optional<PrefabInspection::FindingCode> knownCode = PrefabInspection::findingCode(code);
    if (!knownCode) {
        throw FormatError("'" + code + "' is not a code of a finding");
    }
    Finding finding;
    finding.code = *knownCode;
    finding.severity = readSeverity(json.at("severity"));
    finding.file = json.at("file");
    finding.range = readRange(json.at("range"));
    finding.sourceLine = json.at("sourceLine");
    finding.message = json.at("message");
    finding.cure = json.at("cure");
    finding.objectPath = json.at("objectPath");
    finding.objectUuid = readUuid(json.at("objectUuid"));
    finding.chain = readPlaces(json.at("chain"));
    finding.related = readPlaces(json.at("related"));
    finding.dependents = json.at("dependents").get<std::vector<std::string>>();
    finding.fix = readFix(json.at("fix"));
    finding.subject = json.at("subject");
    return finding;
}

[[nodiscard]] std::uint64_t readHash(const std::string& text) {
    const std::optional<std::uint64_t> hash = hashFromText(text);
    if (!hash) {
        throw FormatError("'" + text + "' is not a hash");
    }
    return *hash;
}

[[nodiscard]] CheckedFile readFile(const Json& json) {
    CheckedFile file;
    file.path = json.at("path");
    file.isTarget = json.at("isTarget");
    file.bytes = json.at("bytes");
    file.contentHash = readHash(json.at("contentHash"));
    file.nested = json.at("nested").get<std::vector<std::string>>();
    return file;
}

[[nodiscard]] CheckResult readReport(const Json& json) {
    if (json.at("schemaVersion") != JsonReport::SCHEMA_VERSION) {
        throw FormatError("its schemaVersion is not " + std::to_string(JsonReport::SCHEMA_VERSION));
    }
    CheckResult result;
    for (const Json& finding : json.at("findings")) {
        result.findings.push_back(readFinding(finding));
    }
    for (const Json& file : json.at("files")) {
        result.files.push_back(readFile(file));
    }
    const Json& totals = json.at("totals");
    if (totals.at("errors").get<std::size_t>() + totals.at("warnings").get<std::size_t>() +
            totals.at("notes").get<std::size_t>() !=
        result.findings.size()) {
        throw FormatError("it does not contain all findings, because their number was limited");
    }
    return result;
}

} // namespace

JsonReport::JsonReport(ReportOptions options) : m_options(std::move(options)) {}

// The lists are written element by element, because they can be too long to be held in memory twice.
void JsonReport::write(const CheckResult& result, std::ostream& stream) const {
    const std::vector<std::size_t> shown = shownFindings(result.findings, m_options.maxFindings);
    const Json tool{{"name", "kiln-prefab"}, {"version", m_options.toolVersion}};
    stream << "{\"schemaVersion\":" << SCHEMA_VERSION << ",\n\"tool\":" << jsonText(tool)
           << ",\n\"totals\":" << jsonText(toJson(countFindings(result.findings), result.files.size(), shown.size()))
           << ",\n\"findings\":[";
    const char* separator = "\n";
    for (const std::size_t index : shown) {
        stream << std::exchange(separator, ",\n") << jsonText(toJson(result.findings[index]));
    }
    stream << "],\n\"files\":[";
    separator = "\n";
    for (const CheckedFile& file : result.files) {
        stream << std::exchange(separator, ",\n") << jsonText(toJson(file));
    }
    stream << "]}\n";
}

std::optional<CheckResult> readJsonReport(const std::string& text, std::string& problem) {
    try {
        return readReport(Json::parse(text));
    } catch (const Json::exception& error) {
        problem = error.what();
    } catch (const FormatError& error) {
        problem = error.what();
    }
    return std::nullopt;
}

} // namespace Kiln::PrefabTool
