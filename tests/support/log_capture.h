#pragma once

#include <core/log.h>
#include <core/non_copyable.h>

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::TestSupport {

/// Records what the whole process logs during the lifetime of the object, and keeps it off stderr.
///
/// Threads: any; the record is ordered as the log delivered the messages.
///
///     LogCapture log;
///     library.load("missing.prefab");
///     EXPECT_THAT(log.texts(), ElementsAre("Prefab not found missing.prefab"));
class LogCapture : NonCopyable {
public:
    /// Like LogMessage, but owns its texts.
    struct Message {
        int severity = 0;
        std::string category;
        std::string text;
        std::string source;

        friend bool operator==(const Message&, const Message&) = default;
    };

    LogCapture() : m_sink([this](const LogMessage& message) { record(message); }) {}

    [[nodiscard]] std::vector<Message> messages() const {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

    /// Texts of all messages.
    [[nodiscard]] std::vector<std::string> texts() const { return textsFrom(0); }

    /// Texts of the messages of severity ERROR and above.
    [[nodiscard]] std::vector<std::string> errors() const { return textsFrom(LogSeverity::ERROR); }

    /// Number of messages with exactly this text.
    [[nodiscard]] std::size_t count(std::string_view text) const {
        const std::lock_guard lock(m_mutex);
        return static_cast<std::size_t>(std::count_if(m_messages.begin(), m_messages.end(),
                                                      [text](const Message& message) { return message.text == text; }));
    }

    void clear() {
        const std::lock_guard lock(m_mutex);
        m_messages.clear();
    }

private:
    void record(const LogMessage& message) {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(
            {message.severity, std::string(message.category), std::string(message.text), std::string(message.source)});
    }

    [[nodiscard]] std::vector<std::string> textsFrom(int severity) const {
        const std::lock_guard lock(m_mutex);
        std::vector<std::string> texts;
        for (const Message& message : m_messages) {
            if (message.severity >= severity) {
                texts.push_back(message.text);
            }
        }
        return texts;
    }

    mutable std::mutex m_mutex; // guards m_messages; taken after the log's own lock
    std::vector<Message> m_messages;
    ScopedLogSink m_sink; // last: no message may arrive outside the lifetime of the record
};

/// GoogleTest prints messages through this.
inline void PrintTo(const LogCapture::Message& message, std::ostream* stream) {
    *stream << "[" << message.severity << "] \"" << message.text << "\" (category \"" << message.category
            << "\", source \"" << message.source << "\")";
}

} // namespace Kiln::TestSupport
