#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Kiln::PrefabTool {

/// What a shell can offer as the value of an option or argument.
enum class ValueKind {
    NONE,      ///< A flag, which has no value.
    CHOICE,    ///< One of a fixed set, such as the codes of findings if the value's name is CODE.
    COMMAND,   ///< The name of a command.
    DIRECTORY, ///< The value's name is DIR.
    FILE,      ///< The value's name is FILE, LIB, PATH, PREFAB or REPORT.
    TEXT,      ///< Anything else.
};

/// An option or argument of a command, as help, completions and manual pages show it.
struct OptionDefinition {
    std::vector<std::string> names; ///< Such as "-h" and "--help"; none for an argument.
    std::string valueName;          ///< Such as "DIR" or "text|json"; empty for a flag.
    ValueKind kind = ValueKind::NONE;
    std::vector<std::string> choices; ///< For CHOICE.
    std::string description;
    bool isRepeatable = false;
    bool isRequired = false;

    [[nodiscard]] bool isArgument() const { return names.empty(); }

    /// The name of an argument, such as "PREFAB"; empty for an option.
    std::string argumentName;
};

[[nodiscard]] OptionDefinition optionDefinition(const CLI::Option& option);

/// The options and arguments of a command that are not hidden, in the order of their definition.
[[nodiscard]] std::vector<OptionDefinition> optionDefinitions(const CLI::App& app);

} // namespace Kiln::PrefabTool
