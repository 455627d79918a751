#pragma once

#include <kiln_prefab/command_registry.h>

#include <string>

/// Manual pages of section 1 in the man macros of roff, made of the definitions of the commands.
namespace Kiln::PrefabTool {

/// The page of the program.
[[nodiscard]] std::string manualPage(const CommandRegistry& registry);

/// The page of a command.
[[nodiscard]] std::string manualPage(const CommandRegistry::Entry& entry);

} // namespace Kiln::PrefabTool
