#include "task_doubles.h"

#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;

class TaskManagerTest : public testing::Test {
protected:
    void add(FunctionTask::Function function, int priority = 0) {
        manager.addBackgroundTask(makeSmart<FunctionTask>(counts, std::move(function)), priority);
    }

    TaskCounts counts;
    Record<int> order;
    TaskManager manager{"Test", 1};
    Gate gate; // last: opens before the manager waits for its worker
};

TEST_F(TaskManagerTest, task_runsOnceOnAnotherThread) {
    Record<std::thread::id> threads;
    add([&](TaskManager&) { threads.add(std::this_thread::get_id()); });

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    ASSERT_EQ(threads.values().size(), 1U);
    EXPECT_NE(threads.values()[0], std::this_thread::get_id());
}

TEST_F(TaskManagerTest, task_isGivenItsManager) {
    std::atomic<TaskManager*> given = nullptr;
    add([&](TaskManager& taskManager) { given = &taskManager; });

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(given, &manager);
}

TEST_F(TaskManagerTest, nullTask_isIgnored) {
    manager.addBackgroundTask(nullptr, 0);

    EXPECT_EQ(manager.unfinishedTasks(), 0U);
}

TEST_F(TaskManagerTest, samePriority_runsInOrderOfSubmission) {
    gate.occupyWorker(manager, counts);
    std::vector<int> expected(100);
    std::iota(expected.begin(), expected.end(), 0);
    for (const int i : expected) {
        add([this, i](TaskManager&) { order.add(i); });
    }
    gate.open();

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(order.values(), expected);
}

TEST_F(TaskManagerTest, differentPriorities_runHighestFirst) {
    gate.occupyWorker(manager, counts);
    for (const int priority : {0, 96, -5, 7, 96, 0}) {
        add([this, priority](TaskManager&) { order.add(priority); }, priority);
    }
    gate.open();

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_THAT(order.values(), ElementsAre(96, 96, 7, 0, 0, -5));
}

TEST_F(TaskManagerTest, extremePriorities_areOrdered) {
    gate.occupyWorker(manager, counts);
    for (const int priority : {0, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        add([this, priority](TaskManager&) { order.add(priority); }, priority);
    }
    gate.open();

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_THAT(order.values(), ElementsAre(std::numeric_limits<int>::max(), 0, std::numeric_limits<int>::min()));
}

TEST_F(TaskManagerTest, taskAddedByATask_runs) {
    add([this](TaskManager& taskManager) {
        order.add(1);
        taskManager.addBackgroundTask(makeSmart<FunctionTask>(counts, [this](TaskManager&) { order.add(2); }), 0);
    });

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_THAT(order.values(), ElementsAre(1, 2));
}

TEST_F(TaskManagerTest, oneTaskAddedTwice_runsTwice) {
    const auto task = makeSmart<FunctionTask>(counts);
    manager.addBackgroundTask(task, 0);
    manager.addBackgroundTask(task, 0);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, 2);
}

TEST_F(TaskManagerTest, tasksAddedByManyThreads_eachRunOnce) {
    constexpr int THREADS = 4;
    constexpr int TASKS = 500;
    manager.setThreadCount(3);
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([this] {
            for (int task = 0; task < TASKS; ++task) {
                add({}, task % 5);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, THREADS * TASKS);
    EXPECT_EQ(counts.destroyed, THREADS * TASKS);
}

TEST_F(TaskManagerTest, unfinishedTasks_countsQueuedAndRunning) {
    EXPECT_EQ(manager.unfinishedTasks(), 0U);
    gate.occupyWorker(manager, counts);
    EXPECT_EQ(manager.unfinishedTasks(), 1U);
    add({});
    add({});
    EXPECT_EQ(manager.unfinishedTasks(), 3U);

    gate.open();
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(manager.unfinishedTasks(), 0U);
}

TEST_F(TaskManagerTest, waitForIdleWithoutTasks_isTrueAtOnce) {
    EXPECT_TRUE(manager.waitForIdle(std::chrono::milliseconds(0)));
}

TEST_F(TaskManagerTest, waitForIdleDuringATask_isFalseWhenTheTimeRunsOut) {
    gate.occupyWorker(manager, counts);

    EXPECT_FALSE(manager.waitForIdle(std::chrono::milliseconds(1)));
}

TEST_F(TaskManagerTest, waitForIdleWithTheLongestTime_waits) {
    gate.occupyWorker(manager, counts);
    std::thread opener([this] { gate.open(); });

    EXPECT_TRUE(manager.waitForIdle(std::chrono::milliseconds::max()));

    EXPECT_EQ(counts.destroyed, 1);
    opener.join();
}

TEST_F(TaskManagerTest, idleManager_holdsNoReferenceToTasks) {
    for (int round = 1; round <= 300; ++round) {
        add({});
        ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
        ASSERT_EQ(counts.destroyed, round);
    }
}

TEST_F(TaskManagerTest, taskHeldByTheCaller_survives) {
    const auto task = makeSmart<FunctionTask>(counts);
    manager.addBackgroundTask(task, 0);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(task->refCount(), 1U);
}

TEST_F(TaskManagerTest, destructorOfATask_mayUseTheManager) {
    class ChainingTask : public BackgroundTask {
    public:
        ChainingTask(TaskManager& manager, TaskCounts& counts)
            : BackgroundTask("ChainingTask"), m_manager(manager), m_counts(counts) {}
        ~ChainingTask() override { m_manager.addBackgroundTask(makeSmart<FunctionTask>(m_counts), 0); }
        void doBackgroundTask(TaskManager&) override {}

    private:
        TaskManager& m_manager;
        TaskCounts& m_counts;
    };
    manager.addBackgroundTask(makeSmart<ChainingTask>(manager, counts), 0);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, 1);
}

TEST_F(TaskManagerTest, exceptionOfATask_isLoggedAndTheWorkerLivesOn) {
    const TestSupport::LogCapture log;
    add([](TaskManager&) { throw std::runtime_error("no such file"); });
    add({});

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_THAT(log.messages(),
                ElementsAre(TestSupport::LogCapture::Message{
                    5, "", "Background task 'FunctionTask' failed: no such file", "core/task_manager"}));
    EXPECT_EQ(counts.ran, 2);
    EXPECT_EQ(counts.destroyed, 2);
}

TEST_F(TaskManagerTest, exceptionOfAnotherType_isLoggedToo) {
    const TestSupport::LogCapture log;
    add([](TaskManager&) { throw 42; });

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_THAT(log.errors(), ElementsAre("Background task 'FunctionTask' failed: unknown exception"));
}

} // namespace
} // namespace Kiln::Tests
