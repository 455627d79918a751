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

    /// Number of stored components of each type that the process's ComponentLibrary does not know, over all files. The
    /// reader of prefabs passes over them without a word.
    std::map<std::string, std::size_t> unknownComponents;
};

/// Reads a prefab file and what it nests, each file once, whatever the cycles and however deep the nesting. Files are
/// seen as the reader of prefabs sees them: one of another format version, or without game objects, holds nothing, and
/// a root names no nested prefab. Overrides, which can make an instance nest other files, are not looked at.
///
/// Failure: a file that can't be opened is left out. The log tells what the resource library has to say about it; a
/// missing file is not mentioned. Anything but a regular file, a pipe for instance, is listed but not read, as it may
/// have to be left to the one who loads it.
/// Threads: any.
[[nodiscard]] KILN_PREFAB_INSPECTION_EXPORT PrefabClosure inspectClosure(const std::string& path);

} // namespace Kiln::PrefabInspection
