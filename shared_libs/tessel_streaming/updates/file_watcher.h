#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <core/task_manager.h>
#include <tessel_streaming/documents/loaded_file.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

class DocumentLibrary;

/// Finds the held files that have changed, and reads their new versions.
///
/// A poll compares the stamps of all held files with those that they were read with. A file that differs has settled
/// when two polls in a row see the same stamp; it is then read once for this stamp. So a file that is being written is
/// not read, and a burst of writes is read once. A file that has disappeared settles in the same way.
///
/// Owner: LiveUpdates. Threads: the main thread; one task at a time polls and reads on a worker. A destroyed watcher
/// does not wait for its task.
class FileWatcher : NonCopyable {
public:
    explicit FileWatcher(TaskManager& tasks);
    ~FileWatcher();

    void setInterval(std::chrono::milliseconds interval) noexcept { m_interval = interval; }

    /// Starts a poll if the last one has ended and the interval has passed.
    void poll(const DocumentLibrary& documents);

    /// Appends the new versions that were read, each without a document if it is not sound. Cheap if there are none.
    void takeRead(std::vector<SmartPointer<LoadedFile>>& read);

    /// Reads a version that could not be used again when one of these other files has changed.
    void retryAfter(const std::string& path, std::vector<std::string> causes);

private:
    struct Retry {
        std::string path;
        std::vector<std::string> causes;
    };
    struct State;
    class Task;

    TaskManager& m_tasks;
    std::shared_ptr<State> m_state;
    std::chrono::milliseconds m_interval{200};
    std::optional<std::chrono::steady_clock::time_point> m_lastPoll;
    std::vector<Retry> m_retries; ///< To be passed to the next poll.
};

} // namespace Kiln::Tessel::Streaming::detail
