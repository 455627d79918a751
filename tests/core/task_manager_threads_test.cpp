#include "task_doubles.h"

#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <pthread.h>

namespace Kiln::Tests {
namespace {

using testing::Each;

/// True when the manager runs that many tasks at once.
bool canRunAtOnce(TaskManager& manager, std::ptrdiff_t count) {
    TaskCounts counts;
    std::latch allRunning(count);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        manager.addBackgroundTask(makeSmart<FunctionTask>(counts, [&](TaskManager&) { allRunning.arrive_and_wait(); }),
                                  0);
    }
    return manager.waitForIdle(LONG_TIME);
}

/// Notes on which worker it runs.
class IndexTask : public BackgroundTask {
public:
    explicit IndexTask(Record<std::size_t>& indices) : BackgroundTask("IndexTask"), m_indices(indices) {}
    void doBackgroundTask(TaskManager&) override {}
    void doBackgroundTask(TaskManager&, BackgroundTaskThread* thread) override { m_indices.add(thread->index()); }

private:
    Record<std::size_t>& m_indices;
};

std::vector<std::size_t> indicesOfWorkers(TaskManager& manager, int tasks) {
    Record<std::size_t> indices;
    for (int i = 0; i < tasks; ++i) {
        manager.addBackgroundTask(makeSmart<IndexTask>(indices), 0);
    }
    EXPECT_TRUE(manager.waitForIdle(LONG_TIME));
    return indices.values();
}

std::string nameOfWorker(const std::string& managerName) {
    TaskCounts counts;
    std::array<char, 64> name{};
    TaskManager manager(managerName, 1);
    manager.addBackgroundTask(
        makeSmart<FunctionTask>(counts,
                                [&](TaskManager&) { pthread_getname_np(pthread_self(), name.data(), name.size()); }),
        0);
    EXPECT_TRUE(manager.waitForIdle(LONG_TIME));
    return name.data();
}

TEST(TaskManagerThreads, threadCount_isTheOneGivenAtConstruction) {
    EXPECT_EQ(TaskManager("Test", 3).threadCount(), 3U);
}

TEST(TaskManagerThreads, zeroThreads_meansOne) {
    TaskManager manager("Test", 0);

    EXPECT_EQ(manager.threadCount(), 1U);
    EXPECT_TRUE(canRunAtOnce(manager, 1));
    manager.setThreadCount(0);
    EXPECT_EQ(manager.threadCount(), 1U);
    EXPECT_TRUE(canRunAtOnce(manager, 1));
}

TEST(TaskManagerThreads, severalThreads_runTasksAtTheSameTime) {
    TaskManager manager("Test", 3);

    EXPECT_TRUE(canRunAtOnce(manager, 3));
}

TEST(TaskManagerThreads, growthBeforeTheFirstTask_takesEffect) {
    TaskManager manager("Test", 1);
    manager.setThreadCount(4);

    EXPECT_EQ(manager.threadCount(), 4U);
    EXPECT_TRUE(canRunAtOnce(manager, 4));
}

TEST(TaskManagerThreads, growthAtRunTime_takesEffect) {
    TaskManager manager("Test", 1);
    ASSERT_TRUE(canRunAtOnce(manager, 1));

    manager.setThreadCount(3);

    EXPECT_TRUE(canRunAtOnce(manager, 3));
}

TEST(TaskManagerThreads, growth_runsQueuedTasksBesideALongOne) {
    TaskCounts counts;
    std::latch ran(1);
    TaskManager manager("Test", 1);
    Gate gate;
    gate.occupyWorker(manager, counts);
    manager.addBackgroundTask(makeSmart<FunctionTask>(counts, [&](TaskManager&) { ran.count_down(); }), 0);

    manager.setThreadCount(2);

    ran.wait();
    EXPECT_FALSE(manager.waitForIdle(std::chrono::milliseconds(0))) << "the first task still runs";
}

TEST(TaskManagerThreads, shrinkageAtRunTime_leavesTheFirstWorkers) {
    TaskManager manager("Test", 4);
    ASSERT_TRUE(canRunAtOnce(manager, 4));

    manager.setThreadCount(1);

    EXPECT_EQ(manager.threadCount(), 1U);
    EXPECT_THAT(indicesOfWorkers(manager, 40), Each(0U));
}

TEST(TaskManagerThreads, shrinkage_waitsForTheTasksOfSurplusWorkers) {
    TaskCounts counts;
    TaskManager manager("Test", 2);
    Gate gate;
    gate.occupyWorker(manager, counts);
    gate.occupyWorker(manager, counts);
    std::atomic<bool> hasShrunk = false;
    std::thread shrinker([&] {
        manager.setThreadCount(1);
        hasShrunk = true;
    });

    // Long enough for a call that does not wait to be noticed.
    EXPECT_FALSE(TestSupport::waitFor([&] { return hasShrunk.load(); }, std::chrono::milliseconds(50)));
    gate.open();
    shrinker.join();

    EXPECT_EQ(counts.cancelled, 0);
    EXPECT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, 2);
}

TEST(TaskManagerThreads, growthAfterShrinkage_takesEffect) {
    TaskManager manager("Test", 3);
    ASSERT_TRUE(canRunAtOnce(manager, 3));

    manager.setThreadCount(1);
    manager.setThreadCount(3);

    EXPECT_TRUE(canRunAtOnce(manager, 3));
}

TEST(TaskManagerThreads, countChangedDuringSubmission_losesNoTask) {
    constexpr int TASKS = 2000;
    TaskCounts counts;
    TaskManager manager("Test", 1);
    std::thread submitter([&] {
        for (int i = 0; i < TASKS; ++i) {
            manager.addBackgroundTask(makeSmart<FunctionTask>(counts), 0);
        }
    });
    for (std::size_t round = 0; round < 50; ++round) {
        manager.setThreadCount(1 + round % 4);
    }
    submitter.join();

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, TASKS);
}

TEST(TaskManagerThreads, setThreadCountAfterShutdown_startsNothing) {
    TaskManager manager("Test", 1);
    ASSERT_TRUE(canRunAtOnce(manager, 1));
    manager.shutdown();

    manager.setThreadCount(4);

    TaskCounts counts;
    manager.addBackgroundTask(makeSmart<FunctionTask>(counts), 0);
    EXPECT_EQ(counts.cancelled, 1);
    EXPECT_EQ(counts.ran, 0);
}

TEST(TaskManagerThreads, threadName_isTheManagersNameAndTheIndex) {
    EXPECT_EQ(nameOfWorker("Loader"), "Loader-0");
}

TEST(TaskManagerThreads, threadNameOfALongManagerName_keepsTheIndex) {
    EXPECT_EQ(nameOfWorker("A name of more than fifteen characters"), "A name of mor-0");
}

TEST(TaskManagerThreads, threadNameWithoutAManagerName_isTheIndex) {
    EXPECT_EQ(nameOfWorker(""), "-0");
}

} // namespace
} // namespace Kiln::Tests
