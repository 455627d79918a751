// The log and the workers while no memory can be allocated.

#include "task_doubles.h"

#include <core/log.h>
#include <support/failing_allocation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using TestSupport::FailingAllocation;

/// What a call writes to stderr while no sink is installed.
template <class Call>
std::string standardErrorOf(Call call) {
    Log::instance().flush();
    testing::internal::CaptureStderr();
    call();
    Log::instance().flush();
    return testing::internal::GetCapturedStderr();
}

TEST(LogAllocation, messages_allocateNothing) {
    const std::string output = standardErrorOf([] {
        const FailingAllocation failing;
        for (int i = 0; i < 100; ++i) {
            DebugMessageHelper(0, LogSeverity::ERROR, "", "source").message("a text of more than %d bytes", 15);
        }
    });
    EXPECT_EQ(output, "[5] a text of more than 15 bytes\n[5] a text of more than 15 bytes (repeated 99 times)\n");
}

TEST(LogAllocation, longTextWithoutMemory_isCut) {
    const std::string text(2000, 'x');
    const std::string output = standardErrorOf([&] {
        const FailingAllocation failing;
        DebugMessageHelper(0, LogSeverity::ERROR, "", "").message("%s", text.c_str());
    });
    EXPECT_EQ(output, "[5] " + std::string(1023, 'x') + "\n");
}

class WorkerWithoutMemory : public testing::Test {
protected:
    void add(FunctionTask::Function function) {
        manager.addBackgroundTask(makeSmart<FunctionTask>(counts, std::move(function)), 0);
    }

    /// Makes allocations fail on the only worker, and ends that in a task behind the task that is tested.
    void runWithoutMemory(FunctionTask::Function function) {
        std::optional<FailingAllocation> failing;
        add([&](TaskManager&) { failing.emplace(); });
        add(std::move(function));
        add([&](TaskManager&) { failing.reset(); });
        ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
    }

    TaskCounts counts;
    TaskManager manager{"tasks", 1};
};

TEST_F(WorkerWithoutMemory, failedAllocationOfATask_isLoggedAndTheWorkerLivesOn) {
    const std::string output =
        standardErrorOf([&] { runWithoutMemory([](TaskManager&) { (void)std::make_unique<std::vector<int>>(100); }); });

    EXPECT_EQ(output, "[5] Background task 'FunctionTask' failed: std::bad_alloc\n");
    EXPECT_EQ(counts.ran, 3);
}

TEST_F(WorkerWithoutMemory, sinkThatAllocates_losesTheMessageAndTheWorkerLivesOn) {
    std::vector<std::string> texts;
    const ScopedLogSink sink([&](const LogMessage& message) { texts.emplace_back(message.text); });

    runWithoutMemory([](TaskManager&) { throw std::bad_alloc(); });
    add([](TaskManager&) { throw std::runtime_error("after"); });
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_THAT(texts, ElementsAre("Background task 'FunctionTask' failed: after"));
    EXPECT_EQ(counts.ran, 4);
}

TEST_F(WorkerWithoutMemory, throwingSink_doesNotEndTheWorker) {
    const ScopedLogSink sink([](const LogMessage&) { throw 42; });
    add([](TaskManager&) { throw std::runtime_error("failed"); });
    add({});
    ASSERT_TRUE(manager.waitForIdle(LONG_TIME));

    EXPECT_EQ(counts.ran, 2);
}

TEST_F(WorkerWithoutMemory, tasksForTheMainThread_areHandedOver) {
    struct MainThreadTask : FunctionTask {
        explicit MainThreadTask(TaskCounts& taskCounts)
            : FunctionTask(taskCounts, [this](TaskManager&) { requestMainThreadTask(); }) {}
    };
    std::optional<FailingAllocation> failing;
    for (int round = 0; round < 3; ++round) {
        add([&](TaskManager&) { failing.emplace(); });
        for (int i = 0; i < 10; ++i) {
            manager.addBackgroundTask(makeSmart<MainThreadTask>(counts), 0);
        }
        add([&](TaskManager&) { failing.reset(); });
        ASSERT_TRUE(manager.waitForIdle(LONG_TIME));
        EXPECT_EQ(manager.tickMainThread(), 10U);
    }
    EXPECT_EQ(counts.ranOnMainThread, 30);
}

} // namespace
} // namespace Kiln::Tests
