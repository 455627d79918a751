#pragma once

#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// Of samples in ascending order: the one below which a part of them lies, 0.5 for the median.
[[nodiscard]] double quantile(const std::vector<double>& samples, double part);

/// "266 (265 to 268)", of samples in ascending order.
[[nodiscard]] std::string medianAndQuartiles(const std::vector<double>& samples);

} // namespace Kiln::Benchmarks
