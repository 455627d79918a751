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

/// The messages that the engine logged during some time. Hostile prefabs can make it repeat a message millions of
/// times, so each text is stored once.
struct LogRecord {
    struct Message {
        int severity = 0;
        std::string text;
        std::size_t count = 0;
        std::size_t mainThreadCount = 0; ///< How many of them were logged on the main thread.

        [[nodiscard]] bool isError() const { return severity >= LogSeverity::ERROR; }
    };

    std::vector<Message> messages;       ///< The different ones, in the order of their first appearance.
    std::vector<std::uint32_t> sequence; ///< All of them, in order, as indices into `messages`.
    std::vector<bool> isOnMainThread;    ///< For each of the sequence, whether the main thread logged it.
};

/// Collects the messages of the engine log during its own lifetime. Created on the main thread; any thread may log.
class LogCollector : NonCopyable {
public:
    LogCollector();

    /// Returns the messages since the last call.
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
