#include "change_json.h"

#include <kiln_prefab/view/json_text.h>

#include <ostream>

namespace Kiln::PrefabTool {

using PrefabComparison::Change;
using PrefabComparison::ChangeKind;
using PrefabComparison::OverrideKey;

namespace {

[[nodiscard]] OrderedJson textOrNull(const std::optional<std::string>& text) {
    return text ? OrderedJson(*text) : OrderedJson(nullptr);
}

[[nodiscard]] OrderedJson textOrNull(const std::string& text) {
    return text.empty() ? OrderedJson(nullptr) : OrderedJson(text);
}

[[nodiscard]] OrderedJson numberOrNull(std::size_t number) {
    return number == 0 ? OrderedJson(nullptr) : OrderedJson(number);
}

[[nodiscard]] OrderedJson objectJson(const Change& change) {
    if (change.isObjectIndex) {
        return {{"uuid", nullptr}, {"path", nullptr}, {"missingIndex", change.objectPath}};
    }
    if (change.uuid.empty() && change.objectPath.empty()) {
        return nullptr;
    }
    return {{"uuid", change.uuid}, {"path", change.objectPath}, {"missingIndex", nullptr}};
}

[[nodiscard]] OrderedJson overridesJson(const Change& change) {
    OrderedJson list = OrderedJson::array();
    for (const OverrideKey& key : change.overrides) {
        list.push_back({{"object", key.object},
                        {"component", key.component},
                        {"property", textOrNull(key.property)},
                        {"occurrence", key.occurrence}});
    }
    return list;
}

/// The values of a component, or the component types of an object.
[[nodiscard]] OrderedJson contentJson(const Change& change) {
    OrderedJson list = OrderedJson::array();
    for (const auto& [name, value] : change.content) {
        if (change.kind == ChangeKind::COMPONENT_ADDED || change.kind == ChangeKind::COMPONENT_REMOVED) {
            list.push_back({{"property", name}, {"value", value}});
        } else if (change.kind != ChangeKind::OBJECT_MOVED) {
            list.push_back(name);
        }
    }
    return list;
}

[[nodiscard]] OrderedJson changeJson(const Change& change) {
    const bool isInherited = change.inheritance != Change::Inheritance::NONE;
    const bool isMove = change.kind == ChangeKind::OBJECT_MOVED;
    OrderedJson json{{"kind", (isInherited ? "inherited-" : "") + std::string(kindName(change.kind))},
                     {"object", objectJson(change)},
                     {"component", textOrNull(change.component)},
                     {"occurrence", change.occurrence},
                     {"overrides", overridesJson(change)},
                     {"property", textOrNull(change.property)},
                     {"before", textOrNull(change.before)},
                     {"after", textOrNull(change.after)},
                     {"beforePath", isMove ? textOrNull(change.content[0].second) : OrderedJson(nullptr)},
                     {"afterPath", isMove ? textOrNull(change.content[1].second) : OrderedJson(nullptr)},
                     {"content", contentJson(change)},
                     {"beforeLine", numberOrNull(change.lineBefore)},
                     {"afterLine", numberOrNull(change.lineAfter)}};
    json["from"] = nullptr;
    if (isInherited) {
        const bool isOverride = change.inheritance == Change::Inheritance::OVERRIDE;
        json["from"] = {{"file", change.source}, {"by", isOverride ? "override" : "nested-file"}};
    }
    return json;
}

} // namespace

void writeChangesJson(std::ostream& stream, const ComparedSides& sides, const std::vector<Change>& changes) {
    stream << R"({"schemaVersion":)" << DIFF_SCHEMA_VERSION << R"(,"before":)" << jsonText(sides.before)
           << R"(,"after":)" << jsonText(sides.after) << R"(,"composed":)" << jsonText(sides.isComposed)
           << R"(,"same":)" << jsonText(changes.empty()) << R"(,"changes":[)";
    const char* separator = "\n";
    for (const Change& change : changes) {
        stream << separator << jsonText(changeJson(change));
        separator = ",\n";
    }
    stream << (changes.empty() ? "]}\n" : "\n]}\n");
}

} // namespace Kiln::PrefabTool
