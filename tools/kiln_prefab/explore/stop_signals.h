#pragma once

#include <core/non_copyable.h>

#include <chrono>

#include <signal.h> // NOLINT(modernize-deprecated-headers): <csignal> does not declare sigaction

namespace Kiln::PrefabTool {

/// Lets SIGINT and SIGTERM be noticed instead of ending the process, for the object's lifetime. A second signal ends it
/// as usual, in case it is busy. One object at a time.
class StopSignals : NonCopyable {
public:
    StopSignals();
    ~StopSignals();

    /// Whether one of the signals has arrived.
    [[nodiscard]] static bool hasStopped();

    /// Returns after that time, or soon after a signal. Returns hasStopped().
    [[nodiscard]] static bool waitFor(std::chrono::milliseconds time);

private:
    struct sigaction m_previousInterrupt {};
    struct sigaction m_previousTermination {};
};

} // namespace Kiln::PrefabTool
