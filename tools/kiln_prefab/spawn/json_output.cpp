#include "json_output.h"

#include "walk_messages.h"

#include <core/log.h>

#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

namespace {

using Json = nlohmann::ordered_json;

/// In ASCII, because JSON allows characters in a string that control a terminal, such as U+009B. Bytes that are not
/// UTF-8 become U+FFFD.
[[nodiscard]] std::string toText(const Json& value) {
    constexpr bool IS_ASCII = true;
    return value.dump(-1, ' ', IS_ASCII, Json::error_handler_t::replace);
}

[[nodiscard]] Json toJson(const Tessel::Streaming::LoadFailure& failure) {
    return {{"code", Tessel::Streaming::failureCodeName(failure.code)},
            {"file", failure.file},
            {"line", failure.line == 0 ? Json(nullptr) : Json(failure.line)},
            {"chain", failure.chain},
            {"message", failure.message}};
}

[[nodiscard]] Json toJson(const ObjectRecord& object) {
    return {{"name", object.name},
            {"uuid", object.uuid.toString()},
            {"parent", object.parent ? Json(*object.parent) : Json(nullptr)},
            {"active", object.isActive},
            {"components", object.components}};
}

/// Types that differ only in bytes that are not UTF-8 share a key, which has the sum of their counts.
[[nodiscard]] Json toJson(const std::map<std::string, std::size_t>& countsByType) {
    std::map<std::string, std::size_t> counts;
    for (const auto& [type, count] : countsByType) {
        counts[Json::parse(toText(type)).get<std::string>()] += count;
    }
    return Json(counts);
}

/// Whether the entry of the log's sequence is a depth message of the walks.
[[nodiscard]] bool isDepthMessageOfWalk(const LogRecord& log, std::size_t entry) {
    return !log.isOnMainThread[entry] && isDepthMessage(log.messages[log.sequence[entry]]);
}

/// One entry for all depth messages of the walks, since a log can have thousands of them that say nothing more.
[[nodiscard]] std::string foldedDepthMessages(const LogRecord& log) {
    std::size_t count = 0;
    for (std::size_t entry = 0; entry < log.sequence.size(); ++entry) {
        count += isDepthMessageOfWalk(log, entry) ? 1 : 0;
    }
    return toText({{"severity", LogSeverity::ERROR}, {"text", DEPTH_MESSAGE}, {"count", count}});
}

/// A member of the object, which only instances have that were loaded in steps.
void writeFailures(std::ostream& stream, const std::vector<Tessel::Streaming::LoadFailure>& failures) {
    stream << R"(,"failures":[)";
    const char* separator = "";
    for (const Tessel::Streaming::LoadFailure& failure : failures) {
        stream << separator << toText(toJson(failure));
        separator = ",";
    }
    stream << ']';
}

void writeLog(std::ostream& stream, const LogRecord& log) {
    std::vector<std::string> messages;
    for (const LogRecord::Message& message : log.messages) {
        messages.push_back(toText({{"severity", message.severity}, {"text", message.text}}));
    }
    bool hasFolded = false;
    const char* separator = "";
    for (std::size_t entry = 0; entry < log.sequence.size(); ++entry) {
        const bool isFolded = isDepthMessageOfWalk(log, entry);
        if (isFolded && hasFolded) {
            continue;
        }
        stream << separator << (isFolded ? foldedDepthMessages(log) : messages[log.sequence[entry]]);
        hasFolded = hasFolded || isFolded;
        separator = ",";
    }
}

} // namespace

// The lists are written element by element, because they can be too long to be held in memory twice.
void writeJson(std::ostream& stream, const InstanceRecord& record,
               const std::map<std::string, std::size_t>& skippedComponents) {
    stream << R"({"prefab":)" << toText(record.prefab) << R"(,"instanceUuid":)"
           << toText(record.instanceUuid.toString()) << R"(,"frames":)" << record.frames << R"(,"objects":[)";
    const char* separator = "";
    for (const ObjectRecord& object : record.objects) {
        stream << separator << toText(toJson(object));
        separator = ",";
    }
    stream << R"(],"log":[)";
    writeLog(stream, record.log);
    stream << ']';
    if (record.failures) {
        writeFailures(stream, *record.failures);
    }
    stream << R"(,"problem":)" << toText(record.problem.empty() ? Json(nullptr) : Json(record.problem))
           << R"(,"skippedComponents":)" << toText(toJson(skippedComponents)) << "}\n";
}

} // namespace Kiln::PrefabTool
