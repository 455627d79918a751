#pragma once

#include "resource_roots.h"

#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// Replaces the text of a prefab, which another program may have changed since it was read: then it stays. Returns what
/// went wrong, as a sentence without full stop; empty on success. Otherwise as PrefabEditing::replaceTextFile().
[[nodiscard]] std::string replaceResource(const ResourceRoots& roots, const std::string& path,
                                          std::string_view original, std::string_view text);

} // namespace Kiln::PrefabTool
