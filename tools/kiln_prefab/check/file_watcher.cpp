#include "file_watcher.h"

#include <algorithm>
#include <thread>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;

/// The pause between two looks at the files is at least as many times as long as a look takes.
constexpr int PAUSE_FACTOR = 4;

} // namespace

FileStamp FileStamp::of(const std::string& fileName) {
    struct stat status {};
    if (::stat(fileName.c_str(), &status) != 0) {
        return {};
    }
    const auto time = std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return {true, status.st_size, status.st_ino, time};
}

FileWatcher::Stamps FileWatcher::stamps() const {
    Stamps stamps;
    for (const std::string& file : m_files()) {
        stamps.emplace(file, FileStamp::of(file));
    }
    return stamps;
}

FileWatcher::Stamps FileWatcher::awaitChange(const Stamps& known, std::chrono::milliseconds settleTime) const {
    Stamps last = known;
    while (true) {
        const Clock::time_point start = Clock::now();
        Stamps present = stamps();
        const bool isSettled = present == last;
        if (isSettled && present != known) {
            return present;
        }
        last = std::move(present);
        std::this_thread::sleep_for(std::max<Clock::duration>(settleTime, PAUSE_FACTOR * (Clock::now() - start)));
    }
}

} // namespace Kiln::PrefabTool
