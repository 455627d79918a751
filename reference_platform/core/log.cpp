#include <core/formatter.h>
#include <core/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace Kiln {

namespace {

struct InstalledSink {
    int id;
    Log::Sink sink;
};

void writeToStandardError(const LogMessage& message) {
    std::string line = "[";
    line.append(std::to_string(message.severity)).append("] ").append(message.text);
    if (line.back() != '\n') {
        line += '\n';
    }
    // One call per line, so that lines of different processes do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string_view viewOf(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

} // namespace

struct Log::State {
    // Guards all members and is held while sinks run. Only sinks take other locks under it.
    std::mutex mutex;
    std::vector<InstalledSink> sinks;
    int lastId = 0;
};

Log::Log() : m_state(std::make_unique<State>()) {}
Log::~Log() = default;

Log& Log::instance() {
    // Never destroyed: static objects of any library may log from their destructors.
    static Log* const log = new Log;
    return *log;
}

void Log::write(const LogMessage& message) {
    const std::lock_guard lock(m_state->mutex);
    if (m_state->sinks.empty()) {
        writeToStandardError(message);
        return;
    }
    for (const InstalledSink& installed : m_state->sinks) {
        installed.sink(message);
    }
}

int Log::addSink(Sink sink) {
    const std::lock_guard lock(m_state->mutex);
    const int id = ++m_state->lastId;
    m_state->sinks.push_back({id, std::move(sink)});
    return id;
}

void Log::removeSink(int id) {
    // Destroyed after the lock is released, because destroying what a sink captures may log.
    Sink removed;
    const std::lock_guard lock(m_state->mutex);
    const auto found = std::find_if(m_state->sinks.begin(), m_state->sinks.end(),
                                    [id](const InstalledSink& installed) { return installed.id == id; });
    if (found != m_state->sinks.end()) {
        removed = std::move(found->sink);
        m_state->sinks.erase(found);
    }
}

DebugMessageHelper::DebugMessageHelper(int /*componentPriority*/, int messagePriority, const char* category,
                                       const char* source)
    : m_severity(messagePriority), m_category(category), m_source(source) {}

void DebugMessageHelper::message(const char* format, ...) const {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatTextList(format, arguments);
    va_end(arguments);
    Log::instance().write({m_severity, viewOf(m_category), viewOf(m_source), text});
}

} // namespace Kiln
