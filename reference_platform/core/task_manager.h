#pragma once

#include <core/background_task.h>
#include <core/export.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Kiln {

/// Runs background tasks on worker threads, highest priority first, and in the order of submission within a priority.
///
/// The first task starts the threads. shutdown(), which the destructor calls too, cancels queued tasks, lets running
/// tasks finish and joins the workers; tasks added afterwards are cancelled at once, on the adding thread. A long task
/// ends early by checking BackgroundTaskThread::isStopping().
///
/// Failure: an exception that a task throws is logged at error severity ("Background task '%s' failed: %s") and ends
/// that task only.
///
/// Threads: addBackgroundTask, waitForIdle, unfinishedTasks and shutdown may be called from any thread that is not
/// one of the workers (addBackgroundTask also from these); setThreadCount and tickMainThread from the main thread.
class KILN_CORE_EXPORT TaskManager : NonCopyable {
public:
    /// `name` appears in thread names (Linux shows 15 characters of them).
    explicit TaskManager(std::string name, std::size_t threadCount);
    ~TaskManager();

    /// Queues a task; it runs once, on a worker. Ignores null. Throws std::system_error when a thread cannot be
    /// started; in that case the task is dropped, neither run nor cancelled.
    void addBackgroundTask(SmartPointer<BackgroundTask> task, int priority);

    /// Changes the number of workers (at least one). Shrinking waits for surplus workers to finish their task.
    void setThreadCount(std::size_t count);
    /// The number of workers that the constructor or setThreadCount() asked for.
    [[nodiscard]] std::size_t threadCount() const;

    /// Runs doMainThreadTask of every task that requested it and finished since the last call, in the order in which
    /// they finished, and drops them. Returns their number. Works after shutdown() too.
    std::size_t tickMainThread();

    /// Waits until no task is queued or running; returns false if the timeout expires first. On success the manager
    /// holds no reference to any task except those that await tickMainThread().
    bool waitForIdle(std::chrono::milliseconds timeout);

    /// Number of tasks that are queued or running.
    [[nodiscard]] std::size_t unfinishedTasks() const;

    /// See the class comment. Idempotent.
    void shutdown();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// One worker of a TaskManager, as a running task sees it.
class KILN_CORE_EXPORT BackgroundTaskThread : NonCopyable {
public:
    /// `isStopping` is set when the manager shuts down, and outlives this; null stands for a manager that never does.
    explicit BackgroundTaskThread(std::size_t index, const std::atomic<bool>* isStopping = nullptr) noexcept
        : m_index(index), m_isStopping(isStopping) {}

    /// Index among the manager's workers, from 0.
    [[nodiscard]] std::size_t index() const noexcept { return m_index; }

    /// Whether the manager is shutting down, so that a task should end as soon as possible. Any thread.
    [[nodiscard]] bool isStopping() const noexcept {
        return m_isStopping && m_isStopping->load(std::memory_order_relaxed);
    }

    /// The worker, of any task manager, that runs on the current thread; null if the thread is not a worker.
    [[nodiscard]] static const BackgroundTaskThread* current() noexcept;

private:
    std::size_t m_index;
    const std::atomic<bool>* m_isStopping;
};

/// The process's task manager for file input and output.
///
/// Lifetime: created on first use, shut down when the process exits. Everything that its tasks use must outlive it: a
/// library whose static objects are used by tasks holds a FileIOTaskManager::ExitGuard after them.
class KILN_CORE_EXPORT FileIOTaskManager {
public:
    /// Two workers unless setThreadCount says otherwise.
    static TaskManager& instance();

    /// A static object of this class, declared after a library's other static objects, joins the workers before these
    /// are destroyed at exit.
    class KILN_CORE_EXPORT ExitGuard : NonCopyable {
    public:
        ExitGuard() = default;
        ~ExitGuard();
    };
};

} // namespace Kiln
