// Leaves main while a task runs and others are queued. The static object that the tasks use must outlive them, because
// the exit guard after it joins the workers. Exit status 1 when it does not.

#include <core/task_manager.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

std::atomic<bool> s_isStarted{false};
std::atomic<int> s_runningCount{0};

struct Resource {
    ~Resource() {
        if (s_runningCount != 0) {
            std::puts("a task still uses the resource");
            std::_Exit(1);
        }
    }
    std::atomic<int> usesCount{0};
} s_resource;

const Kiln::FileIOTaskManager::ExitGuard s_exitGuard;

class SlowTask final : public Kiln::BackgroundTask {
public:
    SlowTask() : BackgroundTask("SlowTask") {}

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(Kiln::TaskManager& /*manager*/) override {
        ++s_runningCount;
        s_isStarted = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        ++s_resource.usesCount;
        --s_runningCount;
    }
};

} // namespace

int main() {
    for (int i = 0; i < 20; ++i) {
        Kiln::FileIOTaskManager::instance().addBackgroundTask(Kiln::makeSmart<SlowTask>(), 96);
    }
    while (!s_isStarted) {
        std::this_thread::yield();
    }
    return 0;
}
