#pragma once

#include <core/background_task.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>

#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <thread>

namespace Kiln {

/// Runs each task once on its only worker, highest priority first.
class MINIMAL_API TaskManager : NonCopyable {
public:
    TaskManager() = default;
    ~TaskManager() { shutdown(); }

    void addBackgroundTask(SmartPointer<BackgroundTask> task, int priority);

    /// Cancels what is queued and waits for the task that is running. Later tasks are cancelled as well.
    void shutdown();

private:
    struct Entry {
        SmartPointer<BackgroundTask> task;
        int priority;
    };

    void work();

    std::mutex m_mutex; ///< Guards all other members.
    std::condition_variable m_wake;
    std::list<Entry> m_queue; ///< By priority, highest first.
    std::thread m_worker;     ///< Started by the first task.
    bool m_isShutDown = false;
};

class MINIMAL_API BackgroundTaskThread {
public:
    /// Null except on a worker.
    [[nodiscard]] static const BackgroundTaskThread* current();

    /// There is only one.
    [[nodiscard]] std::size_t index() const { return 0; }

    /// Tasks run to their end here.
    [[nodiscard]] bool isStopping() const { return false; }
};

class MINIMAL_API FileIOTaskManager {
public:
    static TaskManager& instance();

    /// Joins the worker before what its tasks use is destroyed.
    class MINIMAL_API ExitGuard : NonCopyable {
    public:
        ExitGuard() = default;
        ~ExitGuard();
    };
};

} // namespace Kiln
