#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

#include <span>

namespace Kiln {

/// The trail of engine operations that the calling thread is in, for crash reports. Each thread has its own trail;
/// texts are kept by pointer and must be literals.
class KILN_CORE_EXPORT StackTracker {
public:
    struct Entry {
        const char* function;
        const char* file;
        unsigned line;
    };

    static void push(const char* function, const char* file, unsigned line);
    static void pop();

    /// The calling thread's trail, outermost operation first; valid until its next push or pop.
    [[nodiscard]] static std::span<const Entry> current();
};

/// Brackets the rest of a scope in the trail.
class StackTrackerScope : NonCopyable {
public:
    StackTrackerScope(const char* function, const char* file, unsigned line) {
        StackTracker::push(function, file, line);
    }
    ~StackTrackerScope() { StackTracker::pop(); }
};

} // namespace Kiln
