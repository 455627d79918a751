#include "task_doubles.h"

#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;

/// Overrides only what a task must.
class MinimalTask : public BackgroundTask {
public:
    MinimalTask() : BackgroundTask("MinimalTask") {}

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { ++runs; }

    int runs = 0;
};

class BackgroundTaskTest : public testing::Test {
protected:
    TaskCounts counts;
    TaskManager manager{"Test", 1};
};

TEST_F(BackgroundTaskTest, name_isTheOneGivenAtConstruction) {
    EXPECT_STREQ(makeSmart<MinimalTask>()->name(), "MinimalTask");
}

TEST_F(BackgroundTaskTest, formWithAThread_runsTheOneArgumentForm) {
    const auto task = makeSmart<MinimalTask>();
    BackgroundTaskThread thread(0);

    task->doBackgroundTask(manager, &thread);

    EXPECT_EQ(task->runs, 1);
}

TEST_F(BackgroundTaskTest, baseOperations_leaveTheTaskAlone) {
    const auto task = makeSmart<MinimalTask>();

    task->doMainThreadTask(manager);
    task->stop();
    task->cancel(manager);

    EXPECT_EQ(task->runs, 0);
    EXPECT_EQ(task->refCount(), 1U);
}

TEST_F(BackgroundTaskTest, formWithAThread_isWhatTheWorkerCalls) {
    class ThreadTask : public BackgroundTask {
    public:
        explicit ThreadTask(Record<std::size_t>& indices) : BackgroundTask("ThreadTask"), m_indices(indices) {}
        void doBackgroundTask(TaskManager&) override { m_indices.add(999); }
        void doBackgroundTask(TaskManager&, BackgroundTaskThread* thread) override { m_indices.add(thread->index()); }

    private:
        Record<std::size_t>& m_indices;
    };
    Record<std::size_t> indices;

    manager.addBackgroundTask(makeSmart<ThreadTask>(indices), 0);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_THAT(indices.values(), ElementsAre(0U));
}

TEST_F(BackgroundTaskTest, current_isTheWorkerThatRunsTheTask) {
    class CurrentTask : public BackgroundTask {
    public:
        explicit CurrentTask(Record<bool>& matches) : BackgroundTask("CurrentTask"), m_matches(matches) {}
        void doBackgroundTask(TaskManager&) override {}
        void doBackgroundTask(TaskManager&, BackgroundTaskThread* thread) override {
            m_matches.add(BackgroundTaskThread::current() == thread);
        }

    private:
        Record<bool>& m_matches;
    };
    Record<bool> matches;

    manager.addBackgroundTask(makeSmart<CurrentTask>(matches), 0);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_THAT(matches.values(), ElementsAre(true));
    EXPECT_EQ(BackgroundTaskThread::current(), nullptr);
}

TEST_F(BackgroundTaskTest, withoutARequest_mainThreadPartIsNotRun) {
    manager.addBackgroundTask(makeSmart<FunctionTask>(counts), 0);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 0U);
    EXPECT_EQ(counts.ranOnMainThread, 0);
}

TEST_F(BackgroundTaskTest, requestBeforeSubmission_runsTheMainThreadPartOnTheTickingThread) {
    std::thread::id workThread;
    std::thread::id mainThreadPart;
    auto task = makeSmart<FunctionTask>(counts, [&](TaskManager&) { workThread = std::this_thread::get_id(); });
    task->requestMainThreadTask();
    task->onMainThread = [&](TaskManager&) { mainThreadPart = std::this_thread::get_id(); };
    manager.addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 1U);

    EXPECT_EQ(mainThreadPart, std::this_thread::get_id());
    EXPECT_NE(workThread, std::this_thread::get_id());
}

TEST_F(BackgroundTaskTest, requestWhileRunning_isHonoured) {
    FunctionTask* running = nullptr;
    auto task = makeSmart<FunctionTask>(counts, [&](TaskManager&) { running->requestMainThreadTask(); });
    running = task.get();
    manager.addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 1U);
    EXPECT_EQ(counts.ranOnMainThread, 1);
}

TEST_F(BackgroundTaskTest, mainThreadParts_runOnceInTheOrderOfCompletion) {
    std::vector<int> order;
    for (int i = 0; i < 3; ++i) {
        auto task = makeSmart<FunctionTask>(counts);
        task->requestMainThreadTask();
        task->onMainThread = [&order, i](TaskManager&) { order.push_back(i); };
        manager.addBackgroundTask(std::move(task), 0);
    }
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 3U);
    EXPECT_EQ(manager.tickMainThread(), 0U);

    EXPECT_THAT(order, ElementsAre(0, 1, 2));
}

TEST_F(BackgroundTaskTest, taskAwaitingTheMainThread_isKeptUntilTheTick) {
    auto task = makeSmart<FunctionTask>(counts);
    task->requestMainThreadTask();
    manager.addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.destroyed, 0);

    manager.tickMainThread();

    EXPECT_EQ(counts.destroyed, 1);
}

TEST_F(BackgroundTaskTest, taskNotRunYet_isNotTicked) {
    Gate gate;
    auto task = makeSmart<FunctionTask>(counts, [&, waiter = gate.waiter()](TaskManager&) { waiter.wait(); });
    task->requestMainThreadTask();
    manager.addBackgroundTask(std::move(task), 0);

    EXPECT_EQ(manager.tickMainThread(), 0U);
    EXPECT_EQ(counts.ranOnMainThread, 0);

    gate.open();
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
}

TEST_F(BackgroundTaskTest, exceptionFromTheMainThreadPart_isLoggedAndTheNextPartRuns) {
    const TestSupport::LogCapture log;
    for (int i = 0; i < 2; ++i) {
        auto task = makeSmart<FunctionTask>(counts);
        task->requestMainThreadTask();
        task->onMainThread = [](TaskManager&) { throw std::runtime_error("main part"); };
        manager.addBackgroundTask(std::move(task), 0);
    }
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 2U);

    EXPECT_THAT(log.errors(), ElementsAre("Background task 'FunctionTask' failed: main part",
                                          "Background task 'FunctionTask' failed: main part"));
}

TEST_F(BackgroundTaskTest, mainThreadPart_maySubmitAndTick) {
    auto task = makeSmart<FunctionTask>(counts);
    task->requestMainThreadTask();
    std::size_t innerTick = 99;
    task->onMainThread = [&](TaskManager& taskManager) {
        taskManager.addBackgroundTask(makeSmart<FunctionTask>(counts), 0);
        innerTick = taskManager.tickMainThread();
    };
    manager.addBackgroundTask(std::move(task), 0);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(manager.tickMainThread(), 1U);

    EXPECT_EQ(innerTick, 0U);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, 2);
}

} // namespace
} // namespace Kiln::Tests
