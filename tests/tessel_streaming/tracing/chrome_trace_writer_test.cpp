#include <tessel_streaming/tracing.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Kiln::Tessel::Streaming {
namespace {

using nlohmann::json;
using std::chrono::microseconds;
using std::chrono::nanoseconds;
using testing::ElementsAre;
using testing::IsEmpty;

/// The trace that contains these events and nothing else, as a viewer reads it.
[[nodiscard]] json traceOf(const std::vector<TraceEvent>& events) {
    std::ostringstream stream;
    {
        ChromeTraceWriter writer(stream);
        for (const TraceEvent& event : events) {
            writer.write(event);
        }
    }
    return json::parse(stream.str());
}

/// The events of a trace without the names of threads.
[[nodiscard]] std::vector<json> eventsOf(const json& trace) {
    std::vector<json> events;
    for (const json& event : trace.at("traceEvents")) {
        if (event.at("ph") != "M") {
            events.push_back(event);
        }
    }
    return events;
}

[[nodiscard]] std::vector<json> threadNamesOf(const json& trace) {
    std::vector<json> names;
    for (const json& event : trace.at("traceEvents")) {
        if (event.at("ph") == "M") {
            names.push_back(event);
        }
    }
    return names;
}

[[nodiscard]] TraceEvent instant(std::string_view name, std::uint32_t thread = 0) {
    TraceEvent event;
    event.name = name;
    event.time = std::chrono::steady_clock::now();
    event.thread = thread;
    return event;
}

/// The text that a viewer shows for the detail of an event.
[[nodiscard]] std::string shownDetail(std::string_view detail) {
    TraceEvent event = instant("read");
    event.detail = detail;
    return eventsOf(traceOf({event})).front().at("args").at("file");
}

TEST(ChromeTraceWriter, nothingWritten_isTraceWithoutEvents) {
    EXPECT_EQ(traceOf({}), json::parse(R"({"displayTimeUnit": "ms", "traceEvents": []})"));
}

TEST(ChromeTraceWriter, span_isCompleteEvent) {
    TraceEvent event;
    event.kind = TraceEvent::Kind::SPAN;
    event.name = "read";
    event.detail = "props/lamp.prefab";
    event.request = 7;
    event.time = std::chrono::steady_clock::now() + microseconds(50);
    event.duration = nanoseconds(12'345);
    event.thread = 2;

    json written = eventsOf(traceOf({event})).front();
    const double start = written.at("ts");
    written.erase("ts");

    EXPECT_EQ(written, json::parse(R"({"name": "read", "cat": "streaming", "ph": "X", "dur": 12.345, "pid": 1, "tid": 2,
                                       "args": {"request": 7, "file": "props/lamp.prefab"}})"));
    EXPECT_LE(start, 50);
}

TEST(ChromeTraceWriter, instant_isInstantEventOfItsThread) {
    TraceEvent event = instant("cache hit", 1);
    event.request = 3;

    json written = eventsOf(traceOf({event})).front();
    written.erase("ts");

    EXPECT_EQ(written, json::parse(R"({"name": "cache hit", "cat": "streaming", "ph": "i", "s": "t", "pid": 1, "tid": 1,
                                       "args": {"request": 3}})"));
}

TEST(ChromeTraceWriter, counter_isCounterEventWithItsValue) {
    TraceEvent event;
    event.kind = TraceEvent::Kind::COUNTER;
    event.name = "queued files";
    event.time = std::chrono::steady_clock::now();
    event.value = -12;

    json written = eventsOf(traceOf({event})).front();
    written.erase("ts");

    EXPECT_EQ(written, json::parse(R"({"name": "queued files", "cat": "streaming", "ph": "C", "pid": 1, "tid": 0,
                                       "args": {"value": -12}})"));
}

TEST(ChromeTraceWriter, eventWithoutRequestAndDetail_hasNoArguments) {
    EXPECT_EQ(eventsOf(traceOf({instant("frame")})).front().at("args"), json::object());
}

TEST(ChromeTraceWriter, times_areMicrosecondsSinceTheWriterWasMade) {
    std::ostringstream stream;
    const auto before = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point after;
    {
        ChromeTraceWriter writer(stream);
        after = std::chrono::steady_clock::now();
        TraceEvent event = instant("frame");
        event.time = before + std::chrono::seconds(3) + nanoseconds(7);
        writer.write(event);
    }
    const double time = eventsOf(json::parse(stream.str())).front().at("ts");
    const std::chrono::duration<double, std::micro> making = after - before;
    EXPECT_LE(time, 3'000'000.007);
    EXPECT_GE(time, 3'000'000.006 - making.count());
}

TEST(ChromeTraceWriter, durations_keepNanoseconds) {
    std::vector<TraceEvent> events;
    for (const int nanosecondsCount : {0, 1, 10, 100, 999, 1000, 1'000'001}) {
        TraceEvent event = instant("read");
        event.kind = TraceEvent::Kind::SPAN;
        event.duration = nanoseconds(nanosecondsCount);
        events.push_back(event);
    }
    std::vector<double> durations;
    for (const json& event : eventsOf(traceOf(events))) {
        durations.push_back(event.at("dur"));
    }
    EXPECT_THAT(durations, ElementsAre(0, 0.001, 0.01, 0.1, 0.999, 1, 1000.001));
}

TEST(ChromeTraceWriter, eventBeforeTheWriterWasMade_hasNegativeTime) {
    TraceEvent event = instant("read");
    event.time -= std::chrono::hours(1);
    const double time = eventsOf(traceOf({event})).front().at("ts");
    EXPECT_LE(time, -3'600'000'000.0);
    EXPECT_GT(time, -3'660'000'000.0);
}

TEST(ChromeTraceWriter, firstEventOfThread_followsTheNameOfTheThread) {
    const json trace = traceOf({instant("a", 0), instant("b", 2), instant("c", 0), instant("d", 2), instant("e", 100)});
    EXPECT_THAT(threadNamesOf(trace),
                ElementsAre(json::parse(R"({"name": "thread_name", "ph": "M", "pid": 1, "tid": 0,
                                            "args": {"name": "main thread"}})"),
                            json::parse(R"({"name": "thread_name", "ph": "M", "pid": 1, "tid": 2,
                                            "args": {"name": "worker 2"}})"),
                            json::parse(R"({"name": "thread_name", "ph": "M", "pid": 1, "tid": 100,
                                            "args": {"name": "worker 100"}})")));
    EXPECT_EQ(trace.at("traceEvents").at(0).at("ph"), "M");
    EXPECT_EQ(trace.at("traceEvents").at(1).at("name"), "a");
}

TEST(ChromeTraceWriter, quotationMarksAndControlCharacters_areEscaped) {
    const std::string_view detail("a\"b\\c/d\n\t\r\x01\x1f\x7f\0e", 16);
    EXPECT_EQ(shownDetail(detail), detail);
}

TEST(ChromeTraceWriter, wellFormedUtf8_staysTheSame) {
    const std::string detail = "H\xc3\xa4"
                               "fen/\xe2\x82\xac/\xf0\x9f\x8f\xae/\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf";
    EXPECT_EQ(shownDetail(detail), detail);
}

TEST(ChromeTraceWriter, bytesThatAreNotUtf8_becomeReplacementCharacters) {
    const std::string replacement = "\xef\xbf\xbd";
    EXPECT_EQ(shownDetail("a\xff"
                          "b"),
              "a" + replacement + "b");
    EXPECT_EQ(shownDetail("\xc3"), replacement) << "a character that is cut off";
    EXPECT_EQ(shownDetail("\x80"), replacement) << "a continuation without a lead";
    EXPECT_EQ(shownDetail("\xc0\x80"), replacement + replacement) << "an overlong form of two bytes";
    EXPECT_EQ(shownDetail("\xe0\x80\x80"), replacement + replacement + replacement)
        << "an overlong form of three bytes";
    EXPECT_EQ(shownDetail("\xed\xa0\x80"), replacement + replacement + replacement) << "a surrogate";
    EXPECT_EQ(shownDetail("\xf4\x90\x80\x80"), replacement + replacement + replacement + replacement)
        << "a code point above U+10FFFF";
    EXPECT_EQ(shownDetail("\xe2\x82x"), replacement + replacement + "x") << "a character that another one interrupts";
}

TEST(ChromeTraceWriter, localeThatGroupsDigits_hasNoEffect) {
    struct Grouping : std::numpunct<char> {
        [[nodiscard]] char do_thousands_sep() const override { return '.'; }
        [[nodiscard]] char do_decimal_point() const override { return ','; }
        [[nodiscard]] std::string do_grouping() const override { return "\3"; }
    };
    std::ostringstream stream;
    stream.imbue(std::locale(std::locale::classic(), new Grouping));
    {
        ChromeTraceWriter writer(stream);
        TraceEvent event = instant("read", 12'345);
        event.request = 1'234'567;
        writer.write(event);
    }
    const json written = eventsOf(json::parse(stream.str())).front();
    EXPECT_EQ(written.at("tid"), 12'345);
    EXPECT_EQ(written.at("args").at("request"), 1'234'567);
}

TEST(ChromeTraceWriter, severalThreads_writeWholeEvents) {
    constexpr std::uint32_t THREADS = 4;
    constexpr std::uint64_t EVENTS = 200;
    std::ostringstream stream;
    {
        ChromeTraceWriter writer(stream);
        std::vector<std::thread> threads;
        for (std::uint32_t thread = 1; thread <= THREADS; ++thread) {
            threads.emplace_back([&writer, thread] {
                for (std::uint64_t i = 1; i <= EVENTS; ++i) {
                    TraceEvent event = instant("read", thread);
                    event.request = i;
                    writer.write(event);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    const json trace = json::parse(stream.str());
    EXPECT_EQ(threadNamesOf(trace).size(), THREADS);
    std::vector<std::uint64_t> lastOfThread(THREADS + 1, 0);
    for (const json& event : eventsOf(trace)) {
        const std::size_t thread = event.at("tid");
        EXPECT_EQ(event.at("args").at("request"), ++lastOfThread.at(thread)) << "thread " << thread;
    }
    EXPECT_THAT(lastOfThread, ElementsAre(0U, EVENTS, EVENTS, EVENTS, EVENTS));
}

TEST(ChromeTraceWriter, streamThatCannotBeWritten_isLeftInFailedState) {
    std::ofstream stream; // Not open.
    {
        ChromeTraceWriter writer(stream);
        writer.write(instant("frame"));
    }
    EXPECT_TRUE(stream.fail());
}

} // namespace
} // namespace Kiln::Tessel::Streaming
