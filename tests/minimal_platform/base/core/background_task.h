#pragma once

#include <core/safe_reference_count.h>

namespace Kiln {

class BackgroundTaskThread;
class TaskManager;

class MINIMAL_API BackgroundTask : public SafeReferenceCount {
public:
    explicit BackgroundTask(const char* name) : m_name(name) {}
    ~BackgroundTask() override;

    /// Worker thread.
    virtual void doBackgroundTask(TaskManager& manager) = 0;

    /// Called by the worker.
    virtual void doBackgroundTask(TaskManager& manager, BackgroundTaskThread* thread);

    /// Called instead for a task that is dropped.
    virtual void cancel(TaskManager& manager);

    [[nodiscard]] const char* name() const { return m_name; }

private:
    const char* m_name;
};

} // namespace Kiln
