#include <tessel_streaming/updates/file_watcher.h>

#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/documents/read_file.h>
#include <tessel_streaming/load_options.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

using Clock = std::chrono::steady_clock;

/// What the polls have seen of a file whose stamp differs from the one of the held document.
struct ChangedFile {
    std::uint64_t poll = 0;                ///< The last one that has seen it.
    std::optional<FileStamp> seen;         ///< By that poll.
    std::optional<FileStamp> read;         ///< The version that was read last.
    std::vector<std::string> causes;       ///< Other files that make that version unusable.
    std::vector<FileStamp> stampsOfCauses; ///< By cause; empty before the first comparison.
};

[[nodiscard]] std::vector<FileStamp> stampsOf(const std::vector<std::string>& paths) {
    std::vector<FileStamp> stamps;
    stamps.reserve(paths.size());
    for (const std::string& path : paths) {
        stamps.push_back(stampOf(path));
    }
    return stamps;
}

} // namespace

/// Shared with the task. While `isBusy` is set, everything below it belongs to the task, otherwise to the main thread.
struct FileWatcher::State : NonCopyable {
    std::atomic<bool> isAbandoned{false};
    std::atomic<bool> isBusy{false}; ///< Released by the task when it ends, acquired by the main thread.

    std::uint64_t pollsCount = 0;
    std::vector<std::pair<std::string, FileStamp>> held;
    std::vector<Retry> retries;
    std::unordered_map<std::string, ChangedFile> changed;
    std::vector<SmartPointer<LoadedFile>> read;

    void applyRetries();
    void pollFile(const std::string& path, const FileStamp& heldStamp);
    [[nodiscard]] bool hasSettled(ChangedFile& file, const FileStamp& stamp) const;
};

void FileWatcher::State::applyRetries() {
    for (Retry& retry : retries) {
        if (const auto found = changed.find(retry.path); found != changed.end()) {
            found->second.causes = std::move(retry.causes);
            found->second.stampsOfCauses = stampsOf(found->second.causes);
        }
    }
    retries.clear();
}

bool FileWatcher::State::hasSettled(ChangedFile& file, const FileStamp& stamp) const {
    file.poll = pollsCount;
    if (file.read == stamp) {
        if (file.causes.empty() || stampsOf(file.causes) == file.stampsOfCauses) {
            return false;
        }
        file.read.reset();
        file.seen.reset();
    }
    if (file.seen == stamp) {
        return true;
    }
    file.seen = stamp;
    return false;
}

void FileWatcher::State::pollFile(const std::string& path, const FileStamp& heldStamp) {
    const FileStamp stamp = stampOf(path);
    if (stamp == heldStamp) {
        changed.erase(path);
        return;
    }
    ChangedFile& file = changed[path];
    if (!hasSettled(file, stamp)) {
        return;
    }
    SmartPointer<LoadedFile> version = readFileAside(path);
    if (const FileStamp now = stampOf(path); now != stamp) { // It was written while it was read.
        file.seen = now;
        return;
    }
    version->stamp = stamp;
    file.causes.clear();
    read.push_back(std::move(version));
    file.read = stamp;
}

class FileWatcher::Task final : public BackgroundTask {
public:
    explicit Task(std::shared_ptr<State> state) : BackgroundTask("PrefabWatchTask"), m_state(std::move(state)) {}

    void doBackgroundTask(TaskManager& /*manager*/) override { run(nullptr); }
    void doBackgroundTask(TaskManager& /*manager*/, BackgroundTaskThread* thread) override { run(thread); }
    void cancel(TaskManager& /*manager*/) override { m_state->isBusy.store(false, std::memory_order_release); }

private:
    void run(const BackgroundTaskThread* thread) {
        // Ends the task also when an exception leaves it; the files that were not polled are polled by the next one.
        const struct End {
            ~End() { isBusy.store(false, std::memory_order_release); }
            std::atomic<bool>& isBusy;
        } end{m_state->isBusy};
        State& state = *m_state;
        ++state.pollsCount;
        state.applyRetries();
        for (const auto& [path, stamp] : state.held) {
            if (state.isAbandoned.load(std::memory_order_relaxed) || (thread && thread->isStopping())) {
                return;
            }
            state.pollFile(path, stamp);
        }
        std::erase_if(state.changed, [&state](const auto& file) { return file.second.poll != state.pollsCount; });
    }

    std::shared_ptr<State> m_state;
};

FileWatcher::FileWatcher(TaskManager& tasks) : m_tasks(tasks), m_state(std::make_shared<State>()) {}

FileWatcher::~FileWatcher() {
    m_state->isAbandoned.store(true, std::memory_order_relaxed);
}

void FileWatcher::poll(const DocumentLibrary& documents) {
    const Clock::time_point now = Clock::now();
    if ((m_lastPoll && now - *m_lastPoll < m_interval) || m_state->isBusy.load(std::memory_order_acquire)) {
        return;
    }
    m_lastPoll = now;
    m_state->held = documents.heldFiles();
    if (m_state->held.empty()) {
        m_state->changed.clear();
        return;
    }
    m_state->retries = std::exchange(m_retries, {});
    m_state->isBusy.store(true, std::memory_order_relaxed);
    try {
        m_tasks.addBackgroundTask(makeSmart<Task>(m_state), DEFAULT_PRIORITY);
    } catch (...) { // There is no memory, or no worker can be started; the next poll tries again.
        m_state->isBusy.store(false, std::memory_order_relaxed);
    }
}

void FileWatcher::takeRead(std::vector<SmartPointer<LoadedFile>>& read) {
    if (m_state->isBusy.load(std::memory_order_acquire)) {
        return;
    }
    for (SmartPointer<LoadedFile>& file : m_state->read) {
        read.push_back(std::move(file));
    }
    m_state->read.clear();
}

void FileWatcher::retryAfter(const std::string& path, std::vector<std::string> causes) {
    m_retries.push_back({path, std::move(causes)});
}

} // namespace Kiln::Tessel::Streaming::detail
