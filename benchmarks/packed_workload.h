#pragma once

#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// Packs files below the resource root, and returns the name of the pack. The path of each document is that of the file
/// after `prefix`, so that only the pack has it. Throws std::runtime_error.
std::string writePackOf(const std::vector<std::string>& paths, const std::string& prefix, const std::string& packPath,
                        bool isCompressed);

/// The size of a file in relation to that of another one.
[[nodiscard]] double sizeRatio(const std::string& file, const std::string& reference);

} // namespace Kiln::Benchmarks
