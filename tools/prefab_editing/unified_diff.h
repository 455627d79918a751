#pragma once

#include "text_edits.h"

#include <string>

namespace Kiln::PrefabEditing {

/// The changes of a file as a patch that `git apply` and `patch -p1` take; empty if there are none. `path` is relative
/// to the folder in which the patch is applied. The patch has the bytes of the file, whatever they are.
[[nodiscard]] std::string unifiedDiff(const std::string& path, const EditedText& text);

} // namespace Kiln::PrefabEditing
