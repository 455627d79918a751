#pragma once

#include <string>

namespace Kiln::PrefabTool {

/// Loads a component library, whose static objects register its components, for the rest of the process's life. A name
/// without '/' is looked for in the current directory first, then wherever the dynamic linker looks.
///
/// Returns what the dynamic linker says when it fails, nothing otherwise.
[[nodiscard]] std::string loadComponentLibrary(const std::string& name);

} // namespace Kiln::PrefabTool
