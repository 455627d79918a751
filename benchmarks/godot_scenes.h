#pragma once

#include "workload_files.h"

#include <filesystem>

namespace Kiln::Benchmarks {

/// Writes a workload as scenes of godot3-server into a directory: the objects are nodes with a transform and a script
/// with the cargo's properties. The scene of the workload has its name; throws std::runtime_error when it can't be
/// written.
void writeGodotScenes(const Workload& workload, const std::filesystem::path& directory);

} // namespace Kiln::Benchmarks
