#include "sample_statistics.h"

#include <algorithm>
#include <cstddef>

namespace Kiln::PrefabTool {

std::chrono::nanoseconds percentile(std::vector<std::chrono::nanoseconds> samples, unsigned percentage) {
    if (samples.empty()) {
        return {};
    }
    const std::size_t rank = (samples.size() * percentage + 99) / 100;
    const std::size_t index = rank == 0 ? 0 : std::min(rank, samples.size()) - 1;
    const auto found = samples.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(samples.begin(), found, samples.end());
    return *found;
}

double perSecond(double count, std::chrono::nanoseconds time) {
    return time.count() > 0 ? count / std::chrono::duration<double>(time).count() : 0;
}

} // namespace Kiln::PrefabTool
