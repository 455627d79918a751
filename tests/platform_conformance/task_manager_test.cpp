#include "platform_access.h"

#include <core/task_manager.h>

#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;

class FunctionTask final : public BackgroundTask {
public:
    explicit FunctionTask(std::function<void()> function)
        : BackgroundTask("ConformanceTask"), m_function(std::move(function)) {
        ++s_alive;
    }
    ~FunctionTask() override { --s_alive; }

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { m_function(); }

    static inline std::atomic<int> s_alive{0};

private:
    std::function<void()> m_function;
};

void submit(std::function<void()> function, int priority = 96) {
    FileIOTaskManager::instance().addBackgroundTask(makeSmart<FunctionTask>(std::move(function)), priority);
}

/// Keeps every worker busy until released one by one.
class BusyWorkers {
public:
    BusyWorkers() {
        for (std::size_t i = 0; i < workersCount(); ++i) {
            submit([this] { block(); });
        }
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_blockedCount == workersCount(); });
    }

    /// The workers refer to this until they are idle.
    ~BusyWorkers() {
        release(workersCount());
        EXPECT_TRUE(waitForTasks());
    }

    void release(std::size_t count) {
        const std::scoped_lock lock(m_mutex);
        m_permitsCount += count;
        m_changed.notify_all();
    }

private:
    void block() {
        std::unique_lock lock(m_mutex);
        ++m_blockedCount;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_permitsCount > 0; });
        --m_permitsCount;
    }

    std::mutex m_mutex; ///< Guards all members.
    std::condition_variable m_changed;
    std::size_t m_blockedCount = 0;
    std::size_t m_permitsCount = 0;
};

TEST(TaskManagerOfFiles, task_runsOnceAndOffTheMainThread) {
    constexpr std::size_t COUNT = 200;
    std::vector<std::atomic<int>> runs(COUNT);
    std::atomic<int> runsOnMainThread{0};
    const std::thread::id mainThread = std::this_thread::get_id();
    for (std::size_t i = 0; i < COUNT; ++i) {
        submit([&runs, &runsOnMainThread, mainThread, i] {
            ++runs[i];
            runsOnMainThread += std::this_thread::get_id() == mainThread ? 1 : 0;
        });
    }
    ASSERT_TRUE(waitForTasks());
    for (const std::atomic<int>& count : runs) {
        EXPECT_EQ(count, 1);
    }
    EXPECT_EQ(runsOnMainThread, 0);
}

TEST(TaskManagerOfFiles, task_isDroppedAfterItsRun) {
    submit([] {});
    ASSERT_TRUE(waitForTasks());
    EXPECT_EQ(FunctionTask::s_alive, 0);
}

TEST(TaskManagerOfFiles, waitingTasks_runByPriorityAndFirstComeFirstServed) {
    std::mutex mutex;
    std::vector<std::string> order;
    {
        BusyWorkers workers;
        for (const auto& [name, priority] :
             std::vector<std::pair<std::string, int>>{{"low", 10}, {"first", 96}, {"high", 200}, {"second", 96}}) {
            submit(
                [&mutex, &order, name = name] {
                    const std::scoped_lock lock(mutex);
                    order.push_back(name);
                },
                priority);
        }
        // One worker alone runs them, the others stay busy.
        workers.release(1);
        for (bool isDone = false; !isDone; std::this_thread::yield()) {
            const std::scoped_lock lock(mutex);
            isDone = order.size() == 4;
        }
    }
    EXPECT_THAT(order, testing::ElementsAre("high", "first", "second", "low"));
}

TEST(TaskManagerOfFiles, taskSubmittedByATask_runs) {
    std::atomic<bool> hasRun{false};
    submit([&hasRun] { submit([&hasRun] { hasRun = true; }); });
    ASSERT_TRUE(waitForTasks());
    EXPECT_TRUE(hasRun);
}

TEST(TaskManagerOfFiles, exceptionOfATask_endsThatTaskOnly) {
    const LogCapture log;
    std::atomic<bool> hasRun{false};
    submit([] { throw std::runtime_error("broken"); });
    ASSERT_TRUE(waitForTasks());
    submit([&hasRun] { hasRun = true; });
    ASSERT_TRUE(waitForTasks());
    EXPECT_TRUE(hasRun);
}

TEST(TaskManagerOfFiles, memoryWrittenBeforeSubmission_isSeenByTheTask) {
    for (int round = 0; round < 100; ++round) {
        int value = round; // Deliberately not atomic.
        int seen = -1;
        submit([&value, &seen] { seen = value; });
        ASSERT_TRUE(waitForTasks());
        ASSERT_EQ(seen, round);
    }
}

TEST(TaskManagerOfFiles, current_isNullExceptOnAWorker) {
    EXPECT_EQ(BackgroundTaskThread::current(), nullptr);
    std::atomic<bool> isWorker{false};
    submit([&isWorker] { isWorker = BackgroundTaskThread::current() != nullptr; });
    ASSERT_TRUE(waitForTasks());
    EXPECT_TRUE(isWorker);
}

TEST(TaskManagerOfFiles, isStopping_beforeTheShutdown_isFalse) {
    std::atomic<bool> isStopping{true};
    submit([&isStopping] { isStopping = BackgroundTaskThread::current()->isStopping(); });
    ASSERT_TRUE(waitForTasks());
    EXPECT_FALSE(isStopping);
}

} // namespace
} // namespace Conformance
