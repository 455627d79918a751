#include <core/formatter.h>
#include <core/log.h>
#include <core/standard_error_log.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Kiln {

using detail::StandardErrorLog;

namespace {

struct InstalledSink {
    int id;
    Log::Sink sink;
};

std::string_view viewOf(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

} // namespace

struct Log::State {
    /// Held back lines would otherwise be lost. Later messages, from destructors, are written at once.
    static void onExit() {
        State& state = Log::instance().m_state;
        // A sink that calls exit() runs under the lock, and waiting for it here would never end. The counts are then
        // lost.
        const std::unique_lock lock(state.mutex, std::try_to_lock);
        if (!lock) {
            return;
        }
        state.standardError.stopFolding();
        state.holdsRepeats.store(false, std::memory_order_relaxed);
    }

    /// The caller holds `mutex`.
    void writeToStandardError(const LogMessage& message) {
        if (!std::exchange(hasExitHandler, true)) {
            std::ignore = std::atexit(&onExit); // If it fails, counts can be lost at exit.
        }
        standardError.write(message, StandardErrorLog::Clock::now());
        holdsRepeats.store(standardError.holdsRepeats(), std::memory_order_relaxed);
    }

    // Guards all members and is held while sinks run. Only sinks take other locks under it.
    std::mutex mutex;
    std::vector<InstalledSink> sinks;
    int lastId = 0;
    bool hasExitHandler = false;
    StandardErrorLog standardError;

    // Written under the lock. Read without it, as a hint for which a late value only means a later flush.
    std::atomic<bool> holdsRepeats = false;
};

Log& Log::instance() {
    // Never destroyed, and in static storage, so that the first message needs no allocation either.
    alignas(State) static std::byte stateBytes[sizeof(State)];
    alignas(Log) static std::byte logBytes[sizeof(Log)];
    static Log* const log = ::new (logBytes) Log(*::new (stateBytes) State);
    return *log;
}

void Log::write(const LogMessage& message) {
    const std::lock_guard lock(m_state.mutex);
    if (m_state.sinks.empty()) {
        m_state.writeToStandardError(message);
        return;
    }
    for (const InstalledSink& installed : m_state.sinks) {
        installed.sink(message);
    }
}

void Log::flush() {
    const std::lock_guard lock(m_state.mutex);
    m_state.standardError.flush();
    m_state.holdsRepeats.store(false, std::memory_order_relaxed);
}

void Log::flushDue() {
    if (!m_state.holdsRepeats.load(std::memory_order_relaxed)) {
        return;
    }
    const std::lock_guard lock(m_state.mutex);
    m_state.standardError.flushDue(StandardErrorLog::Clock::now());
    m_state.holdsRepeats.store(m_state.standardError.holdsRepeats(), std::memory_order_relaxed);
}

int Log::addSink(Sink sink) {
    const std::lock_guard lock(m_state.mutex);
    const int id = ++m_state.lastId;
    m_state.sinks.push_back({id, std::move(sink)});
    m_state.standardError.flush();
    m_state.holdsRepeats.store(false, std::memory_order_relaxed);
    return id;
}

void Log::removeSink(int id) {
    // Destroyed after the lock is released, because destroying what a sink captures may log.
    Sink removed;
    const std::lock_guard lock(m_state.mutex);
    const auto found = std::find_if(m_state.sinks.begin(), m_state.sinks.end(),
                                    [id](const InstalledSink& installed) { return installed.id == id; });
    if (found != m_state.sinks.end()) {
        removed = std::move(found->sink);
        m_state.sinks.erase(found);
    }
}

DebugMessageHelper::DebugMessageHelper(int /*componentPriority*/, int messagePriority, const char* category,
                                       const char* source, unsigned line)
    : m_severity(messagePriority), m_category(category), m_source(source), m_line(line) {}

void DebugMessageHelper::message(const char* format, ...) const {
    std::array<char, 1024> buffer;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);

    // The common case allocates nothing: failed allocations are logged as well.
    std::string_view text(buffer.data(), std::min(static_cast<std::size_t>(std::max(length, 0)), buffer.size() - 1));
    std::string longText;
    if (text.size() != static_cast<std::size_t>(length)) {
        try {
            va_start(arguments, format);
            longText = formatTextList(format, arguments);
            text = longText;
        } catch (const std::bad_alloc&) { // The text is cut.
        }
        va_end(arguments);
    }
    Log::instance().write({m_severity, viewOf(m_category), viewOf(m_source), text, m_line});
}

} // namespace Kiln
