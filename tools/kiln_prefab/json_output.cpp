#include "json_output.h"

#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabTool {

namespace {

using Json = nlohmann::ordered_json;

[[nodiscard]] std::string toText(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

[[nodiscard]] Json toJson(const ObjectRecord& object) {
    return {{"name", object.name},
            {"uuid", object.uuid.toString()},
            {"parent", object.parent ? Json(*object.parent) : Json(nullptr)},
            {"active", object.isActive},
            {"components", object.components}};
}

} // namespace

// The lists are written element by element, because they can be too long to be held in memory twice.
void writeJson(std::ostream& stream, const InstanceRecord& record) {
    stream << R"({"prefab":)" << toText(record.prefab) << R"(,"instanceUuid":)"
           << toText(record.instanceUuid.toString()) << R"(,"frames":)" << record.frames << R"(,"objects":[)";
    const char* separator = "";
    for (const ObjectRecord& object : record.objects) {
        stream << separator << toText(toJson(object));
        separator = ",";
    }
    stream << R"(],"log":[)";
    std::vector<std::string> messages;
    for (const LogRecord::Message& message : record.log.messages) {
        messages.push_back(toText({{"severity", message.severity}, {"text", message.text}}));
    }
    separator = "";
    for (const std::uint32_t index : record.log.sequence) {
        stream << separator << messages[index];
        separator = ",";
    }
    stream << "]}\n";
}

} // namespace Kiln::PrefabTool
