#include <core/task_manager.h>
#include <support/failing_allocation.h>
#include <support/log_capture.h>
#include <tessel_streaming/tracing/tracer.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::AllocationFault;
using TestSupport::LogCapture;

/// A TraceEvent that owns its texts.
struct RecordedEvent {
    TraceEvent::Kind kind;
    std::string name;
    std::string detail;
    std::uint64_t request;
    std::chrono::steady_clock::time_point time;
    std::chrono::nanoseconds duration;
    std::int64_t value;
    std::uint32_t thread;
};

/// Records events of any thread.
class Recorder {
public:
    [[nodiscard]] TraceHook hook() {
        return [this](const TraceEvent& event) {
            const std::lock_guard lock(m_mutex);
            m_events.push_back({event.kind, std::string(event.name), std::string(event.detail), event.request,
                                event.time, event.duration, event.value, event.thread});
        };
    }

    [[nodiscard]] std::vector<RecordedEvent> events() const {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const RecordedEvent& event : events()) {
            names.push_back(event.name);
        }
        return names;
    }

private:
    mutable std::mutex m_mutex; ///< Guards the events.
    std::vector<RecordedEvent> m_events;
};

class FunctionTask final : public BackgroundTask {
public:
    explicit FunctionTask(std::function<void()> function)
        : BackgroundTask("FunctionTask"), m_function(std::move(function)) {}

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { m_function(); }

private:
    std::function<void()> m_function;
};

TEST(Tracer, withoutHook_isOff) {
    Tracer tracer;
    EXPECT_FALSE(tracer.isOn());
}

TEST(Tracer, whileOff_allocatesNothing) {
    Tracer tracer;
    const std::string longDetail(1000, 'x');
    const AllocationFault fault(0, AllocationFault::Duration::ONCE);
    tracer.span("read", Tracer::Clock::now(), 1, longDetail);
    tracer.instant("cache hit", 1, longDetail);
    tracer.counter("queued files", 3);
    EXPECT_FALSE(fault.hasOccurred());
}

TEST(Tracer, whileOn_allocatesNothingItself) {
    Tracer tracer;
    int calls = 0;
    tracer.setHook([&calls](const TraceEvent& /*event*/) { ++calls; });
    const std::string longDetail(1000, 'x');
    const AllocationFault fault(0, AllocationFault::Duration::ONCE);
    tracer.span("read", Tracer::Clock::now(), 1, longDetail);
    tracer.instant("cache hit", 1, longDetail);
    tracer.counter("queued files", 3);
    EXPECT_FALSE(fault.hasOccurred());
    EXPECT_EQ(calls, 3);
}

TEST(Tracer, span_lastsFromItsStartUntilNow) {
    Tracer tracer;
    Recorder recorder;
    tracer.setHook(recorder.hook());
    const Tracer::Clock::time_point start = Tracer::Clock::now();

    tracer.span("read", start, 5, "props/lamp.prefab");

    const Tracer::Clock::time_point end = Tracer::Clock::now();
    ASSERT_EQ(recorder.events().size(), 1U);
    const RecordedEvent event = recorder.events().front();
    EXPECT_EQ(event.kind, TraceEvent::Kind::SPAN);
    EXPECT_EQ(event.name, "read");
    EXPECT_EQ(event.detail, "props/lamp.prefab");
    EXPECT_EQ(event.request, 5U);
    EXPECT_EQ(event.time, start);
    EXPECT_GE(event.duration.count(), 0);
    EXPECT_LE(event.time + event.duration, end);
}

TEST(Tracer, instant_isAtThisMoment) {
    Tracer tracer;
    Recorder recorder;
    tracer.setHook(recorder.hook());
    const Tracer::Clock::time_point before = Tracer::Clock::now();

    tracer.instant("cache hit", 2, "props/lamp.prefab");

    ASSERT_EQ(recorder.events().size(), 1U);
    const RecordedEvent event = recorder.events().front();
    EXPECT_EQ(event.kind, TraceEvent::Kind::INSTANT);
    EXPECT_EQ(event.name, "cache hit");
    EXPECT_EQ(event.detail, "props/lamp.prefab");
    EXPECT_EQ(event.request, 2U);
    EXPECT_GE(event.time, before);
    EXPECT_LE(event.time, Tracer::Clock::now());
}

TEST(Tracer, counter_hasItsValue) {
    Tracer tracer;
    Recorder recorder;
    tracer.setHook(recorder.hook());

    tracer.counter("queued files", -4);

    ASSERT_EQ(recorder.events().size(), 1U);
    const RecordedEvent event = recorder.events().front();
    EXPECT_EQ(event.kind, TraceEvent::Kind::COUNTER);
    EXPECT_EQ(event.name, "queued files");
    EXPECT_EQ(event.value, -4);
    EXPECT_EQ(event.request, 0U);
}

TEST(Tracer, events_nameTheThreadOfTheirCaller) {
    Tracer tracer;
    Recorder recorder;
    tracer.setHook(recorder.hook());
    TaskManager workers("tracing", 2);
    std::latch bothRun(2); // So that each worker runs one of the tasks.
    for (int i = 0; i < 2; ++i) {
        workers.addBackgroundTask(makeSmart<FunctionTask>([&] {
                                      bothRun.arrive_and_wait();
                                      tracer.instant("worker", 0, "");
                                  }),
                                  0);
    }
    ASSERT_TRUE(workers.waitForIdle(std::chrono::seconds(20)));
    tracer.instant("main", 0, "");

    std::vector<std::pair<std::string, std::uint32_t>> threads;
    for (const RecordedEvent& event : recorder.events()) {
        threads.emplace_back(event.name, event.thread);
    }
    EXPECT_THAT(threads,
                testing::UnorderedElementsAre(std::pair("worker", 1U), std::pair("worker", 2U), std::pair("main", 0U)));
}

TEST(Tracer, newHook_replacesThePreviousOne) {
    Tracer tracer;
    Recorder first;
    Recorder second;
    tracer.setHook(first.hook());
    tracer.instant("a", 0, "");
    tracer.setHook(second.hook());
    tracer.instant("b", 0, "");

    EXPECT_THAT(first.names(), ElementsAre("a"));
    EXPECT_THAT(second.names(), ElementsAre("b"));
}

TEST(Tracer, emptyHook_turnsTracingOff) {
    Tracer tracer;
    Recorder recorder;
    tracer.setHook(recorder.hook());
    tracer.setHook({});
    tracer.instant("a", 0, "");

    EXPECT_FALSE(tracer.isOn());
    EXPECT_THAT(recorder.names(), IsEmpty());
}

TEST(Tracer, replacedHook_isDestroyedBeforeSetHookReturns) {
    Tracer tracer;
    const auto alive = std::make_shared<int>();
    tracer.setHook([alive](const TraceEvent& /*event*/) {});
    tracer.setHook({});
    EXPECT_EQ(alive.use_count(), 1);
}

TEST(Tracer, setHook_waitsForTheRunningHook) {
    Tracer tracer;
    std::latch hookRuns(1);
    std::latch hookMayEnd(1);
    std::atomic<bool> hasEnded = false;
    tracer.setHook([&](const TraceEvent& /*event*/) {
        hookRuns.count_down();
        hookMayEnd.wait();
        hasEnded = true;
    });
    std::thread worker([&tracer] { tracer.instant("a", 0, ""); });
    hookRuns.wait();
    std::thread releaser([&hookMayEnd] { hookMayEnd.count_down(); });

    tracer.setHook({});

    EXPECT_TRUE(hasEnded);
    worker.join();
    releaser.join();
}

TEST(Tracer, hookSetAndRemovedWhileThreadsTrace_neverRunsAfterItsRemoval) {
    constexpr int ROUNDS = 100;
    Tracer tracer;
    std::atomic<bool> isDone = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!isDone) {
                tracer.span("read", Tracer::Clock::now(), 1, "props/lamp.prefab");
                tracer.counter("queued files", 1);
            }
        });
    }
    std::atomic<int> lateCalls = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        std::atomic<bool> isSet = true;
        std::atomic<int> calls = 0;
        tracer.setHook([&](const TraceEvent& /*event*/) {
            ++calls;
            lateCalls += isSet ? 0 : 1;
        });
        while (calls == 0) {
            std::this_thread::yield();
        }
        tracer.setHook({});
        isSet = false;
    }
    isDone = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lateCalls, 0);
}

TEST(Tracer, hookThatCausesEvents_doesNotReceiveThem) {
    Tracer tracer;
    std::vector<std::string> names;
    tracer.setHook([&](const TraceEvent& event) {
        names.emplace_back(event.name);
        tracer.instant("inner", 0, "");
    });
    tracer.instant("outer", 0, "");
    tracer.instant("next", 0, "");
    EXPECT_THAT(names, ElementsAre("outer", "next"));
}

TEST(Tracer, hookThatThrows_isLoggedAndTurnsTracingOff) {
    Tracer tracer;
    LogCapture log;
    int calls = 0;
    tracer.setHook([&calls](const TraceEvent& /*event*/) {
        ++calls;
        throw std::runtime_error("no space is left");
    });
    tracer.instant("a", 0, "");
    tracer.instant("b", 0, "");

    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(tracer.isOn());
    EXPECT_THAT(log.errors(), ElementsAre("The trace hook threw an exception, so that tracing ends: no space is left"));
}

TEST(Tracer, hookThatThrowsAnotherType_isLoggedAsUnknown) {
    Tracer tracer;
    LogCapture log;
    tracer.setHook([](const TraceEvent& /*event*/) { throw 7; });
    tracer.instant("a", 0, "");

    EXPECT_THAT(log.errors(),
                ElementsAre("The trace hook threw an exception, so that tracing ends: unknown exception"));
}

TEST(Tracer, newHookAfterAnException_receivesEvents) {
    Tracer tracer;
    LogCapture log;
    Recorder recorder;
    tracer.setHook([](const TraceEvent& /*event*/) { throw 7; });
    tracer.instant("a", 0, "");
    tracer.setHook(recorder.hook());
    tracer.instant("b", 0, "");

    EXPECT_THAT(recorder.names(), ElementsAre("b"));
}

} // namespace
} // namespace Kiln::Tessel::Streaming::detail
