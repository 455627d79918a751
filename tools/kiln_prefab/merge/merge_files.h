#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Files that are merged or hold conflicts may be larger than the loader's limit, so that they are not lost.
inline constexpr std::size_t MAX_MERGED_SIZE = std::size_t(1) << 31U;

/// Reads files at the same time. Throws CommandError.
[[nodiscard]] std::vector<std::string> readFiles(const std::vector<std::string>& names);

/// Replaces a file atomically. Throws CommandError.
void writeFile(const std::string& name, const std::string& text);

/// The resource path under which a file is checked: where it lies beneath the roots, and its name otherwise.
[[nodiscard]] std::string checkedPath(const std::string& name, const std::vector<std::string>& roots);

} // namespace Kiln::PrefabTool
