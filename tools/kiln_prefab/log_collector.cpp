#include "log_collector.h"

#include <utility>

namespace Kiln::PrefabTool {

LogCollector::LogCollector() : m_sink([this](const LogMessage& message) { record(message); }) {}

LogRecord LogCollector::take() {
    const std::lock_guard lock(m_mutex);
    m_indices.clear();
    return std::exchange(m_record, {});
}

void LogCollector::record(const LogMessage& message) {
    std::string key = std::to_string(message.severity) + ' ';
    key += message.text;
    const std::lock_guard lock(m_mutex);
    const auto index = static_cast<std::uint32_t>(m_record.messages.size());
    const auto [entry, isNew] = m_indices.try_emplace(std::move(key), index);
    if (isNew) {
        m_record.messages.push_back({message.severity, std::string(message.text)});
    }
    LogRecord::Message& known = m_record.messages[entry->second];
    ++known.count;
    const bool isOnMainThread = std::this_thread::get_id() == m_mainThread;
    known.mainThreadCount += isOnMainThread ? 1 : 0;
    m_record.sequence.push_back(entry->second);
    m_record.isOnMainThread.push_back(isOnMainThread);
}

} // namespace Kiln::PrefabTool
