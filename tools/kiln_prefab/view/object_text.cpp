#include "object_text.h"

#include <utility>

namespace Kiln::PrefabTool {

using mirra::ValueKind;
using PrefabInspection::ComposedValue;
using PrefabInspection::Origin;
using PrefabInspection::Place;
using PrefabInspection::PrefabView;
using PrefabInspection::SourceRange;

namespace {

constexpr const char* FLAG_NAMES[] = {"inactive", "static", "hidden", "editor only", "do not save", "locked"};

void visitTexts(const ComposedValue& value, const std::string& path,
                const std::function<void(const std::string&, const std::string&)>& onValue) {
    if (value.kind == ValueKind::SCALAR || value.kind == ValueKind::LINK) {
        onValue(path, value.text);
        return;
    }
    const bool isVector = value.kind == ValueKind::VECTOR;
    if (value.children.empty()) {
        onValue(path, isVector ? "[]" : "{}");
    }
    for (std::size_t i = 0; i < value.children.size(); ++i) {
        const ComposedValue& child = value.children[i];
        visitTexts(child, isVector ? path + "[" + std::to_string(i) + "]" : path + "." + child.name, onValue);
    }
}

[[nodiscard]] OrderedJson valueJson(const ComposedValue& value) {
    if (value.kind == ValueKind::STRUCTURE) {
        return propertiesJson(value.children);
    }
    if (value.kind != ValueKind::VECTOR) {
        return value.text;
    }
    OrderedJson elements = OrderedJson::array();
    for (const ComposedValue& child : value.children) {
        elements.push_back(valueJson(child));
    }
    return elements;
}

void addOrigin(OrderedJson& json, const char* fileKey, const char* lineKey, const Origin& origin) {
    json[fileKey] = origin ? OrderedJson(*origin.file) : OrderedJson(nullptr);
    json[lineKey] = origin ? OrderedJson(origin.elementRange().line) : OrderedJson(nullptr);
}

[[nodiscard]] OrderedJson componentsJson(const PrefabView& view, std::size_t index, Detail detail) {
    OrderedJson list = OrderedJson::array();
    const std::vector<PrefabView::Component> components = view.components(index);
    for (std::size_t i = 0; i < components.size(); ++i) {
        const PrefabView::Component& component = components[i];
        if (detail == Detail::COMPONENTS) {
            list.push_back(component.type);
            continue;
        }
        OrderedJson json{{"type", component.type},
                         {"version", component.version},
                         {"options", component.options},
                         {"known", component.isKnown},
                         {"read", component.isRead}};
        addOrigin(json, "file", "line", component.origin);
        json["properties"] = propertiesJson(view.values(index, i));
        list.push_back(std::move(json));
    }
    return list;
}

[[nodiscard]] const char* positionName(PrefabView::Position position) {
    switch (position) {
    case PrefabView::Position::ROOT:
        return "root";
    case PrefabView::Position::CHILD:
        return "child";
    case PrefabView::Position::BELOW_NESTED:
        return "below nested";
    case PrefabView::Position::NO_PARENT:
        return "without parent";
    case PrefabView::Position::CYCLE:
        break;
    }
    return "cycle";
}

} // namespace

std::string placeText(const std::string& file, const SourceRange& range) {
    return range.line == 0 ? file : file + ":" + std::to_string(range.line);
}

std::string placeText(const Place& place) {
    return placeText(place.file, place.range);
}

std::string elementPlace(const Origin& origin) {
    return origin ? placeText(*origin.file, origin.elementRange()) : std::string();
}

std::string valuePlace(const Origin& origin) {
    return origin ? placeText(*origin.file, origin.valueRange()) : std::string();
}

std::vector<std::string> flagNames(std::uint32_t flags) {
    std::vector<std::string> names;
    std::uint32_t bit = 1;
    for (const char* const name : FLAG_NAMES) {
        if ((flags & bit) != 0) {
            names.emplace_back(name);
        }
        bit <<= 1U;
    }
    return names;
}

std::string flagsSuffix(std::uint32_t flags) {
    std::string text;
    for (const std::string& name : flagNames(flags)) {
        text += (text.empty() ? " (" : ", ") + name;
    }
    return text.empty() ? text : text + ")";
}

void forEachText(const std::vector<ComposedValue>& values,
                 const std::function<void(const std::string&, const std::string&)>& onValue) {
    for (const ComposedValue& value : values) {
        visitTexts(value, value.name, onValue);
    }
}

OrderedJson propertiesJson(const std::vector<ComposedValue>& values) {
    OrderedJson json = OrderedJson::object();
    for (const ComposedValue& value : values) {
        json[value.name] = valueJson(value);
    }
    return json;
}

OrderedJson objectJson(const PrefabView& view, std::size_t index, bool isComposed, Detail detail) {
    const PrefabView::Object object = view.object(index);
    OrderedJson json{{"index", index}, {"name", object.name}, {"uuid", object.uuid.toString()}};
    if (isComposed) {
        json["fileUuid"] = object.fileUuid.toString();
    }
    json["parent"] = object.parent == PrefabView::NONE ? OrderedJson(nullptr) : OrderedJson(object.parent);
    json["position"] = positionName(object.position);
    json["flags"] = flagNames(object.flags);
    json["nested"] = object.nested.empty() ? OrderedJson(nullptr) : OrderedJson(object.nested);
    addOrigin(json, "file", "line", object.origin);
    if (isComposed) {
        addOrigin(json, "rootFile", "rootLine", object.rootOrigin);
    } else {
        json["remark"] = object.remark.empty() ? OrderedJson(nullptr) : OrderedJson(object.remark);
    }
    if (detail != Detail::OBJECTS) {
        json["components"] = componentsJson(view, index, detail);
    }
    return json;
}

} // namespace Kiln::PrefabTool
