#pragma once

#include <kiln_prefab/check/file_watcher.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>

namespace Kiln::PrefabTool {

/// Tells when files have changed and stayed the same for some time since, without blocking. One thread.
class FileFollower {
public:
    using Clock = std::chrono::steady_clock;

    /// `files` returns the names of the files to look at, which may change from call to call.
    FileFollower(std::function<std::set<std::string>()> files, Clock::duration settleTime);

    /// Looks at the files. Returns true if they differ from what was used and have not changed for the settle time; the
    /// present state then counts as used.
    [[nodiscard]] bool hasSettledChange();

    /// To be called after the files have been used: files that are new in the list count as used as they are now.
    void addNewFiles();

private:
    FileWatcher m_watcher;
    Clock::duration m_settleTime;
    FileWatcher::Stamps m_used;
    FileWatcher::Stamps m_last;
    Clock::time_point m_lastChange;
};

} // namespace Kiln::PrefabTool
