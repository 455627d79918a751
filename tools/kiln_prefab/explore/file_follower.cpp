#include "file_follower.h"

#include <utility>

namespace Kiln::PrefabTool {

FileFollower::FileFollower(std::function<std::set<std::string>()> files, Clock::duration settleTime)
    : m_watcher(std::move(files)), m_settleTime(settleTime), m_used(m_watcher.stamps()), m_last(m_used) {}

bool FileFollower::hasSettledChange() {
    FileWatcher::Stamps present = m_watcher.stamps();
    const Clock::time_point now = Clock::now();
    if (present != m_last) {
        m_last = std::move(present);
        m_lastChange = now;
    }
    if (m_last == m_used || now - m_lastChange < m_settleTime) {
        return false;
    }
    m_used = m_last;
    return true;
}

void FileFollower::addNewFiles() {
    FileWatcher::Stamps present = m_watcher.stamps();
    for (auto& [name, stamp] : present) {
        // A file that has changed meanwhile differs from its used state and so will be noticed.
        if (const auto used = m_used.find(name); used != m_used.end()) {
            stamp = used->second;
        }
    }
    m_used = std::move(present);
    m_last = m_used;
}

} // namespace Kiln::PrefabTool
