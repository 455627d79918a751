#include <core/log.h>

#include <support/log_capture.h>
#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Kiln::Tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::LogCapture;

TEST(Log, sink_getsEveryFieldUnchanged) {
    const LogCapture log;

    Log::instance().write({LogSeverity::WARNING, "category", "some/source", "100% text\n"});

    EXPECT_THAT(log.messages(), ElementsAre(LogCapture::Message{4, "category", "100% text\n", "some/source"}));
}

TEST(Log, sink_getsTheLineOfTheSource) {
    std::vector<unsigned> lines;
    const ScopedLogSink sink([&](const LogMessage& message) { lines.push_back(message.line); });

    Log::instance().write({LogSeverity::INFO, "", "", "text", 12});
    DebugMessageHelper(0, LogSeverity::INFO, "", "source", 174).message("text");
    DebugMessageHelper(0, LogSeverity::INFO, "", "source").message("text");

    EXPECT_THAT(lines, ElementsAre(12U, 174U, 0U));
}

TEST(Log, throwingSink_reachesTheWriterAndKeepsTheLogUsable) {
    const LogCapture log;
    {
        const ScopedLogSink sink([](const LogMessage&) { throw std::runtime_error("full"); });
        EXPECT_THROW(Log::instance().write({LogSeverity::INFO, "", "", "first"}), std::runtime_error);
    }

    Log::instance().write({LogSeverity::INFO, "", "", "second"});

    EXPECT_THAT(log.texts(), ElementsAre("first", "second"));
}

TEST(Log, severalSinks_areCalledInOrderOfInstallation) {
    std::vector<int> calls;
    const ScopedLogSink first([&](const LogMessage&) { calls.push_back(1); });
    const ScopedLogSink second([&](const LogMessage&) { calls.push_back(2); });

    Log::instance().write({LogSeverity::INFO, "", "", "text"});

    EXPECT_THAT(calls, ElementsAre(1, 2));
}

TEST(Log, removedSink_isNotCalledAndFreesWhatItCaptured) {
    const LogCapture remaining;
    const auto captured = std::make_shared<int>(0);
    const int id = Log::instance().addSink([captured](const LogMessage&) { ++*captured; });

    Log::instance().removeSink(id);
    Log::instance().write({LogSeverity::INFO, "", "", "text"});

    EXPECT_EQ(*captured, 0);
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_THAT(remaining.texts(), ElementsAre("text"));
}

TEST(Log, removalOfAnUnknownSink_changesNothing) {
    const LogCapture log;

    Log::instance().removeSink(-1);
    Log::instance().write({LogSeverity::INFO, "", "", "text"});

    EXPECT_THAT(log.texts(), ElementsAre("text"));
}

TEST(Log, capturedObjectOfARemovedSink_mayLogFromItsDestructor) {
    const LogCapture log;
    struct LoggingInDestructor {
        ~LoggingInDestructor() { Log::instance().write({LogSeverity::INFO, "", "", "gone"}); }
    };
    const int id = Log::instance().addSink([owned = std::make_shared<LoggingInDestructor>()](const LogMessage&) {});

    Log::instance().removeSink(id);

    EXPECT_THAT(log.texts(), ElementsAre("gone"));
}

TEST(Log, removeSink_waitsForACallInProgress) {
    std::latch sinkEntered(1);
    std::atomic<bool> isRemoved = false;
    std::atomic<bool> wasRemovedInsideTheSink = false;
    const int id = Log::instance().addSink([&](const LogMessage&) {
        sinkEntered.count_down();
        // Long enough for a removal that does not wait to be noticed.
        wasRemovedInsideTheSink = TestSupport::waitFor([&] { return isRemoved.load(); }, std::chrono::milliseconds(50));
    });
    std::thread writer([] { Log::instance().write({LogSeverity::INFO, "", "", "text"}); });
    sinkEntered.wait();

    Log::instance().removeSink(id);
    isRemoved = true;
    writer.join();

    EXPECT_FALSE(wasRemovedInsideTheSink);
}

TEST(Log, messagesOfManyThreads_reachTheSinkOneAtATime) {
    constexpr int THREADS = 4;
    constexpr int MESSAGES = 500;
    int calls = 0; // not atomic: the log's lock orders the calls
    const ScopedLogSink sink([&](const LogMessage&) { ++calls; });
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([] {
            for (int message = 0; message < MESSAGES; ++message) {
                Log::instance().write({LogSeverity::INFO, "", "", "text"});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(calls, THREADS * MESSAGES);
}

TEST(Log, sinksAddedAndRemovedDuringWrites_loseNoMessageOfThePermanentSink) {
    const LogCapture log;
    std::thread writer([] {
        for (int message = 0; message < 500; ++message) {
            Log::instance().write({LogSeverity::INFO, "", "", "text"});
        }
    });
    for (int round = 0; round < 200; ++round) {
        const ScopedLogSink passing([](const LogMessage&) {});
    }
    writer.join();

    EXPECT_EQ(log.count("text"), 500U);
}

TEST(DebugMessageHelper, message_formatsAndPassesSeverityCategoryAndSource) {
    const LogCapture log;

    DebugMessageHelper(0, LogSeverity::ERROR, "", "shared_libs\\module\\file")
        .message("Prefab not found %s (%d)", "a.prefab", 3);

    EXPECT_THAT(log.messages(),
                ElementsAre(LogCapture::Message{5, "", "Prefab not found a.prefab (3)", "shared_libs\\module\\file"}));
}

TEST(DebugMessageHelper, componentPriority_doesNotFilter) {
    const LogCapture log;

    DebugMessageHelper(1000, LogSeverity::INFO, "", "").message("kept");

    EXPECT_THAT(log.texts(), ElementsAre("kept"));
}

TEST(DebugMessageHelper, longText_isComplete) {
    const LogCapture log;
    const std::string text(5000, 'x');

    DebugMessageHelper(0, LogSeverity::WARNING, "", "").message("%s!", text.c_str());

    EXPECT_THAT(log.texts(), ElementsAre(text + "!"));
}

TEST(DebugMessageHelper, textsAroundTheSizeOfTheBuffer_areComplete) {
    for (const std::size_t size : {1022U, 1023U, 1024U, 1025U}) {
        const LogCapture log;
        const std::string text(size, 'x');

        DebugMessageHelper(0, LogSeverity::WARNING, "", "").message("%s", text.c_str());

        EXPECT_THAT(log.texts(), ElementsAre(text));
    }
}

TEST(DebugMessageHelper, nullCategoryAndSource_countAsEmpty) {
    const LogCapture log;

    DebugMessageHelper(0, LogSeverity::INFO, nullptr, nullptr).message("text");

    EXPECT_THAT(log.messages(), ElementsAre(LogCapture::Message{3, "", "text", ""}));
}

TEST(DebugMessageHelper, oneHelper_writesSeveralMessages) {
    const LogCapture log;
    const DebugMessageHelper helper(0, LogSeverity::INFO, "", "");

    EXPECT_THAT(log.texts(), IsEmpty());
    helper.message("one");
    helper.message("two");

    EXPECT_THAT(log.texts(), ElementsAre("one", "two"));
}

} // namespace
} // namespace Kiln::Tests
