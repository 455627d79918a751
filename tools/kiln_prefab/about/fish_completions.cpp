#include "completion_scripts.h"
#include "text_lists.h"

#include <kiln_prefab/command_registry.h>
#include <kiln_prefab/option_definition.h>

#include <sstream>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] std::string fishQuoted(std::string_view text) {
    return "'" + replacedCharacters(text, {{'\\', R"(\\)"}, {'\'', R"(\')"}}) + "'";
}

/// What makes fish offer the values of an option or argument; `requires` is -r for an option, which must have one.
[[nodiscard]] std::string fishValues(const OptionDefinition& definition, const CommandRegistry& registry) {
    switch (definition.kind) {
    case ValueKind::CHOICE:
        return " -x -a " + fishQuoted(joined(definition.choices, " "));
    case ValueKind::COMMAND:
        return " -x -a " + fishQuoted(joined(registry.names(), " "));
    case ValueKind::DIRECTORY:
        return " -x -a '(__fish_complete_directories)'";
    case ValueKind::FILE:
        return definition.isArgument() ? " -F" : " -r -F";
    case ValueKind::TEXT:
        return " -x";
    case ValueKind::NONE:
        break;
    }
    return "";
}

void writeFishOption(std::ostream& stream, const CommandRegistry& registry, const OptionDefinition& definition,
                     const std::string& condition) {
    stream << "complete -c kiln-prefab -n " << fishQuoted(condition);
    for (const std::string& name : definition.names) {
        stream << (name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1));
    }
    stream << fishValues(definition, registry);
    if (!definition.isArgument()) {
        stream << " -d " << fishQuoted(definition.description);
    }
    stream << '\n';
}

} // namespace

std::string fishCompletions(const CommandRegistry& registry) {
    std::ostringstream stream;
    stream << "# Completions of kiln-prefab for fish.\n\ncomplete -c kiln-prefab -f\n";
    const std::string withoutCommand = "__fish_use_subcommand";
    for (const OptionDefinition& definition : optionDefinitions(registry.app())) {
        writeFishOption(stream, registry, definition, withoutCommand);
    }
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        const Command::Description& description = entry.command->description();
        stream << "complete -c kiln-prefab -n " << fishQuoted(withoutCommand) << " -a " << description.name << " -d "
               << fishQuoted(description.summary) << '\n';
    }
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        const std::string condition = "__fish_seen_subcommand_from " + std::string(entry.command->description().name);
        for (const OptionDefinition& definition : optionDefinitions(*entry.app)) {
            writeFishOption(stream, registry, definition, condition);
        }
    }
    return stream.str();
}

} // namespace Kiln::PrefabTool
