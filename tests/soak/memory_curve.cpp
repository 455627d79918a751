#include "memory_curve.h"

#include <algorithm>
#include <fstream>

#include <malloc.h>
#include <unistd.h>

// Defined by the runtime of AddressSanitizer and ThreadSanitizer, whose allocators mallinfo2() does not know.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace Kiln::Soak {

namespace {

[[nodiscard]] std::size_t residentBytes() {
    std::ifstream stream("/proc/self/statm");
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    stream >> pages >> residentPages;
    return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

[[nodiscard]] std::size_t liveBytes() {
    if (hasSanitizerAllocator()) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

constexpr std::size_t MAX_SAMPLES = 256; ///< Of a period; later ones are ignored.
constexpr std::size_t MAX_PERIODS = 4096;
constexpr std::size_t NOISE = std::size_t{64} * 1024;

/// The value in the middle of the members' order, which changes the order of the samples.
[[nodiscard]] std::size_t median(std::vector<MemorySample>& samples, std::size_t MemorySample::*member) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end(),
                     [member](const MemorySample& a, const MemorySample& b) { return a.*member < b.*member; });
    return *middle.*member;
}

} // namespace

bool hasSanitizerAllocator() {
    return __sanitizer_get_current_allocated_bytes != nullptr;
}

MemorySample sampleMemory() {
    return {residentBytes(), liveBytes()};
}

MemoryCurve::MemoryCurve(Clock::duration period) : m_period(period), m_periodEnd(Clock::now() + period) {
    m_current.reserve(MAX_SAMPLES);
    m_medians.reserve(MAX_PERIODS);
}

void MemoryCurve::add(const MemorySample& sample) {
    if (Clock::now() >= m_periodEnd && !m_current.empty() && m_medians.size() < MAX_PERIODS) {
        const std::size_t resident = median(m_current, &MemorySample::resident);
        m_medians.push_back({resident, median(m_current, &MemorySample::live)});
        m_current.clear();
        m_periodEnd += m_period;
    }
    if (m_current.size() < MAX_SAMPLES) {
        m_current.push_back(sample);
    }
}

std::size_t MemoryCurve::growth(std::size_t MemorySample::*member) const {
    if (m_medians.size() < 3) {
        return 0;
    }
    const std::size_t base = m_medians[1].*member;
    const auto largest =
        std::max_element(m_medians.begin() + 2, m_medians.end(),
                         [member](const MemorySample& a, const MemorySample& b) { return a.*member < b.*member; });
    return std::max(base, *largest.*member) - base;
}

bool MemoryCurve::isFlat(std::size_t MemorySample::*member) const {
    return m_medians.size() < 3 || growth(member) <= std::max(m_medians[1].*member / 100, NOISE);
}

} // namespace Kiln::Soak
