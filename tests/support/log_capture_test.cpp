#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void write(int severity, const char* text) {
    Log::instance().write({severity, "category", "source", text});
}

TEST(LogCapture, messages_haveEveryFieldInOrder) {
    const LogCapture log;

    write(LogSeverity::INFO, "one");
    write(LogSeverity::ERROR, "two");

    EXPECT_THAT(log.messages(), ElementsAre(LogCapture::Message{3, "category", "one", "source"},
                                            LogCapture::Message{5, "category", "two", "source"}));
    EXPECT_THAT(log.texts(), ElementsAre("one", "two"));
}

TEST(LogCapture, errors_areTheTextsOfErrorAndCriticalSeverity) {
    const LogCapture log;

    write(LogSeverity::INFO, "info");
    write(LogSeverity::WARNING, "warning");
    write(LogSeverity::ERROR, "error");
    write(LogSeverity::CRITICAL, "critical");

    EXPECT_THAT(log.errors(), ElementsAre("error", "critical"));
}

TEST(LogCapture, count_countsWholeTextsOnly) {
    const LogCapture log;

    write(LogSeverity::INFO, "text");
    write(LogSeverity::ERROR, "text");
    write(LogSeverity::INFO, "text and more");

    EXPECT_EQ(log.count("text"), 2U);
    EXPECT_EQ(log.count("tex"), 0U);
}

TEST(LogCapture, clear_forgetsEarlierMessages) {
    LogCapture log;
    write(LogSeverity::INFO, "before");

    log.clear();
    EXPECT_THAT(log.texts(), IsEmpty());
    write(LogSeverity::INFO, "after");

    EXPECT_THAT(log.texts(), ElementsAre("after"));
}

TEST(LogCapture, severalCaptures_eachSeeTheMessagesOfTheirLifetime) {
    const LogCapture outer;
    {
        const LogCapture inner;
        write(LogSeverity::INFO, "inside");
        EXPECT_THAT(inner.texts(), ElementsAre("inside"));
    }
    write(LogSeverity::INFO, "outside");

    EXPECT_THAT(outer.texts(), ElementsAre("inside", "outside"));
}

} // namespace
} // namespace Kiln::TestSupport
