#pragma once

#include <core/log.h>
#include <core/non_copyable.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace Kiln::PrefabTool {

/// What the engine logged over some time. Hostile prefabs can make it repeat a message millions of times, so each
/// text is kept once.
struct LogRecord {
    struct Message {
        int severity = 0;
        std::string text;
        std::size_t count = 0;
        std::size_t mainThreadCount = 0; ///< How many of them the main thread wrote.

        [[nodiscard]] bool isError() const { return severity >= LogSeverity::ERROR; }
    };

    std::vector<Message> messages;       ///< The different ones, in the order of their first appearance.
    std::vector<std::uint32_t> sequence; ///< All of them, in order, as indices into `messages`.
};

/// Takes the engine log over, for the lifetime of the object. The main thread makes it; any thread may log.
class LogCollector : NonCopyable {
public:
    LogCollector();

    /// What was logged since the last call.
    [[nodiscard]] LogRecord take();

private:
    void record(const LogMessage& message);

    const std::thread::id m_mainThread = std::this_thread::get_id();
    std::mutex m_mutex; ///< Guards m_record and m_indices; taken after the log's own lock.
    LogRecord m_record;
    std::unordered_map<std::string, std::uint32_t> m_indices; ///< Of the messages, by severity and text.
    ScopedLogSink m_sink; ///< Last: no message may arrive outside the lifetime of the record.
};

} // namespace Kiln::PrefabTool
