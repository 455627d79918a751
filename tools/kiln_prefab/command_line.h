#pragma once

#include "command.h"

namespace Kiln::PrefabTool {

class CommandRegistry;
class Terminal;

/// The outcome of reading the command line.
struct CommandLine {
    Command* command = nullptr; ///< Owned by the registry; null if there is nothing more to do.
    int exitStatus = ExitStatus::SUCCESS;
};

/// Reads the command line. Prints requested help to the output, and errors with an example to the errors.
[[nodiscard]] CommandLine parseCommandLine(CommandRegistry& registry, int argc, const char* const* argv,
                                           Terminal& terminal);

} // namespace Kiln::PrefabTool
