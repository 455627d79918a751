#pragma once

#include <resource/export.h>

#include <cstddef>
#include <cstdint>

namespace Kiln {

/// Limits for files that are not trusted. What exceeds one is refused, with an error that names the file and the limit.
/// The defaults are meant for any sound content.
struct ResourceLimits {
    /// Bytes of one file.
    std::uint64_t fileSize = std::uint64_t{512} * 1024 * 1024;

    /// Nested elements of a parsed document, counting the root element.
    std::size_t elementDepth = 1'000;

    friend bool operator==(const ResourceLimits&, const ResourceLimits&) = default;
};

/// The limits of this process. Any thread.
[[nodiscard]] KILN_RESOURCE_EXPORT ResourceLimits resourceLimits() noexcept;

/// Sets the limits for documents whose reading begins afterwards. Any thread; while another thread sets limits too,
/// each limit is that of either call.
KILN_RESOURCE_EXPORT void setResourceLimits(const ResourceLimits& limits) noexcept;

} // namespace Kiln
