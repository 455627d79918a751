#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Kiln {

/// Severities of the engine log. The numbers are part of the contract with log readers.
namespace LogSeverity {
inline constexpr int INFO = 3;
inline constexpr int WARNING = 4;
inline constexpr int ERROR = 5;
inline constexpr int CRITICAL = 6;
} // namespace LogSeverity

/// One line of the engine log.
struct LogMessage {
    int severity = LogSeverity::INFO;
    std::string_view category; ///< Empty for nearly every message.
    std::string_view source;   ///< Source file without its extension, such as "core/task_manager"; may be empty.
    std::string_view text;     ///< The finished text, exactly as the reporter formatted it.
};

/// The engine log: every message goes to each sink, in the order in which the sinks were added.
///
/// Owner: one per process. Threads: write() may be called from any thread; sinks are called one message at a time,
/// under the log's lock, on the writing thread, and must neither write to the log nor add or remove sinks. While no
/// sink is installed, messages go to stderr as "[severity] text".
class KILN_CORE_EXPORT Log : NonCopyable {
public:
    using Sink = std::function<void(const LogMessage&)>;

    static Log& instance();

    void write(const LogMessage& message);

    /// Installs a sink and returns its id for removeSink().
    int addSink(Sink sink);

    /// Removes a sink; once this returns, the sink is not running and never runs again.
    void removeSink(int id);

private:
    Log();
    ~Log();

    struct State;
    std::unique_ptr<State> m_state;
};

/// Installs a sink for the lifetime of the object.
class ScopedLogSink : NonCopyable {
public:
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
    /// severity. The texts must outlive the helper.
    DebugMessageHelper(int componentPriority, int messagePriority, const char* category, const char* source);

    /// Formats by the rules of printf and writes to the log.
    void message(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    int m_severity;
    const char* m_category;
    const char* m_source;
};

} // namespace Kiln
