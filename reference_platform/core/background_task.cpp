#include <core/background_task.h>

namespace Kiln {

BackgroundTask::BackgroundTask(const char* name) noexcept : m_name(name) {}
BackgroundTask::~BackgroundTask() = default;

void BackgroundTask::doBackgroundTask(TaskManager& manager, BackgroundTaskThread* /*thread*/) {
    doBackgroundTask(manager);
}

void BackgroundTask::doMainThreadTask(TaskManager& /*manager*/) {}
void BackgroundTask::stop() {}
void BackgroundTask::cancel(TaskManager& /*manager*/) {}

} // namespace Kiln
