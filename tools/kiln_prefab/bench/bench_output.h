#pragma once

#include "prefab_benchmark.h"

#include <iosfwd>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace Kiln::PrefabTool {

/// Writes a measurement as a table.
void writeBenchText(std::ostream& stream, const std::string& path, const PrefabMeasurement& measurement);

/// A measurement as a JSON document.
[[nodiscard]] nlohmann::ordered_json benchJson(const std::string& path, const PrefabMeasurement& measurement);

/// A duration with a unit and three significant digits or more, such as "1.23 ms".
[[nodiscard]] std::string durationText(std::chrono::nanoseconds duration);

/// A number of bytes, or of things in a second, with a prefix and three significant digits or more, such as "4.56 M".
[[nodiscard]] std::string largeNumberText(double number);

} // namespace Kiln::PrefabTool
