#include <core/log.h>
#include <core/task_manager.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>

namespace Kiln {

namespace {

constinit thread_local const BackgroundTaskThread* currentWorker = nullptr;

struct QueuedTask {
    SmartPointer<BackgroundTask> task;
    int priority;
    std::uint64_t sequence;
};

/// Heap order: the front of the heap runs next.
bool runsAfter(const QueuedTask& a, const QueuedTask& b) {
    return a.priority != b.priority ? a.priority < b.priority : a.sequence > b.sequence;
}

/// Logs an exception of a task. Must not throw: on a worker that would end the process. The reason may be a failed
/// allocation, so a sink may fail as well; the message is then lost.
void reportFailure(const BackgroundTask& task, const char* reason) noexcept {
    try {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "core/task_manager")
            .message("Background task '%s' failed: %s", task.name(), reason);
    } catch (...) { // There is nowhere else to report it.
    }
}

/// Calls a task's code and logs its exceptions, which must neither end a worker nor lose the tasks queued behind it.
template <class Call>
void callGuarded(const BackgroundTask& task, Call call) {
    try {
        call();
    } catch (const std::exception& exception) {
        reportFailure(task, exception.what());
    } catch (...) {
        reportFailure(task, "unknown exception");
    }
}

/// Runs on the new thread, where a failed allocation would end the process, so it allocates nothing.
void nameThisThread(const std::string& managerName, std::size_t index) noexcept {
    constexpr std::size_t MAX_LENGTH = 15;
    std::array<char, MAX_LENGTH + 1> name{};
    std::array<char, 24> suffix{};
    const int written = std::snprintf(suffix.data(), suffix.size(), "-%zu", index);
    const std::size_t length = std::min(static_cast<std::size_t>(std::max(written, 0)), MAX_LENGTH);
    const std::size_t prefixLength = std::min(managerName.size(), MAX_LENGTH - length);
    std::copy_n(managerName.data(), prefixLength, name.data());
    std::copy_n(suffix.data(), length, name.data() + prefixLength);
    pthread_setname_np(pthread_self(), name.data()); // for diagnostics only, so a failure is ignored
}

/// Makes `count` calls of push_back possible without an allocation. Grows like push_back, not by the exact amount.
template <class T>
void reserveRoom(std::vector<T>& vector, std::size_t count) {
    const std::size_t needed = vector.size() + count;
    if (needed > vector.capacity()) {
        vector.reserve(std::max(needed, 2 * vector.capacity()));
    }
}

} // namespace

struct TaskManager::State {
    struct Worker {
        Worker(std::size_t index, const std::atomic<bool>& isStopping) : self(index, &isStopping) {}

        BackgroundTaskThread self;
        bool isSurplus = false;
        std::thread thread;
    };

    using Workers = std::vector<std::unique_ptr<Worker>>;

    State(TaskManager& owner, std::string managerName, std::size_t count)
        : manager(owner), name(std::move(managerName)), threadCount(count) {}

    void startMissingWorkers();
    void runWorker(Worker& worker);
    void joinAll(Workers& leaving);
    [[nodiscard]] SmartPointer<BackgroundTask> takeFirst();
    [[nodiscard]] bool isIdle() const { return queue.empty() && takenTasks == 0; }
    [[nodiscard]] std::size_t unfinishedTasks() const { return queue.size() + takenTasks; }

    TaskManager& manager;
    const std::string name;

    // Held by operations that join workers, from start to end, so that a second shutdown returns only after the first
    // has finished. Taken before `mutex`, never by workers.
    std::mutex controlMutex;

    // Guards everything below. No code of a task runs while it is held.
    mutable std::mutex mutex;
    std::condition_variable workAvailable; // a task was queued, or workers have to end
    std::condition_variable becameIdle;
    std::vector<QueuedTask> queue; // heap by runsAfter
    std::uint64_t lastSequence = 0;
    std::size_t takenTasks = 0; // removed from the queue, and running or being cancelled
    // Has room for every unfinished task, so that a worker's push_back does not allocate.
    std::vector<SmartPointer<BackgroundTask>> awaitingMainThread;
    Workers workers;
    std::size_t threadCount;
    std::atomic<bool> isShutDown = false; // written under `mutex`; tasks read it without
};

/// The caller holds `mutex`.
void TaskManager::State::startMissingWorkers() {
    while (workers.size() < threadCount) {
        workers.push_back(std::make_unique<Worker>(workers.size(), isShutDown));
        Worker& worker = *workers.back();
        try {
            worker.thread = std::thread([this, &worker] { runWorker(worker); });
        } catch (...) {
            workers.pop_back();
            throw;
        }
    }
}

/// The caller holds `mutex`; the queue is not empty.
SmartPointer<BackgroundTask> TaskManager::State::takeFirst() {
    std::pop_heap(queue.begin(), queue.end(), runsAfter);
    SmartPointer<BackgroundTask> task = std::move(queue.back().task);
    queue.pop_back();
    return task;
}

const BackgroundTaskThread* BackgroundTaskThread::current() noexcept {
    return currentWorker;
}

void TaskManager::State::runWorker(Worker& worker) {
    currentWorker = &worker.self;
    nameThisThread(name, worker.self.index());
    std::unique_lock lock(mutex);
    while (true) {
        workAvailable.wait(lock, [&] { return isShutDown || worker.isSurplus || !queue.empty(); });
        if (isShutDown || worker.isSurplus) {
            return;
        }
        SmartPointer<BackgroundTask> task = takeFirst();
        ++takenTasks;
        lock.unlock();

        callGuarded(*task, [&] { task->doBackgroundTask(manager, &worker.self); });
        // After waitForIdle() only tasks that await the main thread may be alive, so drop the reference before the
        // manager becomes idle. Drop it outside the lock, because the task's destructor is the task's code.
        if (!task->wantsMainThreadTask()) {
            task.reset();
        }

        lock.lock();
        if (task) {
            awaitingMainThread.push_back(std::move(task));
        }
        --takenTasks;
        if (isIdle()) {
            becameIdle.notify_all();
        }
    }
}

/// The caller holds `controlMutex` but not `mutex`.
void TaskManager::State::joinAll(Workers& leaving) {
    for (const std::unique_ptr<Worker>& worker : leaving) {
        if (worker->thread.get_id() == std::this_thread::get_id()) {
            // A task has called exit(), and this exit handler runs on its thread, which cannot join itself.
            worker->thread.detach();
        } else {
            worker->thread.join();
        }
    }
}

TaskManager::TaskManager(std::string name, std::size_t threadCount)
    : m_state(std::make_unique<State>(*this, std::move(name), std::max<std::size_t>(threadCount, 1))) {}

TaskManager::~TaskManager() {
    shutdown();
}

void TaskManager::addBackgroundTask(SmartPointer<BackgroundTask> task, int priority) {
    if (!task) {
        return;
    }
    {
        const std::lock_guard lock(m_state->mutex);
        if (!m_state->isShutDown) {
            m_state->startMissingWorkers();
            reserveRoom(m_state->awaitingMainThread, m_state->unfinishedTasks() + 1);
            m_state->queue.push_back({std::move(task), priority, ++m_state->lastSequence});
            std::push_heap(m_state->queue.begin(), m_state->queue.end(), runsAfter);
            m_state->workAvailable.notify_one();
            return;
        }
    }
    callGuarded(*task, [&] { task->cancel(*this); });
}

void TaskManager::setThreadCount(std::size_t count) {
    const std::lock_guard control(m_state->controlMutex);
    State::Workers surplus;
    {
        const std::lock_guard lock(m_state->mutex);
        surplus.reserve(m_state->workers.size());
        m_state->threadCount = std::max<std::size_t>(count, 1);
        if (m_state->workers.empty()) {
            return;
        }
        while (m_state->workers.size() > m_state->threadCount) {
            m_state->workers.back()->isSurplus = true;
            surplus.push_back(std::move(m_state->workers.back()));
            m_state->workers.pop_back();
        }
        m_state->startMissingWorkers();
    }
    m_state->workAvailable.notify_all();
    m_state->joinAll(surplus);
}

std::size_t TaskManager::threadCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->threadCount;
}

std::size_t TaskManager::tickMainThread() {
    std::vector<SmartPointer<BackgroundTask>> tasks;
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->awaitingMainThread.empty()) {
            return 0;
        }
        tasks.reserve(m_state->unfinishedTasks());
        tasks.swap(m_state->awaitingMainThread);
    }
    for (SmartPointer<BackgroundTask>& task : tasks) {
        callGuarded(*task, [&] { task->doMainThreadTask(*this); });
        task.reset();
    }
    return tasks.size();
}

bool TaskManager::waitForIdle(std::chrono::milliseconds timeout) {
    // A cap that keeps the sum of the clock and the timeout from overflowing.
    constexpr std::chrono::milliseconds FOREVER = std::chrono::hours(24 * 365);
    std::unique_lock lock(m_state->mutex);
    return m_state->becameIdle.wait_for(lock, std::min(timeout, FOREVER), [this] { return m_state->isIdle(); });
}

std::size_t TaskManager::unfinishedTasks() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->unfinishedTasks();
}

void TaskManager::shutdown() {
    const std::lock_guard control(m_state->controlMutex);
    std::vector<QueuedTask> cancelled;
    State::Workers leaving;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->isShutDown = true;
        cancelled.swap(m_state->queue);
        m_state->takenTasks += cancelled.size();
        leaving.swap(m_state->workers);
    }
    m_state->workAvailable.notify_all();

    std::sort(cancelled.begin(), cancelled.end(), [](const auto& a, const auto& b) { return runsAfter(b, a); });
    for (QueuedTask& queued : cancelled) {
        callGuarded(*queued.task, [&] { queued.task->cancel(*this); });
        queued.task.reset();
    }
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->takenTasks -= cancelled.size();
        if (m_state->isIdle()) {
            m_state->becameIdle.notify_all();
        }
    }
    m_state->joinAll(leaving);
}

} // namespace Kiln
