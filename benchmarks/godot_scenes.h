#pragma once

#include "workload_files.h"

#include <filesystem>

namespace Kiln::Benchmarks {

/// Writes a workload as scenes of godot3-server into a directory: the objects are nodes with a transform and a script
/// with the cargo's properties. The scene file has the workload's name. Throws std::runtime_error if a file cannot be
/// written.
void writeGodotScenes(const Workload& workload, const std::filesystem::path& directory);

} // namespace Kiln::Benchmarks
