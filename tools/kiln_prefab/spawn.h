#pragma once

#include "options.h"

#include <iosfwd>

namespace Kiln::PrefabTool {

/// What has become of the command.
struct SpawnResult {
    int exitStatus = ExitStatus::SUCCESS;

    /// Whether a background task is running that will not end; the process must not wait for it then.
    bool isStuck = false;
};

/// Loads every prefab that the options name and writes what became of it. Once per process.
[[nodiscard]] SpawnResult spawn(const SpawnOptions& options, std::ostream& output, std::ostream& errors);

} // namespace Kiln::PrefabTool
