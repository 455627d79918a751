#pragma once

#include <common/uuid.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabMerging {

/// A property in override data: of which object and component.
struct OverrideKey {
    std::string object; ///< UUID in small letters.
    std::string component;
    std::string property;

    friend auto operator<=>(const OverrideKey&, const OverrideKey&) = default;
};

/// What a change or conflict is about, independent of positions in a text.
struct Place {
    enum class Kind {
        FILE,              ///< The whole text.
        PROLOG,            ///< The text before the root element.
        EPILOG,            ///< The text after the root element.
        ROOT_ELEMENT,      ///< An element or comment of the root.
        OBJECTS_ELEMENT,   ///< A comment or unknown element among the game objects.
        POOLS_ELEMENT,     ///< A comment among the pools.
        FIRST_OBJECT,      ///< Which game object is the first one.
        OBJECT,            ///< A game object with all its components.
        OBJECT_ELEMENT,    ///< An element of a game object, such as its name.
        POOL,              ///< A pool without its components.
        POOL_ELEMENT,      ///< An element of a pool, such as its version.
        COMPONENT,         ///< A component.
        COMPONENT_ELEMENT, ///< An element of a component, such as its options.
        PROPERTY,          ///< A property of a component, or a part of its override data.
    };

    Kind kind = Kind::FILE;
    std::optional<Uuid> object;         ///< Of objects and components.
    std::string component;              ///< Type of the component or pool.
    std::uint32_t componentNumber = 0;  ///< Among several of the type, from 0 on.
    std::string element;                ///< Name of the element or property; empty for a comment.
    std::uint32_t number = 0;           ///< Among several elements of the name, from 0 on.
    std::string comment;                ///< The comment itself.
    std::vector<OverrideKey> overrides; ///< Inside of the property's override data, and inside of that.

    friend auto operator<=>(const Place&, const Place&) = default;
};

/// Whether the places are the same or one of them is inside of the other.
[[nodiscard]] bool isRelated(const Place& first, const Place& second);

/// The name of a kind in JSON, such as "property"; and the kind of a name.
[[nodiscard]] const char* nameOf(Place::Kind kind);
[[nodiscard]] std::optional<Place::Kind> placeKind(const std::string& name);

/// The place in words, such as "LampComponent.brightness of 5b0f1c2e-…".
[[nodiscard]] std::string describe(const Place& place);

} // namespace Kiln::PrefabMerging
