#pragma once

#include <chrono>
#include <vector>

namespace Kiln::PrefabTool {

/// The value that the given percentage of the samples does not exceed, by the nearest rank: always one of the samples.
/// Zero without samples.
[[nodiscard]] std::chrono::nanoseconds percentile(std::vector<std::chrono::nanoseconds> samples, unsigned percentage);

/// How many of a number of things are done in a second at that time for all of them; 0 for a time of zero.
[[nodiscard]] double perSecond(double count, std::chrono::nanoseconds time);

} // namespace Kiln::PrefabTool
