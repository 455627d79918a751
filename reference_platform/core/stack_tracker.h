#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

#include <span>

namespace Kiln {

/// The trail of engine operations that the current thread is executing, for crash reports. Each thread has its own
/// trail; texts are kept by pointer and must be literals.
class KILN_CORE_EXPORT StackTracker {
public:
    struct Entry {
        const char* function;
        const char* file;
        unsigned line;
    };

    static void push(const char* function, const char* file, unsigned line);
    static void pop();

    /// The current thread's trail, outermost operation first; valid until its next push or pop.
    [[nodiscard]] static std::span<const Entry> current();
};

/// Adds an operation to the trail for the rest of a scope.
class StackTrackerScope : NonCopyable {
public:
    StackTrackerScope(const char* function, const char* file, unsigned line) {
        StackTracker::push(function, file, line);
    }
    ~StackTrackerScope() { StackTracker::pop(); }
};

} // namespace Kiln
