#include "place.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Kiln::PrefabMerging {

namespace {

constexpr std::array<const char*, 14> NAMES{
    "file",   "prolog",        "epilog", "rootElement", "objectsElement", "poolsElement",     "firstObject",
    "object", "objectElement", "pool",   "poolElement", "component",      "componentElement", "property"};

[[nodiscard]] std::string numbered(const std::string& name, std::uint32_t number) {
    return number == 0 ? name : name + "[" + std::to_string(number) + "]";
}

[[nodiscard]] std::string elementText(const Place& place) {
    return place.element.empty() ? "comment" : numbered(place.element, place.number);
}

[[nodiscard]] std::string ofObject(const Place& place) {
    return " of " + (place.object ? place.object->toString() : std::string());
}

[[nodiscard]] std::string overridesText(const Place& place) {
    std::string text;
    for (const OverrideKey& key : place.overrides) {
        text.append(", override of ").append(key.component).append(".").append(key.property);
        text.append(" of ").append(key.object);
    }
    return text;
}

/// Whether a place of a pool is inside of another place, or the same.
[[nodiscard]] bool isPoolInside(const Place& inner, const Place& outer) {
    const bool isWhole = outer.kind == Place::Kind::POOL;
    return inner.component == outer.component && inner.componentNumber == outer.componentNumber &&
           (isWhole || inner == outer);
}

[[nodiscard]] bool isPropertyInside(const Place& inner, const Place& outer) {
    return inner.element == outer.element && inner.number == outer.number &&
           inner.overrides.size() >= outer.overrides.size() &&
           std::equal(outer.overrides.begin(), outer.overrides.end(), inner.overrides.begin());
}

/// Whether a place of an object is inside of another place, or the same.
[[nodiscard]] bool isInsideOfObject(const Place& inner, const Place& outer) {
    if (inner.object != outer.object) {
        return false;
    }
    if (outer.kind == Place::Kind::OBJECT) {
        return true;
    }
    if (inner.component != outer.component || inner.componentNumber != outer.componentNumber) {
        return false;
    }
    if (outer.kind == Place::Kind::COMPONENT) {
        return true;
    }
    return inner.kind == Place::Kind::PROPERTY && outer.kind == inner.kind ? isPropertyInside(inner, outer)
                                                                           : inner == outer;
}

[[nodiscard]] bool isInside(const Place& inner, const Place& outer) {
    if (outer.kind == Place::Kind::FILE) {
        return true;
    }
    if (outer.object || inner.object) {
        return isInsideOfObject(inner, outer);
    }
    return outer.component.empty() && inner.component.empty() ? inner == outer : isPoolInside(inner, outer);
}

} // namespace

bool isRelated(const Place& first, const Place& second) {
    return isInside(first, second) || isInside(second, first);
}

const char* nameOf(Place::Kind kind) {
    return NAMES[static_cast<std::size_t>(kind)];
}

std::optional<Place::Kind> placeKind(const std::string& name) {
    for (std::size_t kind = 0; kind < NAMES.size(); ++kind) {
        if (name == NAMES[kind]) {
            return static_cast<Place::Kind>(kind);
        }
    }
    return std::nullopt;
}

std::string describe(const Place& place) {
    const std::string component = numbered(place.component, place.componentNumber);
    switch (place.kind) {
    case Place::Kind::FILE:
        return "the whole file";
    case Place::Kind::PROLOG:
        return "the text before the root element";
    case Place::Kind::EPILOG:
        return "the text after the root element";
    case Place::Kind::ROOT_ELEMENT:
        return elementText(place) + " of the document";
    case Place::Kind::OBJECTS_ELEMENT:
        return elementText(place) + " among the game objects";
    case Place::Kind::POOLS_ELEMENT:
        return elementText(place) + " among the pools";
    case Place::Kind::FIRST_OBJECT:
        return "the first game object";
    case Place::Kind::OBJECT:
        return "game object " + (place.object ? place.object->toString() : std::string());
    case Place::Kind::OBJECT_ELEMENT:
        return elementText(place) + ofObject(place);
    case Place::Kind::POOL:
        return "pool of " + component;
    case Place::Kind::POOL_ELEMENT:
        return elementText(place) + " of the pool of " + component;
    case Place::Kind::COMPONENT:
        return component + ofObject(place);
    case Place::Kind::COMPONENT_ELEMENT:
        return elementText(place) + " of " + component + ofObject(place);
    case Place::Kind::PROPERTY:
        return component + "." + elementText(place) + ofObject(place) + overridesText(place);
    }
    return {};
}

} // namespace Kiln::PrefabMerging
