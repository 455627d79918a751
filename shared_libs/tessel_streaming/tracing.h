#pragma once

#include <tessel_streaming/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <set>
#include <string_view>

namespace Kiln::Tessel::Streaming {

/// One event of a trace.
struct TraceEvent {
    /// What an event tells.
    enum class Kind {
        SPAN,    ///< Work that took `duration`.
        INSTANT, ///< Something that happened.
        COUNTER, ///< A value from `time` on.
    };

    Kind kind = Kind::INSTANT;                  ///< What the event tells.
    std::string_view name;                      ///< A literal, such as "read".
    std::string_view detail;                    ///< Mostly a resource path; valid during the call.
    std::uint64_t request = 0;                  ///< Number of the request; 0 if it belongs to none or to several.
    std::chrono::steady_clock::time_point time; ///< When it happened or, for a SPAN, began.
    std::chrono::nanoseconds duration{0};       ///< Of a SPAN.
    std::int64_t value = 0;                     ///< Of a COUNTER.
    std::uint32_t thread = 0;                   ///< 0 for the main thread, else one plus the index of the worker.
};

/// Receives the events of the library, from the main thread and from workers, possibly at the same time. It must not
/// replace the hook; events of other calls that it makes to the library are left out. An exception is logged and turns
/// tracing off.
using TraceHook = std::function<void(const TraceEvent& event)>;

/// Writes events in the Trace Event Format of Chromium (JSON object format, complete, instant and counter events),
/// which trace viewers read.
///
///     std::ofstream file("trace.json");
///     Streaming::ChromeTraceWriter writer(file);
///     Streaming::setTraceHook([&writer](const Streaming::TraceEvent& event) { writer.write(event); });
///
/// Threads: any. Owner: the caller, who keeps the stream and removes the hook before destroying this. Failure: the
/// state of the stream tells whether everything was written.
class KILN_TESSEL_STREAMING_EXPORT ChromeTraceWriter {
public:
    /// Writes the beginning of the file. Times are relative to this moment.
    explicit ChromeTraceWriter(std::ostream& stream);
    ChromeTraceWriter(const ChromeTraceWriter&) = delete;
    ChromeTraceWriter& operator=(const ChromeTraceWriter&) = delete;

    /// Writes the end of the file.
    ~ChromeTraceWriter();

    /// Writes an event. Any thread.
    void write(const TraceEvent& event);

private:
    /// Precedes the first event of a thread with its name. Needs the lock, as writeLine() does.
    void writeThreadName(std::uint32_t thread);
    void writeLine(std::string_view json);

    std::mutex m_mutex; ///< Guards the stream and the members below.
    std::ostream& m_stream;
    const std::chrono::steady_clock::time_point m_start;
    std::set<std::uint32_t> m_namedThreads;
    bool m_isFirst = true;
};

} // namespace Kiln::Tessel::Streaming
