#include "platform_access.h"

#include <core/assertions.h>
#include <core/formatter.h>
#include <core/log.h>
#include <core/profiler.h>
#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <core/stack_tracker.h>

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using testing::ElementsAre;
using testing::IsEmpty;

class Counted : public SafeReferenceCount {
public:
    Counted() { ++s_alive; }
    Counted(const Counted& other) : SafeReferenceCount(other) { ++s_alive; }
    ~Counted() override { --s_alive; }

    static inline std::atomic<int> s_alive{0};
};

class Derived final : public Counted {};

TEST(ReferenceCount, makeSmart_objectDiesWithTheLastPointer) {
    SmartPointer<Counted> first = makeSmart<Counted>();
    SmartPointer<Counted> second = first;
    first.reset();
    EXPECT_FALSE(first);
    EXPECT_EQ(Counted::s_alive, 1);
    second = nullptr;
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(ReferenceCount, move_leavesTheSourceNullAndTakesNoReference) {
    SmartPointer<Counted> first = makeSmart<Counted>();
    const Counted* const object = first.get();
    const SmartPointer<Counted> second = std::move(first);
    EXPECT_EQ(second.get(), object);
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move)
}

TEST(ReferenceCount, pointerToBase_destroysTheDerivedObject) {
    SmartPointer<Counted> base = makeSmart<Derived>();
    EXPECT_EQ(Counted::s_alive, 1);
    base.reset();
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(ReferenceCount, copyOfAnObject_hasACountOfItsOwn) {
    SmartPointer<Counted> original = makeSmart<Counted>();
    const SmartPointer<Counted> alsoOriginal = original;
    SmartPointer<Counted> copy = makeSmart<Counted>(*original);
    copy.reset();
    EXPECT_EQ(Counted::s_alive, 1);
}

TEST(ReferenceCount, equality_isThatOfTheObjects) {
    const SmartPointer<Counted> first = makeSmart<Counted>();
    const SmartPointer<Counted> same = first; // NOLINT(performance-unnecessary-copy-initialization)
    const SmartPointer<Counted> other = makeSmart<Counted>();
    EXPECT_TRUE(first == same);
    EXPECT_FALSE(first == other);
}

TEST(ReferenceCount, manyThreads_countIsExact) {
    SmartPointer<Counted> object = makeSmart<Counted>();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([mine = object] {
            for (int round = 0; round < 20000; ++round) {
                const SmartPointer<Counted> copy = mine; // NOLINT(performance-unnecessary-copy-initialization)
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
    EXPECT_EQ(Counted::s_alive, 1);
    object.reset();
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(EngineLog, message_isFormattedAndHasItsSeverity) {
    const LogCapture log;
    DebugMessageHelper(0, LogSeverity::WARNING, "", "here").message("%s has %lu of %d%%", "box", 3UL, 40);
    DebugMessageHelper(0, LogSeverity::ERROR, "", "here").message("plain");
    DebugMessageHelper(0, LogSeverity::CRITICAL, "", "here").message("%s", std::string(5000, 'x').c_str());
    EXPECT_THAT(log.messages(), ElementsAre(LoggedMessage{4, "box has 3 of 40%"}, LoggedMessage{5, "plain"},
                                            LoggedMessage{6, std::string(5000, 'x')}));
}

TEST(EngineLog, severities_areTheContractsNumbers) {
    EXPECT_EQ(LogSeverity::WARNING, 4);
    EXPECT_EQ(LogSeverity::ERROR, 5);
    EXPECT_EQ(LogSeverity::CRITICAL, 6);
}

TEST(EngineLog, messagesOfManyThreads_allArriveWhole) {
    const LogCapture log;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                DebugMessageHelper(0, LogSeverity::ERROR, "", "here").message("%s", "the same text");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(log.messages(), testing::AllOf(testing::SizeIs(400), testing::Each(LoggedMessage{5, "the same text"})));
}

TEST(Formatter, formatText_hasNoLimitOfLength) {
    EXPECT_EQ(formatText("%d-%s", 7, std::string(3000, 'y').c_str()), "7-" + std::string(3000, 'y'));
    EXPECT_EQ(formatText("%s", ""), "");
}

TEST(Assertions, failure_isReportedAndReturns) {
    static bool s_hasReturned = false;
    EXPECT_EQ(countAssertions([] {
                  reportAssertionFailure({.expression = "isOpen()", .message = "text", .file = "here"});
                  s_hasReturned = true;
              }),
              1U);
    EXPECT_TRUE(s_hasReturned);
}

TEST(StackTrail, scope_bracketsTheOperation) {
    const std::size_t depth = stackTrail().size();
    {
        const StackTrackerScope outer("outer", "here", 1);
        const StackTrackerScope inner("inner", "here", 2);
        const std::vector<std::string> trail = stackTrail();
        ASSERT_EQ(trail.size(), depth + 2);
        EXPECT_EQ(trail[depth], "outer");
        EXPECT_EQ(trail[depth + 1], "inner");
    }
    EXPECT_EQ(stackTrail().size(), depth);
}

TEST(StackTrail, exception_popsToo) {
    const std::size_t depth = stackTrail().size();
    EXPECT_THROW(
        {
            const StackTrackerScope scope("throws", "here", 1);
            throw std::runtime_error("");
        },
        std::runtime_error);
    EXPECT_EQ(stackTrail().size(), depth);
}

TEST(StackTrail, threads_haveTrailsOfTheirOwn) {
    const StackTrackerScope scope("main", "here", 1);
    std::vector<std::string> other{"not asked"};
    std::thread([&other] { other = stackTrail(); }).join();
    EXPECT_THAT(other, IsEmpty());
}

TEST(Profiler, scopeWithoutProfiler_doesNothing) {
    const ProfilerScope outer("outer");
    const ProfilerScope inner("inner");
}

} // namespace
} // namespace Conformance
