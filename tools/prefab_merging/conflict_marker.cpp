#include "conflict_marker.h"

#include "uuid_element.h"

#include <prefab_inspection/checking/conflict_comment.h>
#include <prefab_inspection/documents/prefab_document.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

namespace Kiln::PrefabMerging {

namespace {

using Json = nlohmann::ordered_json;
using PrefabInspection::CONFLICT_COMMENT;

constexpr int VERSION = 1;
constexpr std::string_view END = "-->";

/// Marks a text that is not UTF-8, which JSON can't hold, and is followed by its bytes in hexadecimal digits.
constexpr const char* BYTES = "bytes";

[[nodiscard]] std::string hexadecimal(const std::string& text) {
    constexpr const char* DIGITS = "0123456789abcdef";
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        result += DIGITS[byte >> 4U];
        result += DIGITS[byte & 0xFU];
    }
    return result;
}

[[nodiscard]] std::string fromHexadecimal(const std::string& digits) {
    std::string result;
    for (std::size_t index = 0; index + 1 < digits.size(); index += 2) {
        result += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
    }
    return result;
}

[[nodiscard]] Json valueJson(const std::optional<std::string>& value) {
    if (!value) {
        return nullptr;
    }
    try {
        Json json = *value;
        static_cast<void>(json.dump()); // Throws unless the text is UTF-8.
        return json;
    } catch (const Json::exception&) {
        return {{BYTES, hexadecimal(*value)}};
    }
}

[[nodiscard]] std::optional<std::string> readValue(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return json.is_object() ? fromHexadecimal(json.at(BYTES).get<std::string>()) : json.get<std::string>();
}

[[nodiscard]] Json placeJson(const Place& place) {
    Json json{{"kind", nameOf(place.kind)}};
    const auto add = [&json](const char* key, const std::string& text) {
        if (!text.empty()) {
            json[key] = *valueJson(text).get_ptr<const std::string*>();
        }
    };
    add("object", place.object ? place.object->toString() : std::string());
    add("component", place.component);
    add("element", place.element);
    if (!place.comment.empty()) {
        json["comment"] = valueJson(place.comment);
    }
    if (place.componentNumber != 0) {
        json["componentNumber"] = place.componentNumber;
    }
    if (place.number != 0) {
        json["number"] = place.number;
    }
    for (const OverrideKey& key : place.overrides) {
        json["overrides"].push_back({{"object", key.object}, {"component", key.component}, {"property", key.property}});
    }
    return json;
}

[[nodiscard]] Place readPlace(const Json& json) {
    Place place;
    const std::optional<Place::Kind> kind = placeKind(json.at("kind").get<std::string>());
    const std::string object = json.value("object", std::string());
    place.object = Uuid::fromString(object);
    if (!kind || (!object.empty() && !place.object)) {
        throw std::runtime_error("unknown place");
    }
    place.kind = *kind;
    place.component = json.value("component", std::string());
    place.componentNumber = json.value("componentNumber", 0U);
    place.element = json.value("element", std::string());
    place.number = json.value("number", 0U);
    if (json.contains("comment")) {
        place.comment = readValue(json.at("comment")).value_or(std::string());
    }
    if (json.contains("overrides")) {
        for (const Json& key : json.at("overrides")) {
            place.overrides.push_back({key.at("object").get<std::string>(), key.at("component").get<std::string>(),
                                       key.at("property").get<std::string>()});
        }
    }
    const bool needsObject = place.kind == Place::Kind::OBJECT || place.kind == Place::Kind::OBJECT_ELEMENT ||
                             place.kind == Place::Kind::COMPONENT || place.kind == Place::Kind::COMPONENT_ELEMENT ||
                             place.kind == Place::Kind::PROPERTY;
    if (needsObject && !place.object) {
        throw std::runtime_error("place without object");
    }
    return place;
}

/// Whether a value is one element or comment that a place of this kind can have.
[[nodiscard]] bool isElementFor(const Place& place, const MarkupTree& tree) {
    const std::string& name = place.overrides.empty() ? place.element : place.overrides.back().property;
    return tree.tops().size() == 1 && tree.node(0).name == (name.empty() ? MarkupNode::COMMENT : name);
}

/// Whether a value is a pool, which has an item if it stands for a component.
[[nodiscard]] bool isPool(const MarkupTree& tree, const MarkupNode& pool, bool hasItem) {
    namespace ElementName = PrefabInspection::ElementName;
    return pool.name == ElementName::POOL && tree.child(pool, ElementName::TYPE) &&
           (tree.child(pool, ElementName::ITEM) != nullptr) == hasItem;
}

/// Whether a value is a game object with a pool for each of its components.
[[nodiscard]] bool isObject(const MarkupTree& tree) {
    namespace ElementName = PrefabInspection::ElementName;
    return !tree.tops().empty() && tree.node(tree.tops().front()).name == ElementName::GAME_OBJECT &&
           std::all_of(tree.tops().begin() + 1, tree.tops().end(),
                       [&tree](std::uint32_t top) { return isPool(tree, tree.node(top), true); });
}

/// Throws unless the value can be put at the place.
void requireValueFor(const Place& place, const std::optional<std::string>& value) {
    const bool isText =
        place.kind == Place::Kind::FILE || place.kind == Place::Kind::PROLOG || place.kind == Place::Kind::EPILOG;
    if (!value || isText) {
        return;
    }
    const MarkupTree tree(*value);
    const bool isOnePool = tree.tops().size() == 1;
    const bool isValid = place.kind == Place::Kind::OBJECT         ? isObject(tree)
                         : place.kind == Place::Kind::COMPONENT    ? isOnePool && isPool(tree, tree.node(0), true)
                         : place.kind == Place::Kind::POOL         ? isOnePool && isPool(tree, tree.node(0), false)
                         : place.kind == Place::Kind::FIRST_OBJECT ? uuidOfElement(*value).has_value()
                                                                   : isElementFor(place, tree);
    if (!isValid) {
        throw std::runtime_error("unknown value");
    }
}

[[nodiscard]] std::optional<Conflict> readMarker(std::string_view comment) {
    comment.remove_suffix(END.size());
    try {
        const Json json = Json::parse(PrefabInspection::conflictText(comment).value_or(std::string_view()));
        if (json.at("version").get<int>() != VERSION) {
            return std::nullopt;
        }
        Conflict conflict;
        conflict.place = readPlace(json.at("place"));
        conflict.reason = json.at("reason").get<std::string>();
        conflict.base = readValue(json.at("base"));
        conflict.ours = readValue(json.at("ours"));
        conflict.theirs = readValue(json.at("theirs"));
        requireValueFor(conflict.place, conflict.theirs);
        return conflict;
    } catch (const std::exception&) { // Of the JSON library or of the standard library: somebody has edited it.
        return std::nullopt;
    }
}

} // namespace

std::string markerText(const Conflict& conflict) {
    const Json json{{"version", VERSION},
                    {"place", placeJson(conflict.place)},
                    {"reason", conflict.reason},
                    {"base", valueJson(conflict.base)},
                    {"ours", valueJson(conflict.ours)},
                    {"theirs", valueJson(conflict.theirs)}};
    constexpr bool IS_ASCII = true;
    const std::string text = json.dump(-1, ' ', IS_ASCII, Json::error_handler_t::replace);
    std::string result(CONFLICT_COMMENT);
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool isSecondHyphen = text[index] == '-' && index > 0 && text[index - 1] == '-';
        if (isSecondHyphen) {
            result += "\\u002d"; // Hyphens are only inside of strings and numbers, and numbers have one.
        } else {
            result += text[index];
        }
    }
    return result.append(" ").append(END);
}

std::vector<ConflictMarker> findMarkers(std::string_view text) {
    std::vector<ConflictMarker> markers;
    for (const auto& [begin, end] : PrefabInspection::conflictComments(text)) {
        const Range range{begin, end};
        if (std::optional<Conflict> conflict = readMarker(part(text, range))) {
            markers.push_back({std::move(*conflict), range});
        }
    }
    return markers;
}

std::vector<Range> findUnreadableMarkers(std::string_view text) {
    std::vector<Range> ranges;
    for (const auto& [begin, end] : PrefabInspection::conflictComments(text)) {
        const Range range{begin, end};
        if (!readMarker(part(text, range))) {
            ranges.push_back(range);
        }
    }
    return ranges;
}

} // namespace Kiln::PrefabMerging
