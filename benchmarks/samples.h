#pragma once

#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// The quantile of samples in ascending order: `part` of them are below it, 0.5 for the median.
[[nodiscard]] double quantile(const std::vector<double>& samples, double part);

/// Median and quartiles of samples in ascending order, for instance "266 (265 to 268)".
[[nodiscard]] std::string medianAndQuartiles(const std::vector<double>& samples);

} // namespace Kiln::Benchmarks
