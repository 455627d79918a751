#pragma once

#include <string>

/// Scripts that complete the command line of the program, made of the definitions of its commands.
namespace Kiln::PrefabTool {

class CommandRegistry;

[[nodiscard]] std::string bashCompletions(const CommandRegistry& registry);
[[nodiscard]] std::string zshCompletions(const CommandRegistry& registry);
[[nodiscard]] std::string fishCompletions(const CommandRegistry& registry);

} // namespace Kiln::PrefabTool
