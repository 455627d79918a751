#pragma once

#include <common/uuid.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Exit statuses of the program.
namespace ExitStatus {
inline constexpr int SUCCESS = 0;
inline constexpr int FINDINGS = 1; ///< An operation failed, or errors were reported.
inline constexpr int USAGE = 2;    ///< The command line or a component library is unusable; no prefab was loaded.
} // namespace ExitStatus

/// The options of `kiln-prefab spawn`.
struct SpawnOptions {
    std::vector<std::string> prefabs; ///< Resource paths; at least one.
    std::vector<std::string> roots;   ///< Directories; none for the current directory.
    std::vector<std::string> libraries;
    std::size_t instances = 1; ///< Of each prefab.
    std::optional<Uuid> instanceUuid;
    std::chrono::steady_clock::duration timeout = std::chrono::seconds(30); ///< For each instance.
    bool isUnderInactiveParent = false;
    bool dumpsPools = false;
    bool isJson = false;
    bool isVerbose = false;
};

/// The outcome of reading the command line.
struct CommandLine {
    std::optional<SpawnOptions> spawn; ///< Absent if there is nothing more to do.
    int exitStatus = ExitStatus::SUCCESS;
};

/// Reads the command line. Prints requested help to stdout and errors to stderr.
[[nodiscard]] CommandLine parseCommandLine(int argc, const char* const* argv);

} // namespace Kiln::PrefabTool
