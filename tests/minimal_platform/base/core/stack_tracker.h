#pragma once

#include <core/non_copyable.h>

namespace Kiln {

/// This platform keeps no trail for crash reports.
class StackTracker {
public:
    static void push(const char* /*function*/, const char* /*file*/, unsigned /*line*/) {}
    static void pop() {}
};

class StackTrackerScope : NonCopyable {
public:
    StackTrackerScope(const char* function, const char* file, unsigned line) {
        StackTracker::push(function, file, line);
    }
    ~StackTrackerScope() { StackTracker::pop(); }
};

} // namespace Kiln
