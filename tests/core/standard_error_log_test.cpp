// The lines on stderr while no sink is installed.

#include <core/log.h>

#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

using TestSupport::LogCapture;

class StandardErrorLog : public testing::Test {
protected:
    StandardErrorLog() {
        Log::instance().flush(); // The lines of other tests.
        testing::internal::CaptureStderr();
    }
    ~StandardErrorLog() override {
        if (!m_isRead) {
            (void)output();
        }
    }

    static void log(std::string_view text, int severity = LogSeverity::ERROR) {
        Log::instance().write({severity, "category", "source", text});
    }
    static void logTimes(int count, std::string_view text) {
        for (int i = 0; i < count; ++i) {
            log(text);
        }
    }

    /// What was written; may be called once.
    [[nodiscard]] std::string output() {
        m_isRead = true;
        return testing::internal::GetCapturedStderr();
    }

private:
    bool m_isRead = false;
};

TEST_F(StandardErrorLog, message_isALineWithSeverityAndText) {
    log("It broke");
    EXPECT_EQ(output(), "[5] It broke\n");
}

TEST_F(StandardErrorLog, oneLineBreakAtTheEnd_isDropped) {
    log("line\n");
    log("two\n\n");
    EXPECT_EQ(output(), "[5] line\n[5] two\\x0a\n");
}

TEST_F(StandardErrorLog, emptyText_isALine) {
    log("", LogSeverity::WARNING);
    EXPECT_EQ(output(), "[4] \n");
}

TEST_F(StandardErrorLog, controlCharacters_areEscaped) {
    log("a\n[6] forged\x1b[31m \u009b \u202e \xff Möwe");
    EXPECT_EQ(output(), "[5] a\\x0a[6] forged\\x1b[31m \\xc2\\x9b \\xe2\\x80\\xae \\xff Möwe\n");
}

TEST_F(StandardErrorLog, longText_isCutAndGivesItsSize) {
    log(std::string(Log::MAX_LINE_TEXT, 'x'));
    log(std::string(Log::MAX_LINE_TEXT + 1, 'y'));
    log(std::string(10'000'000, '\n'));

    std::string escapes;
    while (escapes.size() < Log::MAX_LINE_TEXT) {
        escapes += "\\x0a";
    }
    EXPECT_EQ(output(), "[5] " + std::string(Log::MAX_LINE_TEXT, 'x') + "\n[5] " +
                            std::string(Log::MAX_LINE_TEXT, 'y') + "… (4097 bytes in all)\n[5] " + escapes +
                            "… (9999999 bytes in all)\n");
}

TEST_F(StandardErrorLog, longTextWithRepeats_isCountedToo) {
    logTimes(3, std::string(10'000'000, 'x'));
    Log::instance().flush();
    const std::string line = "[5] " + std::string(Log::MAX_LINE_TEXT, 'x') + "… (10000000 bytes in all)";
    EXPECT_EQ(output(), line + "\n" + line + " (repeated 2 times)\n");
}

TEST_F(StandardErrorLog, sinkInstalled_nothingIsWritten) {
    const LogCapture capture;
    log("text");
    EXPECT_EQ(output(), "");
}

TEST_F(StandardErrorLog, lastSinkRemoved_isWrittenAgain) {
    { const LogCapture capture; }
    log("text", LogSeverity::CRITICAL);
    EXPECT_EQ(output(), "[6] text\n");
}

TEST_F(StandardErrorLog, equalMessages_areWrittenOnceAndCounted) {
    logTimes(653, "Nested too deep");
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] Nested too deep\n[5] Nested too deep (repeated 652 times)\n");
}

TEST_F(StandardErrorLog, severityOrText_makesMessagesDifferent) {
    log("text");
    log("text", LogSeverity::WARNING);
    log("text ");
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] text\n[4] text\n[5] text \n");
}

TEST_F(StandardErrorLog, alternatingMessages_areCountedSeparately) {
    for (int i = 0; i < 10; ++i) {
        log("one");
        log("two");
    }
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] one\n[5] two\n[5] one (repeated 9 times)\n[5] two (repeated 9 times)\n");
}

TEST_F(StandardErrorLog, flush_forgetsTheLines) {
    log("text");
    Log::instance().flush();
    log("text");
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] text\n[5] text\n");
}

TEST_F(StandardErrorLog, moreDifferentLinesThanAreRemembered_replaceTheLeastRecentOne) {
    log("repeated");
    log("oldest");
    log("repeated");
    for (std::size_t i = 0; i < Log::MAX_RECENT_LINES - 1; ++i) {
        log("new " + std::to_string(i)); // The last of them replaces "oldest".
    }
    log("repeated");
    log("another"); // Replaces "new 0".
    log("new 0");   // Replaces "new 1".
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] repeated\n[5] oldest\n[5] new 0\n[5] new 1\n[5] new 2\n[5] new 3\n[5] new 4\n[5] new 5\n"
                        "[5] new 6\n[5] another\n[5] new 0\n[5] repeated (repeated 2 times)\n");
}

TEST_F(StandardErrorLog, sinkInstalled_writesTheCounts) {
    logTimes(3, "text");
    const LogCapture capture;
    EXPECT_EQ(output(), "[5] text\n[5] text (repeated 2 times)\n");
}

TEST_F(StandardErrorLog, flushDue_beforeThePeriodEnds_writesNothing) {
    logTimes(3, "text");
    Log::instance().flushDue();
    log("text");
    Log::instance().flush();
    EXPECT_EQ(output(), "[5] text\n[5] text (repeated 3 times)\n");
}

TEST_F(StandardErrorLog, periodEnds_flushDueOrTheNextMessageWritesTheCount) {
    logTimes(3, "text");
    std::this_thread::sleep_for(Log::REPEAT_PERIOD);
    Log::instance().flushDue();
    logTimes(2, "text");
    std::this_thread::sleep_for(Log::REPEAT_PERIOD);
    log("other");
    log("text");
    EXPECT_EQ(output(), "[5] text\n[5] text (repeated 2 times)\n[5] text\n[5] text (repeated 1 time)\n[5] other\n"
                        "[5] text\n");
}

TEST_F(StandardErrorLog, manyThreads_noMessageIsLost) {
    constexpr int THREADS = 4;
    constexpr int MESSAGES = 2000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([] {
            for (int message = 0; message < MESSAGES; ++message) {
                log("text " + std::to_string(message % 10));
                Log::instance().flushDue();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Log::instance().flush();

    int count = 0;
    const std::string lines = output();
    for (auto begin = lines.begin(); begin != lines.end();) {
        const auto end = std::find(begin, lines.end(), '\n');
        const std::string line(begin, end);
        const std::size_t repeats = line.find("(repeated ");
        count += repeats == std::string::npos ? 1 : std::stoi(line.substr(repeats + 10));
        begin = end + 1;
    }
    EXPECT_EQ(count, THREADS * MESSAGES);
}

} // namespace
} // namespace Kiln::Tests
