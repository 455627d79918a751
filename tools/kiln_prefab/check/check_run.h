#pragma once

#include "baseline_files.h"
#include "resource_roots.h"
#include "settings_files.h"
#include "shard.h"
#include "target_paths.h"

#include <prefab_inspection/checking/checker.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// What a check is asked to do.
struct CheckPlan {
    Targets targets;
    std::map<std::string, std::string> buffers;     ///< As CheckOptions::buffers.
    std::size_t threads = 0;                        ///< As CheckOptions::threads.
    PrefabInspection::ICheckCache* cache = nullptr; ///< As CheckOptions::cache.
    PrefabInspection::PrefabFiles* files = nullptr; ///< As CheckOptions::files.
    Shard shard;
    bool accepts = false; ///< Whether all findings are added to their baselines, and stale entries removed.
    std::function<void(std::size_t filesCount, const std::string& file)> onFileRead; ///< May be empty.
};

/// An entry of a baseline whose finding no longer exists.
struct StaleEntry {
    std::string baseline; ///< The name of the file.
    FindingKey key;
};

/// What a check has found, after settings, baselines and shards have been taken into account.
struct CheckOutcome {
    PrefabInspection::CheckResult shown;
    std::vector<StaleEntry> staleEntries; ///< Sorted by baseline and key.
    std::size_t knownCount = 0;           ///< Number of findings that would be shown, but are in a baseline.
    std::size_t acceptedCount = 0;        ///< Number of findings that were added to a baseline.
    bool isFailure = false; ///< Whether there is a finding, or stale entry, at or above the failing level.
};

/// Checks the targets of the plan and decides which findings are shown. Reads baselines into `baselines` and, if the
/// plan says so, changes them there. Throws CommandError for settings files and baselines that cannot be read.
[[nodiscard]] CheckOutcome runCheck(const CheckPlan& plan, const ResourceRoots& roots, SettingsFiles& settings,
                                    BaselineFiles& baselines);

/// The second part of runCheck(): takes what the checker has found.
[[nodiscard]] CheckOutcome evaluate(PrefabInspection::CheckResult result, const CheckPlan& plan,
                                    const ResourceRoots& roots, SettingsFiles& settings, BaselineFiles& baselines);

} // namespace Kiln::PrefabTool
