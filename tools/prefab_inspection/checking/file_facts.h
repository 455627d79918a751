#pragma once

#include <common/uuid.h>
#include <tessel_foundation/component.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// What the check of nesting needs to know of a game object.
struct ObjectFacts {
    Uuid uuid;
    Uuid parent;                 ///< Of the hierarchy component; zero if it names none.
    std::uint32_t elementOffset; ///< Of the object's element.
    std::uint32_t parentOffset;  ///< Of the element that names the parent, or of the object's element.
    bool isUuidReadable;
    bool hasHierarchy;
    bool hasPrefab;
    bool isInactive;

    [[nodiscard]] bool isRoot() const noexcept { return !hasHierarchy; }
    [[nodiscard]] bool isPoint() const noexcept { return hasHierarchy && hasPrefab; }
};

/// A component that names a nested prefab.
struct NestingFacts {
    std::uint32_t object;          ///< Index of the game object.
    std::uint32_t resourceOffset;  ///< Of the element that names the prefab, or of the component's item.
    std::uint32_t overridesOffset; ///< Of the element with the override data; 0 without one.
    std::string resource;
    std::string overrides;
};

/// A link that leads to no object of its own file, or that is a component's of an integration point.
struct LinkFacts {
    std::uint32_t object;
    std::uint32_t offset; ///< Of the element.
    Uuid target;
    std::string property; ///< "Component.property".
};

/// What a check keeps of a file that it has read.
struct FileFacts {
    enum class State {
        MISSING,
        OUTSIDE,
        UNREADABLE,
        BROKEN, ///< It was read, but the loader makes no game objects of it.
        LOADED,
    };

    static constexpr std::uint32_t NONE = std::numeric_limits<std::uint32_t>::max();

    State state = State::MISSING;
    std::string problem; ///< Why the file is OUTSIDE or UNREADABLE.
    std::size_t bytes = 0;
    std::uint64_t contentHash = 0;

    std::vector<ObjectFacts> objects;
    std::vector<std::uint32_t> byUuid; ///< Indices of the objects, in the order of their UUIDs.
    std::vector<std::pair<std::uint32_t, Tessel::ComponentTypeId>> components; ///< Object and type, sorted.
    std::uint32_t root = NONE;                                                 ///< The first root.
    bool hasRootTransform = false;                                             ///< One that moves the root.
    std::uint32_t rootTransformOffset = 0;
    std::vector<NestingFacts> nestings; ///< By ascending object.
    std::vector<LinkFacts> links;
    std::vector<std::string> candidates; ///< Paths that override data may put in the place of nested prefabs.

    /// The first object with that UUID; NONE if there is none.
    [[nodiscard]] std::uint32_t find(const Uuid& uuid) const;

    /// The indices of all objects with that UUID, ascending.
    [[nodiscard]] std::span<const std::uint32_t> findAll(const Uuid& uuid) const;

    /// The object that a link to that UUID leads to: of several, the first that is no integration point. `isNested`
    /// tells whether the prefab is nested, so that only its first root is created.
    [[nodiscard]] std::uint32_t findLinked(const Uuid& uuid, bool isNested) const;

    [[nodiscard]] bool hasComponent(std::uint32_t object, Tessel::ComponentTypeId type) const;

    /// The integration point's nesting; null for any other object.
    [[nodiscard]] const NestingFacts* point(std::uint32_t object) const;

private:
    [[nodiscard]] std::vector<std::uint32_t>::const_iterator lowerBound(const Uuid& uuid) const;
};

} // namespace Kiln::PrefabInspection
