#include "completion_scripts.h"
#include "text_lists.h"

#include <kiln_prefab/command_registry.h>
#include <kiln_prefab/option_definition.h>

#include <sstream>

namespace Kiln::PrefabTool {

namespace {

constexpr std::string_view HEAD = R"(# Completions of kiln-prefab for bash.

_kiln_prefab() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' kind=words words='' options='' word
    COMPREPLY=()
    # bash splits --option=value at the equals sign.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if ((COMP_CWORD > 1)); then
        command=${COMP_WORDS[1]}
    fi
    case $command in
)";

constexpr std::string_view TAIL = R"(    *)
        kind=none
        ;;
    esac
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        if [[ $word == -- ]]; then
            options=''
        fi
    done
    if [[ $current == -* && -n $options ]]; then
        kind=words
        words=$options
    fi
    case $kind in
    words)
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        ;;
    directories)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        ;;
    files)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        ;;
    esac
}

complete -F _kiln_prefab kiln-prefab
)";

/// The assignments that make the script offer the values of an option or argument.
[[nodiscard]] std::string offer(const OptionDefinition& definition, const CommandRegistry& registry) {
    switch (definition.kind) {
    case ValueKind::CHOICE:
        return "words='" + joined(definition.choices, " ") + "'";
    case ValueKind::COMMAND:
        return "words='" + joined(registry.names(), " ") + "'";
    case ValueKind::DIRECTORY:
        return "kind=directories";
    case ValueKind::FILE:
        return "kind=files";
    case ValueKind::NONE:
    case ValueKind::TEXT:
        break;
    }
    return "kind=none";
}

void writeCommand(std::ostream& stream, const CommandRegistry& registry, const CommandRegistry::Entry& entry) {
    stream << "    " << entry.command->description().name << ")\n        case $previous in\n";
    std::vector<std::string> options;
    std::string arguments = "kind=none";
    for (const OptionDefinition& definition : optionDefinitions(*entry.app)) {
        options.insert(options.end(), definition.names.begin(), definition.names.end());
        if (definition.isArgument()) {
            arguments = offer(definition, registry);
        } else if (definition.kind != ValueKind::NONE) {
            stream << "        " << joined(definition.names, " | ") << ") " << offer(definition, registry) << " ;;\n";
        }
    }
    stream << "        *)\n            " << arguments << "\n            options='" << joined(options, " ")
           << "'\n            ;;\n        esac\n        ;;\n";
}

} // namespace

std::string bashCompletions(const CommandRegistry& registry) {
    std::vector<std::string> words = registry.names();
    for (const OptionDefinition& definition : optionDefinitions(registry.app())) {
        words.insert(words.end(), definition.names.begin(), definition.names.end());
    }
    std::ostringstream stream;
    stream << HEAD << "    '')\n        words='" << joined(words, " ") << "'\n        ;;\n";
    for (const CommandRegistry::Entry& entry : registry.entries()) {
        writeCommand(stream, registry, entry);
    }
    stream << TAIL;
    return stream.str();
}

} // namespace Kiln::PrefabTool
