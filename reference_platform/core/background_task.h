#pragma once

#include <core/export.h>
#include <core/safe_reference_count.h>

namespace Kiln {

class BackgroundTaskThread;
class TaskManager;

/// A piece of work that a TaskManager runs once on one of its worker threads.
///
/// Held through SmartPointer<BackgroundTask>; the task manager drops its reference after the task has run (or when
/// it shuts down before running it), usually on a worker thread.
class KILN_CORE_EXPORT BackgroundTask : public SafeReferenceCount {
public:
    /// `name` must be a literal; it appears in diagnostics.
    explicit BackgroundTask(const char* name) noexcept;
    ~BackgroundTask() override;

    /// The work itself. Worker thread.
    virtual void doBackgroundTask(TaskManager& manager) = 0;

    /// Called by the worker thread; the base runs the one-argument form.
    virtual void doBackgroundTask(TaskManager& manager, BackgroundTaskThread* thread);

    /// Called on the main thread by TaskManager::tickMainThread after the task has run, for a task that has called
    /// requestMainThreadTask(); the base does nothing.
    virtual void doMainThreadTask(TaskManager& manager);

    /// Asks a running task to end early; the base does nothing.
    virtual void stop();

    /// Called instead of running a task that is dropped at shutdown; the base does nothing.
    virtual void cancel(TaskManager& manager);

    /// The literal that the constructor received.
    [[nodiscard]] const char* name() const noexcept { return m_name; }
    /// Whether requestMainThreadTask() has been called.
    [[nodiscard]] bool wantsMainThreadTask() const noexcept { return m_wantsMainThreadTask; }

protected:
    /// Requests a call of doMainThreadTask. Until that call the task manager keeps the task, even if tickMainThread is
    /// never called. Call this before the task is submitted or from within doBackgroundTask.
    void requestMainThreadTask() noexcept { m_wantsMainThreadTask = true; }

private:
    const char* m_name;
    bool m_wantsMainThreadTask = false;
};

} // namespace Kiln
