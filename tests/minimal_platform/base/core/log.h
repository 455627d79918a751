#pragma once

#include <core/api.h>

#include <string>

namespace Kiln {

namespace LogSeverity {
inline constexpr int WARNING = 4;
inline constexpr int ERROR = 5;
inline constexpr int CRITICAL = 6;
} // namespace LogSeverity

/// Writes to stderr, as "[severity] text".
class MINIMAL_API DebugMessageHelper {
public:
    DebugMessageHelper(int /*componentPriority*/, int messagePriority, const char* /*category*/, const char* /*source*/,
                       unsigned /*line*/ = 0)
        : m_severity(messagePriority) {}
    void message(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    int m_severity;
};

/// How often a text has been logged since the process began. Any thread.
[[nodiscard]] MINIMAL_API int loggedCount(const std::string& text);

} // namespace Kiln
