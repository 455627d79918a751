#include <tessel_streaming/documents/file_reading.h>

#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/budget/disposal_task.h>
#include <tessel_streaming/documents/read_file.h>

#include <cstdint>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// The one of the task manager's tasks that load prefabs. The files' own priorities count when a task begins.
constexpr int TASK_PRIORITY = 96;

/// Documents whose files have at least this size together are destroyed on a worker: it takes longer than a frame may
/// take.
constexpr std::uint64_t BYTES_OF_LARGE_DOCUMENTS = 65'536;

} // namespace

/// Reads the file that is first in the queue.
class FileReading::ReadTask final : public BackgroundTask {
public:
    explicit ReadTask(std::shared_ptr<FileReading> reading)
        : BackgroundTask("PrefabReadTask"), m_reading(std::move(reading)) {}

    void doBackgroundTask(TaskManager& /*manager*/) override { m_reading->runTask(false); }
    void doBackgroundTask(TaskManager& /*manager*/, BackgroundTaskThread* thread) override {
        m_reading->runTask(thread && thread->isStopping());
    }
    void cancel(TaskManager& /*manager*/) override { m_reading->runTask(true); }

private:
    std::shared_ptr<FileReading> m_reading;
};

FileReading::Access::~Access() {
    m_reading.m_hasCompleted.store(m_reading.m_graph.hasCompleted(), std::memory_order_relaxed);
    m_reading.m_hasUnused.store(m_reading.m_graph.hasUnused(), std::memory_order_relaxed);
    const std::size_t missingTasks = m_reading.countMissingTasks();
    m_lock.unlock();
    m_reading.submitTasks(missingTasks);
    m_reading.drop(dropped);
}

/// With the lock. The caller submits that many tasks.
std::size_t FileReading::countMissingTasks() noexcept {
    const std::size_t missing = m_graph.queuedCount() > m_waitingTasks ? m_graph.queuedCount() - m_waitingTasks : 0;
    m_waitingTasks += missing;
    return missing;
}

void FileReading::submitTasks(std::size_t count) noexcept {
    for (; count > 0; --count) {
        try {
            m_tasks.addBackgroundTask(makeSmart<ReadTask>(shared_from_this()), TASK_PRIORITY);
        } catch (...) { // No memory, or no thread.
            failUnserved(count);
            return;
        }
    }
}

/// Fails as many files as there are no tasks for, after `count` tasks could not be submitted.
void FileReading::failUnserved(std::size_t count) noexcept {
    const Access graph(*this);
    m_waitingTasks -= count;
    while (graph->queuedCount() > m_waitingTasks) {
        NeededFile& file = *graph->begin();
        static_cast<void>(graph->finish(file, file.outOfMemory)); // No document is destroyed by this.
    }
}

void FileReading::runTask(bool isStopping) noexcept {
    NeededFile* file = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        --m_waitingTasks;
        file = m_graph.begin();
    }
    if (!file) {
        return;
    }
    finish(*file, resultOf(*file, isStopping));
}

SmartPointer<LoadedFile> FileReading::resultOf(NeededFile& file, bool isStopping) noexcept {
    try {
        if (isStopping) {
            return failedFile(file.path, FailureCode::SERVICE_ENDED, "The process is ending.");
        }
        return read(file);
    } catch (...) { // There is no memory for a failure either.
        return file.outOfMemory;
    }
}

SmartPointer<LoadedFile> FileReading::read(NeededFile& file) {
    const Tracer::Clock::time_point start = Tracer::Clock::now();
    const FileStamp stamp = stampOf(file.path);
    {
        const std::lock_guard lock(m_mutex);
        m_graph.setSize(file, stamp.bytes);
    }
    SmartPointer<LoadedFile> result = readFile(file.path, stamp, m_service);
    trace(*result, start);
    return result;
}

void FileReading::finish(NeededFile& file, const SmartPointer<LoadedFile>& result) noexcept {
    SmartPointer<LoadedFile> previous; // Destroyed after the lock has been released.
    Access graph(*this);
    previous = graph->finish(file, result);
    if (m_isClosed) {
        graph->clear(graph.dropped);
    }
}

void FileReading::trace(const LoadedFile& file, Tracer::Clock::time_point start) noexcept {
    const std::shared_lock lock(m_tracerMutex);
    if (!m_tracer) {
        return;
    }
    try {
        if (file.isCacheHit) {
            m_tracer->instant("cache hit", 0, file.path);
        } else {
            m_tracer->span("read", start, 0, file.path);
        }
    } catch (...) { // An exception of the hook concerns nobody else.
    }
}

void FileReading::close() noexcept {
    {
        Access graph(*this);
        m_isClosed = true;
        graph->clear(graph.dropped);
    }
    const std::unique_lock lock(m_tracerMutex);
    m_tracer = nullptr;
}

void FileReading::drop(FileGraph::Files& files) noexcept {
    std::uint64_t bytes = 0;
    for (const NeededFile& file : files) {
        if (file.shared) {
            m_service.dropSharedPrefab(file.path, *file.shared);
        }
        bytes += file.hasDocument() ? file.bytes : 0;
    }
    FileGraph::Files dropped;
    dropped.swap(files);
    if (bytes >= BYTES_OF_LARGE_DOCUMENTS) {
        disposeOnWorker(m_tasks, std::move(dropped));
    }
}

} // namespace Kiln::Tessel::Streaming::detail
