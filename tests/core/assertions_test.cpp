#include <core/assertions.h>
#include <core/log.h>

#include <support/assertion_capture.h>
#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::AssertionCapture;
using TestSupport::LogCapture;

TEST(Assertions, conditionThatHolds_isTrueAndReportsNothing) {
    const AssertionCapture assertions;

    EXPECT_TRUE(KILN_ASSERT(1 + 1 == 2, "arithmetic", "some/file", 1));
    EXPECT_THAT(assertions.failures(), IsEmpty());
}

TEST(Assertions, conditionThatFails_isFalseAndReportsEveryField) {
    const AssertionCapture assertions;
    const int count = 3;

    EXPECT_FALSE(KILN_ASSERT(count < 3, "Too many", "some/file", 322));

    EXPECT_THAT(assertions.failures(),
                ElementsAre(AssertionCapture::Failure{"count < 3", "Too many", "some/file", 322}));
}

TEST(Assertions, condition_isEvaluatedOnce) {
    const AssertionCapture assertions;
    int evaluations = 0;

    EXPECT_FALSE(KILN_ASSERT(++evaluations == 0, "", "", 0));

    EXPECT_EQ(evaluations, 1);
}

TEST(Assertions, conditionThatConvertsToBool_isAccepted) {
    const AssertionCapture assertions;
    const auto object = std::make_unique<int>(1);

    EXPECT_TRUE(KILN_ASSERT(object, "", "", 0));
    EXPECT_THAT(assertions.failures(), IsEmpty());
}

TEST(Assertions, defaultHandler_logsOneCriticalMessageAndContinues) {
    const LogCapture log;

    EXPECT_FALSE(KILN_ASSERT(false, "Buffer is null", "some/file", 12));

    EXPECT_THAT(log.messages(), ElementsAre(LogCapture::Message{
                                    6, "", "Assertion failed: false Buffer is null (some/file:12)", "some/file"}));
}

TEST(Assertions, defaultHandler_passesTheLine) {
    std::vector<unsigned> lines;
    const ScopedLogSink sink([&](const LogMessage& message) { lines.push_back(message.line); });

    EXPECT_FALSE(KILN_ASSERT(false, "Buffer is null", "some/file", 12));

    EXPECT_THAT(lines, ElementsAre(12U));
}

TEST(Assertions, defaultHandler_leavesOutWhatIsEmpty) {
    const LogCapture log;

    reportAssertionFailure({"a == b", "Message", "file", 0});
    reportAssertionFailure({"a == b", "", "file", 7});
    reportAssertionFailure({"", "Message", "file", 7});
    reportAssertionFailure({"a == b", "Message", "", 7});
    reportAssertionFailure({"", "", "", 0});

    EXPECT_THAT(log.texts(), ElementsAre("Assertion failed: a == b Message (file)", "Assertion failed: a == b (file:7)",
                                         "Assertion failed: Message (file:7)", "Assertion failed: a == b Message",
                                         "Assertion failed:"));
}

TEST(Assertions, installedHandler_keepsFailuresOutOfTheLog) {
    const LogCapture log;
    const AssertionCapture assertions;

    reportAssertionFailure({"a", "b", "c", 1});

    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(assertions.count(), 1U);
}

TEST(Assertions, setAssertionHandler_returnsThePreviousHandler) {
    int firstCalls = 0;
    const AssertionHandler original = setAssertionHandler([&](const AssertionFailure&) { ++firstCalls; });
    EXPECT_FALSE(original) << "the default is represented by an empty handler";

    const AssertionHandler first = setAssertionHandler([](const AssertionFailure&) {});
    ASSERT_TRUE(first);
    first({});

    EXPECT_EQ(firstCalls, 1);
    setAssertionHandler({});
}

TEST(Assertions, emptyHandler_restoresTheDefault) {
    const LogCapture log;
    setAssertionHandler([](const AssertionFailure&) {});

    setAssertionHandler({});
    reportAssertionFailure({"a", "", "", 0});

    EXPECT_THAT(log.texts(), ElementsAre("Assertion failed: a"));
}

TEST(Assertions, handler_mayReplaceTheHandler) {
    const LogCapture log;
    int calls = 0;
    setAssertionHandler([&calls](const AssertionFailure&) {
        setAssertionHandler({});
        ++calls; // the handler that runs stays alive
    });

    reportAssertionFailure({"first", "", "", 0});
    reportAssertionFailure({"second", "", "", 0});

    EXPECT_EQ(calls, 1);
    EXPECT_THAT(log.texts(), ElementsAre("Assertion failed: second"));
}

TEST(Assertions, handlersReplacedDuringFailures_seeEachFailureOnce) {
    constexpr int FAILURES = 2000;
    const LogCapture log; // gets the failures that meet the default handler
    std::atomic<int> handled = 0;
    std::thread failing([] {
        for (int i = 0; i < FAILURES; ++i) {
            reportAssertionFailure({"a", "", "", 0});
        }
    });
    for (int round = 0; round < 500; ++round) {
        const auto owned = std::make_shared<std::atomic<int>*>(&handled);
        setAssertionHandler([owned](const AssertionFailure&) { ++**owned; });
        setAssertionHandler({});
    }
    failing.join();

    EXPECT_EQ(static_cast<int>(log.count("Assertion failed: a")) + handled, FAILURES);
}

} // namespace
} // namespace Kiln::Tests
