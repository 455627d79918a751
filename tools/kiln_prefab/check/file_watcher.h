#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>

#include <sys/stat.h>
#include <sys/types.h>

namespace Kiln::PrefabTool {

/// What tells whether a file has changed without reading it.
struct FileStamp {
    bool exists = false;
    off_t size = 0;
    ino_t node = 0;                  ///< Differs when a file is replaced by another one.
    std::chrono::nanoseconds time{}; ///< Of the last change of the content.

    friend bool operator==(const FileStamp&, const FileStamp&) = default;

    [[nodiscard]] static FileStamp of(const std::string& fileName);
};

/// Waits until files change, by looking at them again and again. Blocks the current thread; a signal ends the process.
class FileWatcher {
public:
    using Stamps = std::map<std::string, FileStamp>;

    /// `files` returns the names of the files to watch, which may change from call to call.
    explicit FileWatcher(std::function<std::set<std::string>()> files) : m_files(std::move(files)) {}

    /// The present state of the files.
    [[nodiscard]] Stamps stamps() const;

    /// Returns when the files differ from `known` and have then stayed the same for `settleTime`, so that a program
    /// that writes several files is not interrupted. Returns the new state.
    Stamps awaitChange(const Stamps& known, std::chrono::milliseconds settleTime) const;

private:
    std::function<std::set<std::string>()> m_files;
};

} // namespace Kiln::PrefabTool
