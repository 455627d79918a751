#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

#include <span>

namespace Kiln {

/// The trail of engine operations that the current thread is executing, for crash reports. Each thread has its own
/// trail; texts are kept by pointer and must be literals.
class KILN_CORE_EXPORT StackTracker {
public:
    /// One operation of a trail.
    struct Entry {
        const char* function; ///< Name of the operation.
        const char* file;     ///< Its source file.
        unsigned line;        ///< Its line in the source file.
    };

    /// @{
    /// Enters an operation, and leaves the one that was entered last.
    static void push(const char* function, const char* file, unsigned line);
    static void pop();
    /// @}

    /// The current thread's trail, outermost operation first; valid until its next push or pop.
    [[nodiscard]] static std::span<const Entry> current();
};

/// Adds an operation to the trail for the rest of a scope.
class StackTrackerScope : NonCopyable {
public:
    /// Enters an operation, which is left when this object is destroyed.
    StackTrackerScope(const char* function, const char* file, unsigned line) {
        StackTracker::push(function, file, line);
    }
    ~StackTrackerScope() { StackTracker::pop(); }
};

} // namespace Kiln
