#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The times of one step of loading a prefab.
struct MeasuredStep {
    const char* name;
    std::vector<std::chrono::nanoseconds> samples; ///< One for each repetition.
    bool readsFiles;                               ///< Whether the step's speed in bytes means anything.
};

/// What the measurement of a prefab yields.
struct PrefabMeasurement {
    std::string problem; ///< Why the prefab could not be measured; empty if it was.

    std::size_t filesCount = 0;   ///< The prefab and everything nested in it, each file once.
    std::uint64_t bytes = 0;      ///< Of these files.
    std::size_t nodesCount = 0;   ///< Objects in these files.
    std::size_t objectsCount = 0; ///< Live objects of an instance.

    /// "load, cold" reads and parses all files, "load, warm" finds them in the cache, "expand" lists the objects of an
    /// instance with their UUIDs, "create" makes them with their components, "activate" activates them, and "remove"
    /// removes them again.
    std::vector<MeasuredStep> steps;

    // Growth of the memory that the program has allocated.
    std::int64_t documentBytes = 0; ///< By the loaded files: the median over the repetitions.
    std::int64_t instanceBytes = 0; ///< By an active instance: the mean of several that exist at the same time.

    std::int64_t peakResidentBytes = 0; ///< Of the process; 0 if the system does not tell.
};

/// Measures a prefab in a world of its own, once without counting and then `repeat` times, and leaves neither the world
/// nor cached files behind. Main thread, while nothing else uses the prefab service.
///
/// `onRepetition` is called before each repetition with its number, from 0; it may be empty.
[[nodiscard]] PrefabMeasurement measurePrefab(const std::string& path, std::size_t repeat,
                                              const std::function<void(std::size_t)>& onRepetition);

} // namespace Kiln::PrefabTool
