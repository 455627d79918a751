#include "settings.h"

#include "command_error.h"
#include "positioned_json.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/similar_name.h>
#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::codeText;
using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::findingRules;
using PrefabInspection::Severity;

constexpr std::array<std::string_view, 4> LEVEL_TEXTS{"off", "note", "warning", "error"};

[[nodiscard]] std::string inQuotes(std::string_view text) {
    return "'" + std::string(text) + "'";
}

[[nodiscard]] std::string suggestion(const std::string& text, const std::vector<std::string>& names) {
    const std::string similar = similarName(text, names);
    return similar.empty() ? std::string() : "; did you mean '" + similar + "'?";
}

void setLevel(Settings& settings, FindingCode code, Level level, const std::string& origin) {
    const auto [position, isNew] = settings.levels.try_emplace(code, Setting<Level>{level, origin});
    if (!isNew && position->second.value != level) {
        throw CommandError(codeText(code) + " is given two severities, " +
                           std::string(levelText(position->second.value)) + " and " + std::string(levelText(level)));
    }
}

/// Reads the members of a settings file.
class SettingsReader {
public:
    SettingsReader(const std::string& name, const std::string& folder) : m_name(name), m_folder(folder) {}

    [[nodiscard]] Settings read(const PositionedJson& document) {
        if (document.type != PositionedJson::Type::OBJECT) {
            fail(document.line, "The settings must be an object");
        }
        std::set<std::string> keys;
        for (const PositionedJson::Member& member : document.members) {
            if (!keys.insert(member.key).second) {
                fail(member.line, inQuotes(member.key) + " is set twice");
            }
            readMember(member);
        }
        return std::move(m_settings);
    }

private:
    [[noreturn]] void fail(std::size_t line, const std::string& problem) const {
        throw CommandError(origin(line) + ": " + problem);
    }

    [[nodiscard]] std::string origin(std::size_t line) const { return m_name + ":" + std::to_string(line); }

    void readMember(const PositionedJson::Member& member) {
        const std::string& key = member.key;
        if (key == "severity") {
            readSeverity(member);
        } else if (key == "ignore") {
            for (const auto& [code, line] : codes(member)) {
                addLevelAt(code, Level::OFF, line);
            }
        } else if (key == "only") {
            auto& only = m_settings.only.emplace();
            only.origin = origin(member.line);
            for (const auto& [code, line] : codes(member)) {
                only.value.insert(code);
            }
        } else if (key == "strict") {
            m_settings.strict = boolean(member);
        } else if (key == "unused") {
            m_settings.unused = boolean(member);
        } else if (key == "baseline") {
            readBaseline(member);
        } else {
            fail(member.line, "Unknown setting " + inQuotes(key) +
                                  suggestion(key, {"baseline", "ignore", "only", "severity", "strict", "unused"}));
        }
    }

    void readSeverity(const PositionedJson::Member& member) {
        if (member.value.type != PositionedJson::Type::OBJECT) {
            fail(member.line, "'severity' must be an object, such as {\"KP0305\": \"error\"}");
        }
        for (const PositionedJson::Member& entry : member.value.members) {
            const std::optional<Level> level =
                entry.value.type == PositionedJson::Type::STRING ? levelOf(entry.value.string) : std::nullopt;
            if (!level) {
                fail(entry.line,
                     "The severity of " + inQuotes(entry.key) + " must be \"error\", \"warning\", \"note\" or \"off\"");
            }
            addLevelAt(code(entry.key, entry.line), *level, entry.line);
        }
    }

    void readBaseline(const PositionedJson::Member& member) {
        if (member.value.type != PositionedJson::Type::STRING || member.value.string.empty()) {
            fail(member.line, "'baseline' must be the name of a file");
        }
        const bool isRelative = member.value.string.front() != '/' && !m_folder.empty();
        m_settings.baseline = {(isRelative ? m_folder + "/" : std::string()) + member.value.string,
                               origin(member.line)};
    }

    [[nodiscard]] Setting<bool> boolean(const PositionedJson::Member& member) const {
        if (member.value.type != PositionedJson::Type::BOOLEAN) {
            fail(member.line, inQuotes(member.key) + " must be true or false");
        }
        return {member.value.boolean, origin(member.line)};
    }

    [[nodiscard]] std::vector<std::pair<FindingCode, std::size_t>> codes(const PositionedJson::Member& member) const {
        const std::string problem = inQuotes(member.key) + " must be a list of codes, such as [\"KP0305\"]";
        if (member.value.type != PositionedJson::Type::ARRAY) {
            fail(member.line, problem);
        }
        std::vector<std::pair<FindingCode, std::size_t>> result;
        for (const PositionedJson& element : member.value.elements) {
            if (element.type != PositionedJson::Type::STRING) {
                fail(element.line, problem);
            }
            result.emplace_back(code(element.string, element.line), element.line);
        }
        return result;
    }

    [[nodiscard]] FindingCode code(const std::string& text, std::size_t line) const {
        try {
            return requireCode(text);
        } catch (const CommandError& error) {
            fail(line, error.what());
        }
    }

    void addLevelAt(FindingCode code, Level level, std::size_t line) {
        try {
            setLevel(m_settings, code, level, origin(line));
        } catch (const CommandError& error) {
            fail(line, error.what());
        }
    }

    const std::string& m_name;
    const std::string& m_folder;
    Settings m_settings;
};

[[nodiscard]] std::string listed(const std::set<FindingCode>& codes) {
    std::string text;
    for (const FindingCode code : codes) {
        text += (text.empty() ? "" : ", ") + codeText(code);
    }
    return text.empty() ? "no code" : text;
}

[[nodiscard]] std::string describe(const std::string& name, const std::string& value, const std::string& origin) {
    return printable(name + " = " + value + " (" + origin + ")") + "\n";
}

template <class T, class Text>
[[nodiscard]] std::string describe(const std::string& name, const std::optional<Setting<T>>& setting,
                                   const std::string& defaultText, const Text& text) {
    return setting ? describe(name, text(setting->value), setting->origin) : describe(name, defaultText, "default");
}

} // namespace

std::string_view levelText(Level level) {
    return LEVEL_TEXTS.at(static_cast<std::size_t>(level));
}

std::optional<Level> levelOf(std::string_view text) {
    const auto found = std::find(LEVEL_TEXTS.begin(), LEVEL_TEXTS.end(), text);
    return found == LEVEL_TEXTS.end() ? std::nullopt : std::optional(static_cast<Level>(found - LEVEL_TEXTS.begin()));
}

FindingCode requireCode(const std::string& text) {
    if (const std::optional<FindingCode> code = PrefabInspection::findingCode(text)) {
        return *code;
    }
    std::vector<std::string> names;
    for (const PrefabInspection::FindingRule& rule : findingRules()) {
        if (rule.name == text) {
            return rule.code;
        }
        names.push_back(codeText(rule.code));
        names.emplace_back(rule.name);
    }
    throw CommandError("There is no code " + inQuotes(text) + suggestion(text, names));
}

void Settings::overrideWith(const Settings& nearer) {
    for (const auto& [code, level] : nearer.levels) {
        levels.insert_or_assign(code, level);
    }
    const auto take = [](auto& value, const auto& nearerValue) {
        if (nearerValue) {
            value = nearerValue;
        }
    };
    take(only, nearer.only);
    take(strict, nearer.strict);
    take(unused, nearer.unused);
    take(baseline, nearer.baseline);
}

std::optional<Severity> Settings::shownSeverity(const Finding& finding) const {
    const bool isOther = only && !only->value.contains(finding.code);
    if (isOther || (finding.code == FindingCode::UNUSED_PREFAB && !reportsUnused())) {
        return std::nullopt;
    }
    const auto level = levels.find(finding.code);
    if (level == levels.end()) {
        return finding.severity;
    }
    switch (level->second.value) {
    case Level::OFF:
        return std::nullopt;
    case Level::NOTE:
        return Severity::NOTE;
    case Level::WARNING:
        return Severity::WARNING;
    case Level::ERROR:
        break;
    }
    return Severity::ERROR;
}

bool Settings::isFailure(Severity severity) const {
    return severity >= (isStrict() ? Severity::WARNING : Severity::ERROR);
}

void ignoreCode(Settings& settings, FindingCode code, const std::string& origin) {
    setLevel(settings, code, Level::OFF, origin);
}

void addLevel(Settings& settings, const std::string& text, const std::string& origin) {
    const std::size_t separator = text.find('=');
    const std::optional<Level> level =
        separator == std::string::npos ? std::nullopt : levelOf(std::string_view(text).substr(separator + 1));
    if (!level) {
        throw CommandError(inQuotes(text) +
                           " is not of the form CODE=LEVEL, where LEVEL is error, warning, note or off");
    }
    setLevel(settings, requireCode(text.substr(0, separator)), *level, origin);
}

Settings readSettings(std::string_view text, const std::string& name, const std::string& folder) {
    return SettingsReader(name, folder).read(readPositionedJson(text, name));
}

std::string describeSettings(const Settings& settings) {
    const auto boolText = [](bool value) { return std::string(value ? "true" : "false"); };
    std::string text = describe("strict", settings.strict, "false", boolText) +
                       describe("unused", settings.unused, "false", boolText) +
                       describe("only", settings.only, "all codes", listed) +
                       describe("baseline", settings.baseline, "none", [](const std::string& name) { return name; });
    for (const auto& [code, level] : settings.levels) {
        text += describe("severity of " + codeText(code), std::string(levelText(level.value)), level.origin);
    }
    return text;
}

} // namespace Kiln::PrefabTool
