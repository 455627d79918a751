#pragma once

#include <string>

namespace Kiln::PrefabTool {

/// Loads a component library, whose static objects register its components, for the rest of the process's life. A name
/// without '/' is looked up in the current directory first, then in the dynamic linker's search path.
///
/// Returns the dynamic linker's message on failure, an empty text on success.
[[nodiscard]] std::string loadComponentLibrary(const std::string& name);

} // namespace Kiln::PrefabTool
