#pragma once

#include <core/non_copyable.h>

namespace Kiln {

/// This platform has no profiler.
class ProfilerScope : NonCopyable {
public:
    explicit ProfilerScope(const char* /*name*/) {}
    ~ProfilerScope() {}
};

} // namespace Kiln
