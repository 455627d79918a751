#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// Writes sound prefabs of about 730 bytes per object below the resource root, in subfolders of 1 000. Each nests up to
/// two others, six levels deep at most. Returns their paths.
std::vector<std::string> writeFolder(const std::string& folder, std::size_t files, std::size_t objects);

/// Writes seven prefabs of 2 000 objects. If they are nested, eight objects of each, but for the last file, nest the
/// next one, optionally with overrides of their own. Returns the paths, the outermost first.
std::vector<std::string> writeFanOut(const std::string& folder, bool isNested, bool hasOverrides);

} // namespace Kiln::Benchmarks
