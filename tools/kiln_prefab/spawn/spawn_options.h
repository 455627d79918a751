#pragma once

#include <common/uuid.h>
#include <kiln_prefab/common_options.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The options of `kiln-prefab spawn`.
struct SpawnOptions {
    CommonOptions common;
    std::vector<std::string> prefabs; ///< Resource paths; at least one.
    std::size_t instances = 1;        ///< Of each prefab.
    std::optional<Uuid> instanceUuid;
    std::chrono::steady_clock::duration timeout = std::chrono::seconds(30); ///< For each instance.
    bool isUnderInactiveParent = false;
    bool dumpsPools = false;
    bool isJson = false;
    bool isVerbose = false;

    // Each of these makes Tessel::Streaming load the instances instead of Tessel::Loading.
    std::string traceFile;                           ///< Empty for no trace.
    std::optional<std::chrono::microseconds> budget; ///< Of a frame.
    bool showsProgress = false;

    [[nodiscard]] bool isStreamed() const { return !traceFile.empty() || budget || showsProgress; }
};

} // namespace Kiln::PrefabTool
