#pragma once

#include <core/non_copyable.h>
#include <resource/resource_limits.h>

namespace Kiln::TestSupport {

/// Sets the limits of files and documents for the lifetime of the object.
class ScopedLimits : NonCopyable {
public:
    explicit ScopedLimits(const ResourceLimits& limits) { setResourceLimits(limits); }
    ~ScopedLimits() { setResourceLimits(m_before); }

private:
    const ResourceLimits m_before = resourceLimits();
};

} // namespace Kiln::TestSupport
