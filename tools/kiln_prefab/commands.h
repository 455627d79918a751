#pragma once

#include "command.h"

#include <memory>
#include <vector>

namespace Kiln::PrefabTool {

class CommandRegistry;

/// All commands of the program, in the order in which the help shows them. `registry` outlives them; the commands that
/// describe other commands use it.
[[nodiscard]] std::vector<std::unique_ptr<Command>> makeCommands(const CommandRegistry& registry);

} // namespace Kiln::PrefabTool
