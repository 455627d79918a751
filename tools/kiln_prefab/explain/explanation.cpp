#include "explanation.h"

#include <core/printable_text.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/view/layer_names.h>
#include <kiln_prefab/view/object_text.h>

#include <functional>
#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

using mirra::ValueKind;
using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::Place;
using PrefabInspection::ValueLayer;

namespace {

using OnValue = std::function<void(const std::string& path, const ComposedValue& value)>;

/// Visits the values that have layers of their own to show: texts and vectors.
void visitLayered(const ComposedValue& value, const std::string& path, const OnValue& onValue) {
    const bool isVector = value.kind == ValueKind::VECTOR;
    if (value.kind != ValueKind::STRUCTURE) {
        onValue(path, value);
    }
    for (std::size_t i = 0; i < value.children.size(); ++i) {
        const ComposedValue& child = value.children[i];
        visitLayered(child, isVector ? path + "[" + std::to_string(i) + "]" : path + "." + child.name, onValue);
    }
}

void forEachLayered(const ExplainedComponent& component, const OnValue& onValue) {
    for (const ComposedValue& value : component.values) {
        visitLayered(value, component.prefix.empty() ? value.name : component.prefix, onValue);
    }
}

[[nodiscard]] std::string layerText(const ComposedValue& value, const ValueLayer& layer) {
    if (value.kind != ValueKind::VECTOR) {
        return layer.text.empty() ? "(empty)" : shortenedText(layer.text);
    }
    if (layer.text.empty()) {
        return "a vector";
    }
    return layer.text + (layer.text == "1" ? " element" : " elements");
}

/// What an unsuccessful layer's line ends with.
[[nodiscard]] const char* effectRemark(ValueLayer::Effect effect) {
    switch (effect) {
    case ValueLayer::Effect::WINS:
    case ValueLayer::Effect::OVERRIDDEN:
        return "";
    case ValueLayer::Effect::UNREADABLE:
        return " (unreadable, ignored)";
    case ValueLayer::Effect::REPLACED:
        break;
    }
    return " (no effect: outer override data replaces this text as a whole)";
}

[[nodiscard]] std::string linkTarget(const Composition& composition, std::size_t object, const ComposedValue& value) {
    const std::optional<Uuid> uuid = Uuid::fromString(value.text);
    if (value.kind != ValueKind::LINK || !uuid) {
        return {};
    }
    const std::size_t target = composition.resolveLink(object, *uuid);
    return target == Composition::NONE ? std::string() : composition.path(target);
}

[[nodiscard]] OrderedJson placeJson(const std::string& file, std::size_t line, std::size_t column) {
    return {{"file", file}, {"line", line}, {"column", column}};
}

[[nodiscard]] OrderedJson placeJson(const Place& place) {
    OrderedJson json = placeJson(place.file, place.range.line, place.range.column);
    json["name"] = place.text;
    return json;
}

[[nodiscard]] OrderedJson layerJson(const ValueLayer& layer) {
    OrderedJson json{{"kind", layerKindName(layer.kind)}, {"effect", layerEffectName(layer.effect)}};
    if (layer.origin) {
        const PrefabInspection::SourceRange range = layer.origin.valueRange();
        json.update(placeJson(*layer.origin.file, range.line, range.column));
    }
    json["text"] = layer.text;
    return json;
}

void writeChain(std::ostream& stream, const Composition& composition, std::size_t object) {
    for (const Place& point : composition.chain(object)) {
        stream << "    nested at  " << printable(point.text + " (" + placeText(point) + ")") << '\n';
    }
}

} // namespace

void writeObjectText(std::ostream& stream, const Composition& composition, std::size_t object) {
    stream << printable(composition.path(object)) << '\n';
    stream << "    from       " << printable(elementPlace(composition.origin(object)));
    if (const PrefabInspection::Origin root = composition.rootOrigin(object)) {
        stream << " and " << printable(elementPlace(root));
    }
    stream << '\n';
    writeChain(stream, composition, object);
    stream << "    file UUID  " << composition.pointUuid(object).toString() << '\n';
    stream << "    live UUID  " << composition.objects()[object].uuid.toString() << '\n';
    const std::vector<Composition::UuidStep> steps = composition.uuidSteps(object);
    stream << "UUID\n    " << steps.front().first.toString() << "  instance of "
           << printable(composition.instances().front().file->path) << '\n';
    for (const Composition::UuidStep& step : steps) {
        stream << "    " << step.result.toString() << "  combined with " << step.second.toString() << ", "
               << printable(step.place.text + " (" + placeText(step.place) + ")") << '\n';
    }
    stream << "Components\n";
    for (const Composition::Component& component : composition.components(object)) {
        const std::string place =
            component.stored ? elementPlace(component.file->originOf(component.stored->item->element)) : "loading";
        const std::string type =
            component.stored ? component.stored->pool->type : PrefabInspection::NestingTypes::get().prefabName;
        stream << "    " << printable(type) << " from " << printable(place) << '\n';
    }
}

OrderedJson objectExplanationJson(const Composition& composition, std::size_t object) {
    OrderedJson json{{"path", composition.path(object)},
                     {"uuid", composition.objects()[object].uuid.toString()},
                     {"fileUuid", composition.pointUuid(object).toString()}};
    const PrefabInspection::Origin origin = composition.origin(object);
    json["origin"] = placeJson(*origin.file, origin.elementRange().line, origin.elementRange().column);
    const PrefabInspection::Origin root = composition.rootOrigin(object);
    json["rootOrigin"] =
        root ? placeJson(*root.file, root.elementRange().line, root.elementRange().column) : OrderedJson(nullptr);
    json["chain"] = OrderedJson::array();
    for (const Place& point : composition.chain(object)) {
        json["chain"].push_back(placeJson(point));
    }
    json["steps"] = OrderedJson::array();
    for (const Composition::UuidStep& step : composition.uuidSteps(object)) {
        json["steps"].push_back({{"first", step.first.toString()},
                                 {"second", step.second.toString()},
                                 {"result", step.result.toString()},
                                 {"place", placeJson(step.place)}});
    }
    json["components"] = OrderedJson::array();
    for (const Composition::Component& component : composition.components(object)) {
        json["components"].push_back(component.stored ? component.stored->pool->type
                                                      : PrefabInspection::NestingTypes::get().prefabName);
    }
    return json;
}

void writeValuesText(std::ostream& stream, const Composition& composition, std::size_t object,
                     const ExplainedComponent& component) {
    forEachLayered(component, [&](const std::string& path, const ComposedValue& value) {
        stream << printable(component.type + "." + path);
        if (value.kind != ValueKind::VECTOR) {
            stream << " = " << printable(shortenedText(value.text));
        }
        const std::string target = linkTarget(composition, object, value);
        stream << (target.empty() ? "" : " (" + printable(target) + ")") << '\n';
        for (const ValueLayer& layer : value.layers) {
            std::string line = layer.effect == ValueLayer::Effect::WINS ? "  * " : "    ";
            line += layerKindName(layer.kind);
            line += layer.origin ? " " + valuePlace(layer.origin) : std::string();
            line += ": " + layerText(value, layer) + effectRemark(layer.effect);
            stream << printable(line) << '\n';
        }
    });
}

OrderedJson valuesJson(const Composition& composition, std::size_t object, const ExplainedComponent& component) {
    OrderedJson list = OrderedJson::array();
    forEachLayered(component, [&](const std::string& path, const ComposedValue& value) {
        OrderedJson json{{"component", component.type}, {"property", path}};
        json["text"] = value.kind == ValueKind::VECTOR ? OrderedJson(nullptr) : OrderedJson(value.text);
        const std::string target = linkTarget(composition, object, value);
        json["target"] = target.empty() ? OrderedJson(nullptr) : OrderedJson(target);
        json["layers"] = OrderedJson::array();
        for (const ValueLayer& layer : value.layers) {
            json["layers"].push_back(layerJson(layer));
        }
        list.push_back(std::move(json));
    });
    return list;
}

} // namespace Kiln::PrefabTool
