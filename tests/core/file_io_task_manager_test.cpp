#include "task_doubles.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include <pthread.h>

namespace Kiln::Tests {
namespace {

// Shutdown of the process's manager cannot be undone, so these tests leave it running; its end is covered by exit_test.

TEST(FileIOTaskManager, instance_isAlwaysTheSame) {
    EXPECT_EQ(&FileIOTaskManager::instance(), &FileIOTaskManager::instance());
}

TEST(FileIOTaskManager, byDefault_hasTwoWorkersThatRunAtTheSameTime) {
    TaskManager& manager = FileIOTaskManager::instance();
    TaskCounts counts;
    std::latch bothRunning(2);
    for (int i = 0; i < 2; ++i) {
        manager.addBackgroundTask(makeSmart<FunctionTask>(counts, [&](TaskManager&) { bothRunning.arrive_and_wait(); }),
                                  96);
    }

    EXPECT_EQ(manager.threadCount(), 2U);
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(counts.ran, 2);
    EXPECT_EQ(counts.destroyed, 2);
}

TEST(FileIOTaskManager, workers_carryTheManagersName) {
    TaskManager& manager = FileIOTaskManager::instance();
    TaskCounts counts;
    std::array<char, 64> name{};
    manager.addBackgroundTask(
        makeSmart<FunctionTask>(counts,
                                [&](TaskManager&) { pthread_getname_np(pthread_self(), name.data(), name.size()); }),
        96);

    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    EXPECT_EQ(std::string(name.data()).substr(0, 13), "Kiln file IO-");
}

} // namespace
} // namespace Kiln::Tests
