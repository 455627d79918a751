#include <core/stack_tracker.h>

#include <support/assertion_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> currentFunctions() {
    std::vector<std::string> functions;
    for (const StackTracker::Entry& entry : StackTracker::current()) {
        functions.emplace_back(entry.function);
    }
    return functions;
}

TEST(StackTracker, beforeAnyPush_isEmpty) {
    bool isEmpty = false;
    std::thread([&] { isEmpty = StackTracker::current().empty(); }).join();

    EXPECT_TRUE(isEmpty);
}

TEST(StackTracker, push_recordsFunctionFileAndLine) {
    StackTracker::push("Loader::load", "libs\\loader", 42);

    ASSERT_EQ(StackTracker::current().size(), 1U);
    EXPECT_STREQ(StackTracker::current()[0].function, "Loader::load");
    EXPECT_STREQ(StackTracker::current()[0].file, "libs\\loader");
    EXPECT_EQ(StackTracker::current()[0].line, 42U);
    StackTracker::pop();
}

TEST(StackTracker, nestedScopes_standOutermostFirst) {
    const StackTrackerScope outer("outer", "file", 1);
    {
        const StackTrackerScope inner("inner", "file", 2);
        EXPECT_THAT(currentFunctions(), ElementsAre("outer", "inner"));
    }
    EXPECT_THAT(currentFunctions(), ElementsAre("outer"));
}

TEST(StackTracker, scopeLeftByAnException_isPopped) {
    try {
        const StackTrackerScope scope("throwing", "file", 1);
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
        EXPECT_THAT(currentFunctions(), IsEmpty());
    }
}

TEST(StackTracker, deepTrail_isComplete) {
    constexpr unsigned DEPTH = 1000;
    for (unsigned line = 0; line < DEPTH; ++line) {
        StackTracker::push("recursive", "file", line);
    }

    ASSERT_EQ(StackTracker::current().size(), DEPTH);
    for (unsigned line = 0; line < DEPTH; ++line) {
        ASSERT_EQ(StackTracker::current()[line].line, line);
    }
    for (unsigned line = 0; line < DEPTH; ++line) {
        StackTracker::pop();
    }
    EXPECT_THAT(currentFunctions(), IsEmpty());
}

TEST(StackTracker, eachThread_hasItsOwnTrail) {
    const StackTrackerScope mainScope("main", "file", 1);
    std::latch bothPushed(2);
    std::vector<std::string> first;
    std::vector<std::string> second;
    const auto work = [&](const char* name, std::vector<std::string>& seen) {
        const StackTrackerScope scope(name, "file", 1);
        bothPushed.arrive_and_wait();
        seen = currentFunctions();
    };
    std::thread firstThread([&] { work("first", first); });
    std::thread secondThread([&] { work("second", second); });
    firstThread.join();
    secondThread.join();

    EXPECT_THAT(first, ElementsAre("first"));
    EXPECT_THAT(second, ElementsAre("second"));
    EXPECT_THAT(currentFunctions(), ElementsAre("main"));
}

TEST(StackTracker, popWithoutPush_assertsAndChangesNothing) {
    const TestSupport::AssertionCapture assertions;

    StackTracker::pop();

    EXPECT_THAT(assertions.messages(), ElementsAre("Stack tracker: pop without push"));
    EXPECT_THAT(currentFunctions(), IsEmpty());
    const StackTrackerScope scope("after", "file", 1);
    EXPECT_THAT(currentFunctions(), ElementsAre("after"));
}

/// Uses the trail when its thread's own trail has been freed already.
struct LateUser {
    ~LateUser() {
        const StackTrackerScope scope("late", "file", 1);
        *result = currentFunctions();
    }

    std::vector<std::string>* result = nullptr;
};

TEST(StackTracker, destructorsOfThreadLocals_mayPushAndPop) {
    std::vector<std::string> seen;
    std::thread([&] {
        // Constructed before the first push and hence destroyed after the trail.
        static thread_local LateUser user;
        user.result = &seen;
        const StackTrackerScope scope("thread", "file", 1);
    }).join();

    EXPECT_THAT(seen, ElementsAre("late"));
}

} // namespace
} // namespace Kiln::Tests
