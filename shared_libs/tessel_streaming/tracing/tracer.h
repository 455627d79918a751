#pragma once

#include <core/non_copyable.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/tracing.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <shared_mutex>
#include <string_view>

namespace Kiln::Tessel::Streaming::detail {

/// Passes events to the trace hook. While there is no hook, each call costs one relaxed load.
///
/// Threads: any. A hook must not set a hook. Failure: an exception of the hook is logged and turns tracing off until
/// the next setHook().
class KILN_TESSEL_STREAMING_EXPORT Tracer : NonCopyable {
public:
    using Clock = std::chrono::steady_clock;

    /// When this returns, the previous hook is not running and never runs again. Events of other threads during the
    /// call may be left out.
    void setHook(TraceHook hook);

    [[nodiscard]] bool isOn() const noexcept { return m_isOn.load(std::memory_order_relaxed); }

    /// Work of the current thread that began at `start` and ends now.
    void span(std::string_view name, Clock::time_point start, std::uint64_t request, std::string_view detail) {
        if (isOn()) {
            writeSpan(name, start, request, detail);
        }
    }
    void instant(std::string_view name, std::uint64_t request, std::string_view detail) {
        if (isOn()) {
            writeInstant(name, request, detail);
        }
    }
    void counter(std::string_view name, std::int64_t value) {
        if (isOn()) {
            writeCounter(name, value);
        }
    }

private:
    void writeSpan(std::string_view name, Clock::time_point start, std::uint64_t request, std::string_view detail);
    void writeInstant(std::string_view name, std::uint64_t request, std::string_view detail);
    void writeCounter(std::string_view name, std::int64_t value);
    void write(TraceEvent& event);
    void callHook(const TraceEvent& event);

    /// Relaxed: m_mutex orders the accesses to the hook, and a thread that sees a change late only traces a little more
    /// or less.
    std::atomic<bool> m_isOn{false};
    std::shared_mutex m_mutex; ///< Held shared while the hook runs. Guards m_hook.
    TraceHook m_hook;
};

} // namespace Kiln::Tessel::Streaming::detail
