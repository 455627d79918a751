#pragma once

#include "spawn_options.h"

#include <kiln_prefab/command.h>

namespace Kiln::PrefabTool {

class Terminal;

/// Result of the command.
struct SpawnResult {
    int exitStatus = ExitStatus::SUCCESS;

    /// Whether a background task is running that does not end; the process must exit without waiting for it.
    bool isStuck = false;
};

/// Loads every prefab that the options name and writes the results. Call it once per process.
[[nodiscard]] SpawnResult spawn(const SpawnOptions& options, Terminal& terminal);

} // namespace Kiln::PrefabTool
