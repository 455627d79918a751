#include <tessel_streaming/tracing/tracer.h>

#include <core/log.h>
#include <core/task_manager.h>

#include <exception>
#include <mutex>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

[[nodiscard]] std::uint32_t currentThread() noexcept {
    const BackgroundTaskThread* const worker = BackgroundTaskThread::current();
    return worker ? static_cast<std::uint32_t>(worker->index()) + 1 : 0;
}

/// Whether a hook is running on the current thread.
constinit thread_local bool isInHook = false;

class HookScope : NonCopyable {
public:
    HookScope() noexcept { isInHook = true; }
    ~HookScope() { isInHook = false; }
};

void logFailure(const char* problem) {
    DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming")
        .message("The trace hook threw an exception, so that tracing ends: %s", problem);
}

} // namespace

void Tracer::setHook(TraceHook hook) {
    // Keeps further events away from the lock, which would otherwise let readers pass the writer again and again.
    m_isOn.store(false, std::memory_order_relaxed);
    {
        const std::unique_lock lock(m_mutex);
        m_hook.swap(hook);
        m_isOn.store(static_cast<bool>(m_hook), std::memory_order_relaxed);
    }
    // The previous hook is destroyed here, without the lock.
}

void Tracer::writeSpan(std::string_view name, Clock::time_point start, std::uint64_t request, std::string_view detail) {
    TraceEvent event;
    event.kind = TraceEvent::Kind::SPAN;
    event.name = name;
    event.detail = detail;
    event.request = request;
    event.time = start;
    event.duration = Clock::now() - start;
    write(event);
}

void Tracer::writeInstant(std::string_view name, std::uint64_t request, std::string_view detail) {
    TraceEvent event;
    event.name = name;
    event.detail = detail;
    event.request = request;
    event.time = Clock::now();
    write(event);
}

void Tracer::writeCounter(std::string_view name, std::int64_t value) {
    TraceEvent event;
    event.kind = TraceEvent::Kind::COUNTER;
    event.name = name;
    event.time = Clock::now();
    event.value = value;
    write(event);
}

void Tracer::write(TraceEvent& event) {
    if (isInHook) {
        return; // A thread must not lock the mutex twice.
    }
    const std::shared_lock lock(m_mutex);
    // Another thread may have turned tracing off in the meantime.
    if (m_hook && isOn()) {
        event.thread = currentThread();
        callHook(event);
    }
}

void Tracer::callHook(const TraceEvent& event) {
    const HookScope scope;
    try {
        m_hook(event);
    } catch (const std::exception& error) {
        m_isOn.store(false, std::memory_order_relaxed);
        logFailure(error.what());
    } catch (...) {
        m_isOn.store(false, std::memory_order_relaxed);
        logFailure("unknown exception");
    }
}

} // namespace Kiln::Tessel::Streaming::detail
