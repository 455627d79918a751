#include "samples.h"

#include <cstdio>

namespace Kiln::Benchmarks {

namespace {

[[nodiscard]] std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 100 ? "%.2f" : "%.0f", value);
    return text;
}

} // namespace

double quantile(const std::vector<double>& samples, double part) {
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1) + 0.5)];
}

std::string medianAndQuartiles(const std::vector<double>& samples) {
    return number(quantile(samples, 0.5)) + " (" + number(quantile(samples, 0.25)) + " to " +
           number(quantile(samples, 0.75)) + ")";
}

} // namespace Kiln::Benchmarks
