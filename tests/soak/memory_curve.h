#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

namespace Kiln::Soak {

/// Memory of this process, in bytes.
struct MemorySample {
    std::size_t resident = 0; ///< What the kernel has given to the process.
    std::size_t live = 0;     ///< What the program has allocated and not freed, as the allocator reports it.
};

[[nodiscard]] MemorySample sampleMemory();

/// Whether a sanitizer has replaced the allocator. It keeps freed memory, so that the resident size says little.
[[nodiscard]] bool hasSanitizerAllocator();

/// The memory of a run: the medians of equal periods. The first period is a warm-up; in the later ones memory must not
/// grow by more than 1 % over that of the second. Adding samples allocates nothing, so that the curve itself stays out
/// of the picture.
class MemoryCurve {
public:
    using Clock = std::chrono::steady_clock;

    explicit MemoryCurve(Clock::duration period);

    /// Adds a sample of the present time. Take samples at points where the program holds the same data.
    void add(const MemorySample& sample);

    /// The median of each period that is over.
    [[nodiscard]] const std::vector<MemorySample>& medians() const { return m_medians; }

    /// The growth from the second period to the largest later one, in bytes; 0 with fewer than three periods.
    [[nodiscard]] std::size_t growth(std::size_t MemorySample::*member) const;

    /// Whether the growth is at most 1 % of the second period, or 64 KiB, which is the noise of a small process.
    [[nodiscard]] bool isFlat(std::size_t MemorySample::*member) const;

private:
    Clock::duration m_period;
    Clock::time_point m_periodEnd;
    std::vector<MemorySample> m_current;
    std::vector<MemorySample> m_medians;
};

} // namespace Kiln::Soak
