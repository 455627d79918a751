#pragma once

#include <core/safe_reference_count.h>

namespace Kiln {

class TaskManager;

class MINIMAL_API BackgroundTask : public SafeReferenceCount {
public:
    explicit BackgroundTask(const char* name) : m_name(name) {}
    ~BackgroundTask() override;

    /// Worker thread.
    virtual void doBackgroundTask(TaskManager& manager) = 0;

    [[nodiscard]] const char* name() const { return m_name; }

private:
    const char* m_name;
};

} // namespace Kiln
