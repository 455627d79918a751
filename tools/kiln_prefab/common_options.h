#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Kiln::PrefabTool {

class Diagnostics;
class LogCollector;
class Terminal;

/// The options that all commands have which read prefabs: --root, --load, --color, --quiet.
struct CommonOptions {
    std::vector<std::string> roots;     ///< Directories; none for the current directory.
    std::vector<std::string> libraries; ///< Component libraries.
    std::string color = "auto";
    bool isQuiet = false;

    void addTo(CLI::App& app);

    /// Sets up the terminal, adds the resource roots (the current directory if there are none) and loads the component
    /// libraries. Reports a library that can't be loaded, and returns false.
    [[nodiscard]] bool apply(Terminal& terminal) const;

    /// The steps of apply(), for a command that has a log of its own.
    void setUp(Terminal& terminal) const;
    [[nodiscard]] bool loadLibraries(Diagnostics& diagnostics, LogCollector& log) const;
    void addRoots() const;
};

/// Adds an option with a fixed set of values, such as --format. Other values are usage errors that name the nearest
/// one. The choices are in small letters. Help, completions and manual pages show them.
CLI::Option* addChoice(CLI::App& app, const std::string& name, std::string& value,
                       const std::vector<std::string>& choices, const std::string& description);

} // namespace Kiln::PrefabTool
