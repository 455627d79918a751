#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <core/task_manager.h>
#include <tessel_streaming/documents/file_graph.h>
#include <tessel_streaming/tracing/tracer.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <shared_mutex>

namespace Kiln::Tessel {
class PrefabService;
}

namespace Kiln::Tessel::Streaming::detail {

/// The part of a DocumentLibrary that its tasks share: the graph of files with its lock, and the reading on workers.
///
/// At least as many tasks wait in the task manager as files in the queue. A task reads the file that is first when it
/// begins, so that a change of priority counts at once, and ends immediately if there is none.
///
/// Owner: the library and its tasks. The service and the task manager must outlive the tasks.
class FileReading : public std::enable_shared_from_this<FileReading>, NonCopyable {
public:
    FileReading(PrefabService& service, TaskManager& tasks, Tracer& tracer)
        : m_service(service), m_tasks(tasks), m_tracer(&tracer) {}

    /// Exclusive access to the graph. When it ends, and the lock has been released, tasks are started for the files
    /// that were queued, and `dropped` is dropped.
    class Access : NonCopyable {
    public:
        explicit Access(FileReading& reading) : m_reading(reading), m_lock(reading.m_mutex) {}
        ~Access();

        FileGraph* operator->() const noexcept { return &m_reading.m_graph; }

        FileGraph::Files dropped;

    private:
        FileReading& m_reading;
        std::unique_lock<std::mutex> m_lock;
    };

    /// The result of `query(graph)`, which is called with the lock.
    template <class Query>
    [[nodiscard]] auto query(Query query) const {
        const std::lock_guard lock(m_mutex);
        return query(m_graph);
    }

    // Hints without the lock: set while it is held, so that the thread that has made a change sees it. A change that a
    // worker makes is seen some time later. Relaxed, as the graph itself is read with the lock.
    [[nodiscard]] bool hasCompleted() const noexcept { return m_hasCompleted.load(std::memory_order_relaxed); }
    [[nodiscard]] bool hasUnused() const noexcept { return m_hasUnused.load(std::memory_order_relaxed); }

    [[nodiscard]] PrefabService& service() const noexcept { return m_service; }

    /// Drops everything but what workers are reading, which they drop themselves. Does not wait for them, except for
    /// one that is in the trace hook.
    void close() noexcept;

private:
    class ReadTask;

    [[nodiscard]] std::size_t countMissingTasks() noexcept;
    void submitTasks(std::size_t count) noexcept;
    void failUnserved(std::size_t count) noexcept;
    void runTask(bool isStopping) noexcept;
    [[nodiscard]] SmartPointer<LoadedFile> resultOf(NeededFile& file, bool isStopping) noexcept;
    [[nodiscard]] SmartPointer<LoadedFile> read(NeededFile& file);
    void finish(NeededFile& file, const SmartPointer<LoadedFile>& result) noexcept;
    void trace(const LoadedFile& file, Tracer::Clock::time_point start) noexcept;
    void drop(FileGraph::Files& files) noexcept;

    PrefabService& m_service;
    TaskManager& m_tasks;

    mutable std::mutex m_mutex; ///< Guards the members below. A leaf: nothing is called and locked under it.
    FileGraph m_graph;
    std::size_t m_waitingTasks = 0; ///< Tasks that have been submitted and have not begun.
    bool m_isClosed = false;

    std::atomic<bool> m_hasCompleted{false}; ///< Written with the lock.
    std::atomic<bool> m_hasUnused{false};    ///< Written with the lock.

    std::shared_mutex
        m_tracerMutex; ///< Guards the pointer; held shared while the tracer is used. No other lock with it.
    Tracer* m_tracer;  ///< Null when the library has been destroyed.
};

} // namespace Kiln::Tessel::Streaming::detail
