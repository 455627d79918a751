#include <core/task_manager.h>

namespace Kiln {

TaskManager& FileIOTaskManager::instance() {
    constexpr std::size_t DEFAULT_THREAD_COUNT = 2;
    // Never destroyed, only shut down: static objects of any library may still submit tasks in their destructors. Such
    // tasks are cancelled.
    static TaskManager* const manager = new TaskManager("Kiln file IO", DEFAULT_THREAD_COUNT);
    static const ExitGuard shutdownAtExit;
    return *manager;
}

FileIOTaskManager::ExitGuard::~ExitGuard() {
    instance().shutdown();
}

} // namespace Kiln
