#include "diagnostics.h"

#include "line_text.h"

#include <core/log.h>

#include <ostream>
#include <vector>

namespace Kiln::PrefabTool {

namespace {

/// Maximum number of different errors that the line with the prefab's name repeats.
constexpr std::size_t MAX_REASONS = 10;

/// The walks that cache a prefab's nested prefabs log these for every prefab that is loaded by path, because its root
/// names the prefab itself. Only the first one, logged on the main thread by the creation of objects, reports a
/// problem.
constexpr std::string_view DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references.";
constexpr std::string_view BACKGROUND_DEPTH_MESSAGE =
    "Nested prefabs depth has exceeded limit. It can be result of recursive references. (backgroundLoad)";

[[nodiscard]] bool isDepthMessage(const LogRecord::Message& message) {
    return message.text == DEPTH_MESSAGE || message.text == BACKGROUND_DEPTH_MESSAGE;
}

/// A message's text in one line, without the line end that some messages have.
[[nodiscard]] std::string lineOf(std::string_view text) {
    while (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    return printable(text);
}

[[nodiscard]] std::string joined(const std::vector<std::string>& reasons) {
    std::string text;
    for (std::size_t i = 0; i < reasons.size() && i < MAX_REASONS; ++i) {
        text += (i == 0 ? "" : "; ") + reasons[i];
    }
    if (reasons.size() > MAX_REASONS) {
        text += "; and " + std::to_string(reasons.size() - MAX_REASONS) + " more";
    }
    return text;
}

} // namespace

void Diagnostics::reportInstance(const InstanceRecord& record) {
    std::vector<std::string> reasons;
    std::size_t walkDepthCount = 0;
    for (const LogRecord::Message& message : record.log.messages) {
        const bool isOfWalk = isDepthMessage(message) && message.mainThreadCount == 0;
        if (isOfWalk && record.isCreated()) {
            walkDepthCount += message.count;
            continue;
        }
        writeMessage(message);
        if (message.isError() && !isOfWalk) {
            reasons.push_back(lineOf(message.text));
        }
    }
    if (walkDepthCount > 0 && m_isVerbose) {
        m_stream << "note: the depth limit of the caching walk was reached " << counted(walkDepthCount, "time") << '\n';
    }
    if (!record.problem.empty()) {
        reasons.push_back(record.problem);
    } else if (!record.isCreated() && reasons.empty()) {
        reasons.emplace_back("the creation of its game objects was refused");
    }
    if (!reasons.empty()) {
        reportFailure(record.prefab + (record.isCreated() ? ": errors while loading" : ": not created"),
                      joined(reasons));
    }
}

void Diagnostics::reportLog(const std::string& subject, const LogRecord& log) {
    std::vector<std::string> reasons;
    for (const LogRecord::Message& message : log.messages) {
        writeMessage(message);
        if (message.isError()) {
            reasons.push_back(lineOf(message.text));
        }
    }
    if (!reasons.empty()) {
        reportFailure(subject, joined(reasons));
    }
}

void Diagnostics::reportSkippedComponents(const std::map<std::string, std::size_t>& countsByType) {
    for (const auto& [type, count] : countsByType) {
        m_stream << "note: skipped " << counted(count, "component") << " of unknown type '" << printable(type) << "'\n";
    }
}

void Diagnostics::reportFailure(const std::string& subject, const std::string& reason) {
    m_stream << PROGRAM_PREFIX << printable(subject) << ": " << reason << '\n';
    m_hasFailures = true;
}

void Diagnostics::writeMessage(const LogRecord::Message& message) {
    if (message.isError()) {
        m_stream << "error: ";
    } else if (message.severity == LogSeverity::WARNING) {
        m_stream << "warning: ";
    } else if (m_isVerbose) {
        m_stream << "info: ";
    } else {
        return;
    }
    m_stream << lineOf(message.text);
    if (message.count > 1) {
        m_stream << " (" << message.count << " times)";
    }
    m_stream << '\n';
}

} // namespace Kiln::PrefabTool
