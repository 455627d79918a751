#include <tessel_streaming/tracing.h>
#include <tessel_streaming/tracing/json_text.h>

#include <cstdlib>
#include <ostream>
#include <string>

namespace Kiln::Tessel::Streaming {

namespace {

/// Events without a process are not shown by every viewer. There is only one.
constexpr std::string_view PROCESS = R"(,"pid":1)";

/// Microseconds with three decimals. Composed of integers, because a format of floating-point numbers depends on the
/// locale.
void appendMicroseconds(std::string& json, std::chrono::nanoseconds time) {
    const auto nanoseconds = time.count();
    const std::string fraction = std::to_string(std::llabs(nanoseconds % 1000));
    if (nanoseconds < 0) {
        json += '-';
    }
    json += std::to_string(std::llabs(nanoseconds / 1000));
    json += '.';
    json.append(3 - fraction.size(), '0');
    json += fraction;
}

void appendKind(std::string& json, const TraceEvent& event) {
    switch (event.kind) {
    case TraceEvent::Kind::SPAN:
        json += R"(,"ph":"X","dur":)";
        appendMicroseconds(json, event.duration);
        break;
    case TraceEvent::Kind::INSTANT:
        json += R"(,"ph":"i","s":"t")"; // The mark has the height of its thread.
        break;
    case TraceEvent::Kind::COUNTER:
        json += R"(,"ph":"C")";
        break;
    }
}

void appendArguments(std::string& json, const TraceEvent& event) {
    json += R"(,"args":{)";
    std::string_view separator;
    if (event.kind == TraceEvent::Kind::COUNTER) {
        json += R"("value":)" + std::to_string(event.value);
        separator = ",";
    }
    if (event.request != 0) {
        json += separator;
        json += R"("request":)" + std::to_string(event.request);
        separator = ",";
    }
    if (!event.detail.empty()) {
        json += separator;
        json += R"("file":)";
        detail::appendJsonString(json, event.detail);
    }
    json += '}';
}

/// Unformatted, because the locale of the stream may group digits.
void writeTo(std::ostream& stream, std::string_view text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace

ChromeTraceWriter::ChromeTraceWriter(std::ostream& stream)
    : m_stream(stream), m_start(std::chrono::steady_clock::now()) {
    writeTo(m_stream, "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[");
}

ChromeTraceWriter::~ChromeTraceWriter() {
    writeTo(m_stream, "\n]}\n");
    m_stream.flush();
}

void ChromeTraceWriter::write(const TraceEvent& event) {
    std::string json = "{\"name\":";
    detail::appendJsonString(json, event.name);
    json += R"(,"cat":"streaming","ts":)";
    appendMicroseconds(json, event.time - m_start);
    json += PROCESS;
    json += R"(,"tid":)" + std::to_string(event.thread);
    appendKind(json, event);
    appendArguments(json, event);
    json += '}';

    const std::lock_guard lock(m_mutex);
    writeThreadName(event.thread);
    writeLine(json);
}

void ChromeTraceWriter::writeThreadName(std::uint32_t thread) {
    if (!m_namedThreads.insert(thread).second) {
        return;
    }
    const std::string number = std::to_string(thread);
    writeLine(R"({"name":"thread_name","ph":"M","pid":1,"tid":)" + number + R"(,"args":{"name":")" +
              (thread == 0 ? "main thread" : "worker " + number) + "\"}}");
}

void ChromeTraceWriter::writeLine(std::string_view json) {
    writeTo(m_stream, m_isFirst ? "\n" : ",\n");
    m_isFirst = false;
    writeTo(m_stream, json);
}

} // namespace Kiln::Tessel::Streaming
