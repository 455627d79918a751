#include <resource/resource_limits.h>

#include <atomic>

namespace Kiln {

namespace {

// The values are independent of each other and of other data, so relaxed order suffices.
std::atomic<std::uint64_t> s_fileSize{ResourceLimits().fileSize};
std::atomic<std::size_t> s_elementDepth{ResourceLimits().elementDepth};

} // namespace

ResourceLimits resourceLimits() noexcept {
    return {s_fileSize.load(std::memory_order_relaxed), s_elementDepth.load(std::memory_order_relaxed)};
}

void setResourceLimits(const ResourceLimits& limits) noexcept {
    s_fileSize.store(limits.fileSize, std::memory_order_relaxed);
    s_elementDepth.store(limits.elementDepth, std::memory_order_relaxed);
}

} // namespace Kiln
