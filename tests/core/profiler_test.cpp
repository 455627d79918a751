#include <core/profiler.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> calls;
std::atomic<int> concurrentCalls = 0;

void recordBegin(const char* name) {
    calls.push_back(std::string("begin ") + name);
}
void recordEnd(const char* name) {
    calls.push_back(std::string("end ") + name);
}
int setting = 0; // not atomic: attaching the hooks orders it
std::atomic<int> seenSetting = 0;

void readSetting(const char* /*name*/) {
    seenSetting = setting;
}
void countCall(const char* /*name*/) {
    ++concurrentCalls;
}

class Profiler : public testing::Test {
protected:
    void SetUp() override { calls.clear(); }
    void TearDown() override { setProfilerHooks({}); }
};

TEST_F(Profiler, nothingAttached_hooksAreNull) {
    EXPECT_EQ(profilerHooks().beginScope, nullptr);
    EXPECT_EQ(profilerHooks().endScope, nullptr);
}

TEST_F(Profiler, attachedHooks_areReturned) {
    setProfilerHooks({recordBegin, recordEnd});

    EXPECT_EQ(profilerHooks().beginScope, &recordBegin);
    EXPECT_EQ(profilerHooks().endScope, &recordEnd);
}

TEST_F(Profiler, scopes_reportBeginAndEndByName) {
    setProfilerHooks({recordBegin, recordEnd});
    {
        const ProfilerScope outer("outer");
        const ProfilerScope inner("inner");
    }

    EXPECT_THAT(calls, ElementsAre("begin outer", "begin inner", "end inner", "end outer"));
}

TEST_F(Profiler, nothingAttached_scopeReportsNothing) {
    { const ProfilerScope scope("scope"); }

    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(Profiler, beginHookAlone_isCalled) {
    setProfilerHooks({recordBegin, nullptr});
    { const ProfilerScope scope("scope"); }

    EXPECT_THAT(calls, ElementsAre("begin scope"));
}

TEST_F(Profiler, endHookAlone_isCalled) {
    setProfilerHooks({nullptr, recordEnd});
    { const ProfilerScope scope("scope"); }

    EXPECT_THAT(calls, ElementsAre("end scope"));
}

TEST_F(Profiler, hooksDetachedInsideAScope_stillGetItsEnd) {
    setProfilerHooks({recordBegin, recordEnd});
    {
        const ProfilerScope scope("scope");
        setProfilerHooks({});
    }

    EXPECT_THAT(calls, ElementsAre("begin scope", "end scope"));
}

TEST_F(Profiler, detachedHooks_areNotCalledForLaterScopes) {
    setProfilerHooks({recordBegin, recordEnd});
    setProfilerHooks({});
    { const ProfilerScope scope("scope"); }

    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(Profiler, scopesOfSeveralThreads_areAllReported) {
    concurrentCalls = 0;
    setProfilerHooks({countCall, countCall});
    const auto work = [] {
        for (int i = 0; i < 1000; ++i) {
            const ProfilerScope scope("scope");
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();

    EXPECT_EQ(concurrentCalls, 4000);
}

TEST_F(Profiler, hooksAttachedDuringScopesOfAnotherThread_seeWhatWasSetUpBefore) {
    seenSetting = 0;
    std::thread worker([] {
        while (seenSetting == 0) {
            const ProfilerScope scope("scope");
        }
    });
    setting = 42;
    setProfilerHooks({readSetting, readSetting});
    worker.join();

    EXPECT_EQ(seenSetting, 42);
}

TEST_F(Profiler, hooksChangedAllTheTimeDuringScopesOfAnotherThread_areNotCalledOnceTheyAreDetachedForGood) {
    concurrentCalls = 0;
    std::atomic<bool> isDetached = false;
    std::atomic<int> callsWhenDetached = 0;
    std::thread worker([&] {
        while (!isDetached) {
            const ProfilerScope scope("scope");
        }
        callsWhenDetached = concurrentCalls.load();
        for (int i = 0; i < 100; ++i) {
            const ProfilerScope scope("scope");
        }
    });
    while (concurrentCalls < 100) {
        setProfilerHooks({countCall, countCall});
        setProfilerHooks({});
    }
    isDetached = true;
    worker.join();

    EXPECT_EQ(concurrentCalls, callsWhenDetached);
}

} // namespace
} // namespace Kiln::Tests
