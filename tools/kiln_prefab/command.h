#pragma once

#include <core/non_copyable.h>

#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace Kiln::PrefabTool {

class Terminal;

/// Exit statuses of the program.
namespace ExitStatus {
inline constexpr int SUCCESS = 0;
inline constexpr int FINDINGS = 1; ///< An operation failed, or there are findings at or above the failing level.
inline constexpr int USAGE = 2;    ///< The command could not run: a wrong command line, file or component library.
} // namespace ExitStatus

/// One subcommand of the program. Made once per process by makeCommands(); main thread.
class Command : NonCopyable {
public:
    struct Description {
        std::string_view name;
        std::string_view summary;               ///< A sentence.
        std::vector<std::string_view> examples; ///< At least two command lines, the first of which is the usual one.
        bool isAboutProgram = false;            ///< Whether the command describes the program and reads no prefabs.
    };

    Command() = default;
    virtual ~Command() = default;

    [[nodiscard]] virtual const Description& description() const = 0;

    /// Adds the options, which store their values in this object, to the subcommand's definition. Help, completions and
    /// manual pages are made of it, too. Called once, on the object that run() is called on.
    virtual void addOptions(CLI::App& app) = 0;

    /// Executes the command with the values that the options have stored. Returns an ExitStatus.
    [[nodiscard]] virtual int run(Terminal& terminal) = 0;

    /// The status of a wrong command line.
    [[nodiscard]] virtual int failureStatus() const { return ExitStatus::USAGE; }

    /// Whether a background task is running that does not end. The process must then exit without waiting for it.
    [[nodiscard]] virtual bool isStuck() const { return false; }
};

} // namespace Kiln::PrefabTool
