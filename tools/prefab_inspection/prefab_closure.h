#pragma once

#include <prefab_inspection/export.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// A prefab file together with every file that is nested in it, at any depth.
struct PrefabClosure {
    /// Resource paths of the files that could be opened, each once: the prefab's own first, then those nested in it
    /// level by level, in the order in which they are named.
    std::vector<std::string> files;

    /// Number of stored components of each type that the process's ComponentLibrary does not know, over all files.
    /// Loading a prefab skips such components without a message.
    std::map<std::string, std::size_t> unknownComponents;
};

/// Reads a prefab file and its nested prefabs, each file once, with cycles and nesting of any depth allowed. Files are
/// interpreted as in a load: a file of another format version or without game objects counts as empty, and a root does
/// not name a nested prefab. Overrides, which can make an instance nest other files, are ignored.
///
/// Failure: a file that cannot be opened is left out; the resource library logs the reason unless the file is missing.
/// Threads: any.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT PrefabClosure inspectClosure(const std::string& path);

} // namespace Kiln::PrefabInspection
