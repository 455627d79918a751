#pragma once

#include <common/uuid.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool::Test {

/// A UUID that is easy to tell from others.
[[nodiscard]] inline Uuid numbered(std::uint64_t number) {
    return {0, number};
}

/// Puts a prefab file's text together. Components of one type may be added in several goes: each makes a pool.
///
///     PrefabText().object(1, "Root").object(2, "Child").parent(1, 1).text()
class PrefabText {
public:
    PrefabText& version(std::string_view version) {
        m_version = version;
        return *this;
    }

    /// Appends a game object; its UUID is numbered(uuid), its index the number of those before it.
    PrefabText& object(std::uint64_t uuid, std::string_view name, unsigned flags = 0) {
        m_objects += element("gameObject", element("uuid", numbered(uuid).toString()) + element("name", name) +
                                               element("flags", std::to_string(flags)));
        return *this;
    }

    PrefabText& component(std::string_view type, std::string_view index, std::string_view properties = "") {
        m_pools += element("pool", element("type", type) + element("version", "1") +
                                       element("item", element("gameObject", index) + element("options", "35") +
                                                           element("properties", properties)));
        return *this;
    }

    PrefabText& component(std::string_view type, std::size_t index, std::string_view properties = "") {
        return component(type, std::to_string(index), properties);
    }

    /// Makes the object at `index` a child of the one with the UUID numbered(parentUuid).
    PrefabText& parent(std::size_t index, std::uint64_t parentUuid) {
        return component("HierarchyComponent", index, element("parent", numbered(parentUuid).toString()));
    }

    /// Nests a prefab at the object at `index`.
    PrefabText& nested(std::size_t index, std::string_view resource, std::string_view overridesData = "") {
        return component("PrefabComponent", index,
                         element("resource", resource) + element("overridesData", overridesData));
    }

    /// Anything else inside the document.
    PrefabText& raw(std::string_view xml) {
        m_rest += xml;
        return *this;
    }

    [[nodiscard]] std::string text() const {
        return element("prefab", element("formatVersion", m_version) + element("gameObjects", m_objects) +
                                     element("components", m_pools) + m_rest);
    }

    [[nodiscard]] static std::string element(std::string_view name, std::string_view content) {
        std::string text = "<";
        text.append(name).append(">").append(content).append("</").append(name).append(">");
        return text;
    }

private:
    std::string m_version = "1";
    std::string m_objects;
    std::string m_pools;
    std::string m_rest;
};

/// One object.
[[nodiscard]] inline std::string simplePrefab() {
    return PrefabText().object(1, "Root").text();
}

} // namespace Kiln::PrefabTool::Test
