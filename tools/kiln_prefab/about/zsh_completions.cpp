#include "completion_scripts.h"
#include "text_lists.h"

#include <kiln_prefab/command_registry.h>
#include <kiln_prefab/option_definition.h>

#include <sstream>

namespace Kiln::PrefabTool {

namespace {

/// A text inside of a part of an argument of _arguments, which is in single quotes.
[[nodiscard]] std::string zshEscaped(std::string_view text) {
    return replacedCharacters(text,
                              {{'\\', R"(\\)"}, {'\'', R"('\'')"}, {'[', R"(\[)"}, {']', R"(\])"}, {':', R"(\:)"}});
}

/// What to offer as the value of an option or argument.
[[nodiscard]] std::string action(const OptionDefinition& definition, const CommandRegistry& registry) {
    switch (definition.kind) {
    case ValueKind::CHOICE:
        return "(" + joined(definition.choices, " ") + ")";
    case ValueKind::COMMAND:
        return "(" + joined(registry.names(), " ") + ")";
    case ValueKind::DIRECTORY:
        return "_files -/";
    case ValueKind::FILE:
        return "_files";
    case ValueKind::NONE:
    case ValueKind::TEXT:
        break;
    }
    return " ";
}

void writeZshOption(std::ostream& stream, const CommandRegistry& registry, const OptionDefinition& definition,
                    std::string_view indent) {
    if (definition.isArgument()) {
        stream << " \\\n"
               << indent << '\'' << (definition.isRepeatable ? "*:" : ":") << zshEscaped(definition.argumentName) << ':'
               << action(definition, registry) << '\'';
    }
    for (const std::string& name : definition.names) {
        const bool isFlag = definition.kind == ValueKind::NONE;
        stream << " \\\n" << indent << '\'' << (definition.isRepeatable ? "*" : "") << name;
        stream << (isFlag                   ? ""
                   : name.starts_with("--") ? "="
                                            : "+")
               << '[' << zshEscaped(definition.description) << ']';
        if (!isFlag) {
            stream << ':' << zshEscaped(definition.valueName) << ':' << action(definition, registry);
        }
        stream << '\'';
    }
}

} // namespace

std::string zshCompletions(const CommandRegistry& registry) {
    std::ostringstream stream;
    stream << "#compdef kiln-prefab\n\n# Completions of kiln-prefab for zsh.\n\n_kiln_prefab() {\n"
              "    local curcontext=$curcontext state line\n    local -a commands\n    commands=(\n";
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        const Command::Description& description = entry.command->description();
        stream << "        '" << description.name << ':' << zshEscaped(description.summary) << "'\n";
    }
    stream << "    )\n    _arguments -C -S";
    for (const OptionDefinition& definition : optionDefinitions(registry.app())) {
        writeZshOption(stream, registry, definition, "        ");
    }
    stream << " \\\n        '1: :->command' \\\n        '*:: :->argument'\n    case $state in\n    command)\n"
              "        _describe -t commands command commands\n        ;;\n    argument)\n        case $words[1] in\n";
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        stream << "        " << entry.command->description().name << ")\n            _arguments -S";
        for (const OptionDefinition& definition : optionDefinitions(*entry.app)) {
            writeZshOption(stream, registry, definition, "                ");
        }
        stream << "\n            ;;\n";
    }
    stream << "        esac\n        ;;\n    esac\n}\n\n"
              "if [[ $funcstack[1] == _kiln-prefab ]]; then\n    _kiln_prefab \"$@\"\nelse\n"
              "    compdef _kiln_prefab kiln-prefab\nfi\n";
    return stream.str();
}

} // namespace Kiln::PrefabTool
