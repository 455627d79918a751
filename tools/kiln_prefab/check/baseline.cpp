#include "baseline.h"

#include "command_error.h"
#include "positioned_json.h"

#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

namespace {

using Json = nlohmann::ordered_json;

constexpr int VERSION = 1;

/// The text as JSON has it: ASCII, with U+FFFD for bytes that are not UTF-8.
[[nodiscard]] std::string jsonText(const Json& value) {
    return value.dump(-1, ' ', true, Json::error_handler_t::replace);
}

/// The text with U+FFFD for bytes that are not UTF-8.
[[nodiscard]] std::string validText(const std::string& text) {
    const auto isAscii = [](char character) { return static_cast<unsigned char>(character) < 0x80; };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        return text;
    }
    return Json::parse(jsonText(text)).get<std::string>();
}

[[noreturn]] void fail(const std::string& name, const std::string& problem) {
    throw CommandError(name + ": " + problem);
}

[[nodiscard]] FindingKey readEntry(const Json& entry, const std::string& name) {
    const auto isText = [&entry](const char* key) { return entry.contains(key) && entry[key].is_string(); };
    if (!entry.is_object() || entry.size() != 4 || !isText("file") || !isText("code") || !isText("subject") ||
        !entry.contains("occurrence") || !entry["occurrence"].is_number_unsigned()) {
        fail(name,
             "An entry of a baseline has a file, a code, a subject and an occurrence, but one is " + jsonText(entry));
    }
    return {entry["file"], entry["code"], entry["subject"], entry["occurrence"]};
}

} // namespace

std::vector<FindingKey> findingKeys(const std::vector<PrefabInspection::Finding>& findings) {
    std::map<std::tuple<std::string, std::string, std::string>, std::size_t> counts;
    std::vector<FindingKey> keys;
    keys.reserve(findings.size());
    for (const PrefabInspection::Finding& finding : findings) {
        FindingKey key{validText(finding.file), codeText(finding.code), validText(finding.subject)};
        key.occurrence = ++counts[{key.file, key.code, key.subject}];
        keys.push_back(std::move(key));
    }
    return keys;
}

Baseline Baseline::read(std::string_view text, const std::string& name) {
    static_cast<void>(readPositionedJson(text, name)); // Reports text that is no JSON, with its line.
    const Json document = Json::parse(text);
    if (!document.is_object() || !document.contains("version") || !document.contains("findings") ||
        !document["findings"].is_array()) {
        fail(name, "This is no baseline; --accept writes one");
    }
    if (document["version"] != VERSION) {
        fail(name, "The baseline has version " + jsonText(document["version"]) + ", but this program reads version " +
                       std::to_string(VERSION));
    }
    Baseline baseline;
    for (const Json& entry : document["findings"]) {
        baseline.add(readEntry(entry, name));
    }
    return baseline;
}

std::string Baseline::text() const {
    std::string text = "{\n\"version\": " + std::to_string(VERSION) + ",\n\"findings\": [";
    const char* separator = "\n";
    for (const FindingKey& key : m_keys) {
        text += separator;
        text += jsonText(
            Json{{"file", key.file}, {"code", key.code}, {"subject", key.subject}, {"occurrence", key.occurrence}});
        separator = ",\n";
    }
    return text + (m_keys.empty() ? "" : "\n") + "]\n}\n";
}

} // namespace Kiln::PrefabTool
