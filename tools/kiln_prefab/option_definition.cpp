#include "option_definition.h"

#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::array<std::string_view, 5> FILE_NAMES{"FILE", "LIB", "PATH", "PREFAB", "REPORT"};

/// The type name without the descriptions of checks, which follow after a colon.
[[nodiscard]] std::string typeName(const CLI::Option& option) {
    const std::string name = option.get_type_name();
    return name.substr(0, name.find(':'));
}

/// The values of an option that addChoice() has added: in small letters, separated by '|'.
[[nodiscard]] std::vector<std::string> splitChoices(const std::string& typeName) {
    const auto isUpper = [](char character) { return character >= 'A' && character <= 'Z'; };
    if (typeName.find('|') == std::string::npos || std::any_of(typeName.begin(), typeName.end(), isUpper)) {
        return {};
    }
    std::istringstream names(typeName);
    std::vector<std::string> choices;
    for (std::string choice; std::getline(names, choice, '|');) {
        choices.push_back(choice);
    }
    return choices;
}

[[nodiscard]] std::vector<std::string> codesOfFindings() {
    std::vector<std::string> codes;
    for (const PrefabInspection::FindingRule& rule : PrefabInspection::findingRules()) {
        codes.push_back(PrefabInspection::codeText(rule.code));
    }
    return codes;
}

[[nodiscard]] ValueKind kindOf(const OptionDefinition& definition) {
    const std::string& name =
        definition.isArgument() && definition.choices.empty() ? definition.argumentName : definition.valueName;
    if (!definition.choices.empty()) {
        return ValueKind::CHOICE;
    }
    if (name.empty()) {
        return ValueKind::NONE;
    }
    if (name == "COMMAND") {
        return ValueKind::COMMAND;
    }
    if (name == "DIR") {
        return ValueKind::DIRECTORY;
    }
    return std::find(FILE_NAMES.begin(), FILE_NAMES.end(), name) == FILE_NAMES.end() ? ValueKind::TEXT
                                                                                     : ValueKind::FILE;
}

} // namespace

OptionDefinition optionDefinition(const CLI::Option& option) {
    OptionDefinition definition;
    for (const std::string& name : option.get_snames()) {
        definition.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        definition.names.push_back("--" + name);
    }
    if (option.get_positional()) {
        definition.argumentName = option.get_name(true, false);
    }
    if (option.get_expected_max() > 0 && option.get_type_size() != 0) { // Otherwise it is a flag.
        definition.valueName = typeName(option);
        definition.isRepeatable = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
    }
    definition.choices = definition.valueName == "CODE" ? codesOfFindings() : splitChoices(definition.valueName);
    definition.description = option.get_description();
    definition.isRequired = option.get_required();
    definition.kind = kindOf(definition);
    return definition;
}

std::vector<OptionDefinition> optionDefinitions(const CLI::App& app) {
    std::vector<OptionDefinition> definitions;
    for (const CLI::Option* const option : app.get_options()) {
        if (!option->get_group().empty()) {
            definitions.push_back(optionDefinition(*option));
        }
    }
    return definitions;
}

} // namespace Kiln::PrefabTool
