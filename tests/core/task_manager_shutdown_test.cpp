#include "task_doubles.h"

#include <support/log_capture.h>
#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;

class TaskManagerShutdown : public testing::Test {
protected:
    SmartPointer<FunctionTask> makeTask(FunctionTask::Function function = {}) {
        return makeSmart<FunctionTask>(counts, std::move(function));
    }

    /// Starts a shutdown that cannot finish before the gate opens, and returns once queued tasks have been cancelled.
    std::thread beginShutdown() {
        auto cancelled = std::make_shared<std::latch>(1);
        auto last = makeTask();
        last->onCancel = [cancelled](TaskManager&) { cancelled->count_down(); };
        manager->addBackgroundTask(std::move(last), std::numeric_limits<int>::min());
        std::thread thread([this] { manager->shutdown(); });
        cancelled->wait();
        return thread;
    }

    TaskCounts counts;
    std::unique_ptr<TaskManager> manager = std::make_unique<TaskManager>("Test", 1);
    Gate gate; // last: opens before the manager waits for its worker
};

TEST_F(TaskManagerShutdown, withoutTasks_returns) {
    manager->shutdown();

    EXPECT_TRUE(manager->waitForIdle(std::chrono::milliseconds(0)));
}

TEST_F(TaskManagerShutdown, runningTask_canSeeThatItHasToEnd) {
    bool wasStopping = true;
    std::atomic<bool> isRunning = false;
    manager->addBackgroundTask(makeTask([&](TaskManager&) {
                                   const BackgroundTaskThread& worker = *BackgroundTaskThread::current();
                                   wasStopping = worker.isStopping();
                                   isRunning = true;
                                   while (!worker.isStopping()) {
                                       std::this_thread::yield();
                                   }
                               }),
                               0);
    EXPECT_TRUE(TestSupport::waitFor([&isRunning] { return isRunning.load(); }));
    manager->shutdown();

    EXPECT_FALSE(wasStopping);
    EXPECT_EQ(counts.ran, 1);
}

TEST_F(TaskManagerShutdown, queuedTasks_areCancelledAndDropped) {
    gate.occupyWorker(*manager, counts);
    manager->addBackgroundTask(makeTask(), 0);
    manager->addBackgroundTask(makeTask(), 1);
    std::thread shutdown = beginShutdown();
    gate.open();
    shutdown.join();

    EXPECT_EQ(counts.ran, 1);
    EXPECT_EQ(counts.cancelled, 3); // including the task of beginShutdown
    EXPECT_EQ(counts.destroyed, 4);
    EXPECT_EQ(manager->unfinishedTasks(), 0U);
}

TEST_F(TaskManagerShutdown, queuedTasks_areCancelledInTheOrderInWhichTheyWouldRun) {
    Record<int> order;
    gate.occupyWorker(*manager, counts);
    for (const int priority : {3, 96, 3, 7}) {
        auto task = makeTask();
        task->onCancel = [&order, priority](TaskManager&) { order.add(priority); };
        manager->addBackgroundTask(std::move(task), priority);
    }
    std::thread shutdown = beginShutdown();
    gate.open();
    shutdown.join();

    EXPECT_THAT(order.values(), ElementsAre(96, 7, 3, 3));
}

TEST_F(TaskManagerShutdown, runningTask_isNeitherStoppedNorCancelledAndFinishes) {
    std::atomic<bool> isFinished = false;
    std::latch entered(1);
    manager->addBackgroundTask(makeTask([&, waiter = gate.waiter()](TaskManager&) {
                                   entered.count_down();
                                   waiter.wait();
                                   isFinished = true;
                               }),
                               0);
    entered.wait();
    std::thread shutdown = beginShutdown();
    EXPECT_FALSE(isFinished);
    gate.open();
    shutdown.join();

    EXPECT_TRUE(isFinished);
    EXPECT_EQ(counts.stopped, 0);
    EXPECT_EQ(counts.cancelled, 1); // the task of beginShutdown
}

TEST_F(TaskManagerShutdown, secondCall_doesNothing) {
    manager->addBackgroundTask(makeTask(), 0);
    ASSERT_TRUE(manager->waitForIdle(LONG_TIME));

    manager->shutdown();
    manager->shutdown();

    EXPECT_EQ(counts.ran, 1);
    EXPECT_EQ(counts.cancelled, 0);
}

TEST_F(TaskManagerShutdown, secondCallDuringTheFirst_waitsForRunningTasksToo) {
    std::atomic<bool> hasReturned = false;
    gate.occupyWorker(*manager, counts);
    std::thread first = beginShutdown();
    std::thread second([&] {
        manager->shutdown();
        hasReturned = true;
    });

    // Long enough for a call that does not wait to be noticed.
    EXPECT_FALSE(TestSupport::waitFor([&] { return hasReturned.load(); }, std::chrono::milliseconds(50)));
    gate.open();
    first.join();
    second.join();
    EXPECT_EQ(counts.destroyed, 2);
}

TEST_F(TaskManagerShutdown, taskAddedAfterwards_isCancelledAtOnceOnTheAddingThread) {
    manager->shutdown();
    std::thread::id cancelThread;
    auto task = makeTask();
    task->onCancel = [&](TaskManager&) { cancelThread = std::this_thread::get_id(); };

    manager->addBackgroundTask(std::move(task), 96);

    EXPECT_EQ(counts.cancelled, 1);
    EXPECT_EQ(counts.ran, 0);
    EXPECT_EQ(counts.destroyed, 1);
    EXPECT_EQ(cancelThread, std::this_thread::get_id());
}

TEST_F(TaskManagerShutdown, taskAddedByARunningTaskDuringShutdown_isCancelled) {
    std::latch entered(1);
    manager->addBackgroundTask(makeTask([&, waiter = gate.waiter()](TaskManager& taskManager) {
                                   entered.count_down();
                                   waiter.wait();
                                   taskManager.addBackgroundTask(makeTask(), 0);
                               }),
                               0);
    entered.wait();
    std::thread shutdown = beginShutdown();
    gate.open();
    shutdown.join();

    EXPECT_EQ(counts.ran, 1);
    EXPECT_EQ(counts.cancelled, 2); // including the task of beginShutdown
    EXPECT_EQ(counts.destroyed, 3);
}

TEST_F(TaskManagerShutdown, taskAddedByCancel_isCancelledToo) {
    gate.occupyWorker(*manager, counts);
    auto task = makeTask();
    task->onCancel = [this](TaskManager& taskManager) { taskManager.addBackgroundTask(makeTask(), 0); };
    manager->addBackgroundTask(std::move(task), 0);
    std::thread shutdown = beginShutdown();
    gate.open();
    shutdown.join();

    EXPECT_EQ(counts.cancelled, 3); // including the task of beginShutdown
    EXPECT_EQ(counts.destroyed, 4);
}

TEST_F(TaskManagerShutdown, exceptionFromCancel_isLoggedAndTheNextTaskIsCancelled) {
    const TestSupport::LogCapture log;
    gate.occupyWorker(*manager, counts);
    auto task = makeTask();
    task->onCancel = [](TaskManager&) { throw std::runtime_error("cannot cancel"); };
    manager->addBackgroundTask(std::move(task), 1);
    std::thread shutdown = beginShutdown();
    gate.open();
    shutdown.join();

    EXPECT_THAT(log.errors(), ElementsAre("Background task 'FunctionTask' failed: cannot cancel"));
    EXPECT_EQ(counts.cancelled, 2);
}

TEST_F(TaskManagerShutdown, tasksAddedByOtherThreadsMeanwhile_areEachRunOrCancelled) {
    constexpr int THREADS = 3;
    constexpr int TASKS = 500;
    manager->setThreadCount(2);
    std::latch halfWay(THREADS);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&] {
            for (int task = 0; task < TASKS; ++task) {
                if (task == TASKS / 2) {
                    halfWay.count_down();
                }
                manager->addBackgroundTask(makeTask(), task);
            }
        });
    }
    halfWay.wait();
    manager->shutdown();
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(counts.ran + counts.cancelled, THREADS * TASKS);
    EXPECT_EQ(counts.destroyed, THREADS * TASKS);
}

TEST_F(TaskManagerShutdown, tickAfterwards_stillRunsMainThreadParts) {
    auto task = makeTask();
    task->requestMainThreadTask();
    manager->addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager->waitForIdle(LONG_TIME));

    manager->shutdown();

    EXPECT_EQ(manager->tickMainThread(), 1U);
    EXPECT_EQ(counts.ranOnMainThread, 1);
}

TEST_F(TaskManagerShutdown, destructor_finishesTheRunningTaskAndCancelsTheQueue) {
    std::latch entered(1);
    std::atomic<bool> isFinished = false;
    manager->addBackgroundTask(makeTask([&, waiter = gate.waiter()](TaskManager&) {
                                   entered.count_down();
                                   waiter.wait();
                                   isFinished = true;
                               }),
                               0);
    auto queued = makeTask();
    queued->onCancel = [this](TaskManager&) { gate.open(); };
    manager->addBackgroundTask(std::move(queued), 0);
    entered.wait();

    manager.reset();

    EXPECT_TRUE(isFinished);
    EXPECT_EQ(counts.cancelled, 1);
    EXPECT_EQ(counts.destroyed, 2);
}

TEST_F(TaskManagerShutdown, destructor_dropsTasksThatAwaitTheMainThread) {
    auto task = makeTask();
    task->requestMainThreadTask();
    manager->addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager->waitForIdle(LONG_TIME));

    manager.reset();

    EXPECT_EQ(counts.ranOnMainThread, 0);
    EXPECT_EQ(counts.destroyed, 1);
}

} // namespace
} // namespace Kiln::Tests
