#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace Kiln {

/// Severities of the engine log. The numbers are part of the contract with log readers.
namespace LogSeverity {
/// @{
/// A severity; a higher number is more severe.
inline constexpr int INFO = 3;
inline constexpr int WARNING = 4;
inline constexpr int ERROR = 5;
inline constexpr int CRITICAL = 6;
/// @}
} // namespace LogSeverity

/// One line of the engine log.
struct LogMessage {
    int severity = LogSeverity::INFO; ///< One of LogSeverity.
    std::string_view category;        ///< Empty for nearly every message.
    std::string_view source;          ///< Source file without its extension, such as "core/task_manager"; may be empty.
    std::string_view text;            ///< The finished text, exactly as the reporter formatted it.
    unsigned line = 0;                ///< Of the source; 0 when not given.
};

/// The engine log: every message goes to each sink, in the order in which the sinks were added.
///
/// Owner: one per process. Threads: write() may be called from any thread; sinks are called one message at a time,
/// under the log's lock, on the writing thread, and must neither write to the log nor add or remove sinks. Failure: an
/// exception of a sink is propagated to the writer, and later sinks do not get the message. The log itself allocates
/// nothing for a message.
///
/// While no sink is installed, each message becomes one line on stderr, "[severity] text". Texts come from files, and
/// a burst can have millions of messages, so, unlike for a sink:
/// - the text is escaped as by printableText(), except that one line break at its end is dropped;
/// - an escaped text of more than MAX_LINE_TEXT bytes is cut and followed by "… (N bytes in all)";
/// - a line that equals one of the last MAX_RECENT_LINES different lines is held back if that one was written less than
///   REPEAT_PERIOD ago, and counted. The line is written once more, followed by " (repeated N times)", after the period
///   (by the next message or frame, see flushDue()), when other lines take its place in the memory of recent lines,
///   when a sink is installed, and at exit. A process that ends without exit handlers loses this count, but no text.
class KILN_CORE_EXPORT Log : NonCopyable {
public:
    /// Receives each message. The texts of a message are valid only during the call.
    using Sink = std::function<void(const LogMessage&)>;

    static constexpr std::size_t MAX_LINE_TEXT = 4096;      ///< In bytes, after escaping.
    static constexpr std::size_t MAX_RECENT_LINES = 8;      ///< Different lines that are remembered.
    static constexpr std::chrono::seconds REPEAT_PERIOD{1}; ///< How long a repeated line is held back.

    /// The process's log, which is never destroyed. Any thread.
    static Log& instance();

    /// Passes a message to every sink, or to stderr while there is none. Any thread.
    void write(const LogMessage& message);

    /// Writes the counts of the lines that were held back, and forgets the recent lines: the next message is written in
    /// full. Any thread.
    void flush();

    /// As flush(), but only for lines whose period is over. EntryPoint::tick() calls it, and a host without frames may.
    /// Costs one atomic load when nothing is held back. Any thread.
    void flushDue();

    /// Installs a sink and returns its id for removeSink().
    int addSink(Sink sink);

    /// Removes a sink; once this returns, the sink is not running and never runs again.
    void removeSink(int id);

private:
    struct State;

    explicit Log(State& state) noexcept : m_state(state) {}
    ~Log() = default;

    State& m_state; ///< Never destroyed, like the log: static objects of any library may log from their destructors.
};

/// Installs a sink for the lifetime of the object.
class ScopedLogSink : NonCopyable {
public:
    /// Installs the sink in Log::instance().
    explicit ScopedLogSink(Log::Sink sink) : m_id(Log::instance().addSink(std::move(sink))) {}
    ~ScopedLogSink() { Log::instance().removeSink(m_id); }

private:
    int m_id;
};

/// Formats messages for the engine log; usually a temporary.
///
///     DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE).message("Prefab not found %s", path.c_str());
class KILN_CORE_EXPORT DebugMessageHelper {
public:
    /// `componentPriority` exists for filters of the embedding engine and is not used here; `messagePriority` is the
    /// severity. The texts must outlive the helper. A `line` of 0 means that it is not given.
    DebugMessageHelper(int componentPriority, int messagePriority, const char* category, const char* source,
                       unsigned line = 0);

    /// Formats by the rules of printf and writes to the log. Allocates only for a text of more than 1023 bytes; if that
    /// fails, the rest of the text is left out.
    void message(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    int m_severity;
    const char* m_category;
    const char* m_source;
    unsigned m_line;
};

} // namespace Kiln
