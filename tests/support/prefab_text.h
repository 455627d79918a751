#pragma once

#include <common/uuid.h>
#include <resource/data_section.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Texts of prefab documents and override data, written without the code that reads them.
namespace Kiln::TestSupport {

/// The UUID whose lower half is `number` and whose upper half is zero.
[[nodiscard]] constexpr Uuid id(std::uint64_t number) {
    return {0, number};
}

/// `<name>text</name>`; the text is not escaped.
[[nodiscard]] inline std::string element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

/// A text in a CDATA section: override data inside a document.
[[nodiscard]] inline std::string cdata(const std::string& text) {
    return "<![CDATA[" + text + "]]>";
}

/// Builds the text of a prefab document. root(), child() and nested() add a game object with its components and return
/// its index; the other operations return the builder and can be chained.
///
///     PrefabText harbour;
///     harbour.root(id(1), "Harbour");
///     const std::size_t lamp = harbour.nested(id(2), "Lamp", id(1), "props/lamp.prefab");
///     harbour.component("TagComponent", lamp, element("tag", "lit"));
///     directory.writeFile("harbour.prefab", harbour.text());
///
///     PrefabText().object(id(1), "Harbour").object(id(2), "Lamp").parent(1, id(1)).nest(1, "props/lamp.prefab").text()
class PrefabText {
public:
    std::size_t root(const Uuid& uuid, const std::string& name = {}, unsigned flags = 0) {
        object(uuid, name, flags);
        return m_gameObjectsCount - 1;
    }

    std::size_t child(const Uuid& uuid, const std::string& name, const Uuid& parentUuid, unsigned flags = 0) {
        const std::size_t index = root(uuid, name, flags);
        parent(index, parentUuid);
        return index;
    }

    /// An integration point.
    std::size_t nested(const Uuid& uuid, const std::string& name, const Uuid& parentUuid, const std::string& resource,
                       const std::string& overridesData = {}, unsigned flags = 0) {
        const std::size_t index = child(uuid, name, parentUuid, flags);
        nest(index, resource, overridesData);
        return index;
    }

    /// Adds a game object without components; its index is the number of game objects before it.
    PrefabText& object(const Uuid& uuid, const std::string& name = {}, unsigned flags = 0) {
        m_gameObjects += element("gameObject", element("uuid", uuid.toString()) + element("name", name) +
                                                   element("flags", std::to_string(flags)));
        ++m_gameObjectsCount;
        return *this;
    }

    /// Makes the object at `index` a child of the object `parentUuid`.
    PrefabText& parent(std::size_t index, const Uuid& parentUuid) {
        return component("HierarchyComponent", index, element("parent", parentUuid.toString()));
    }

    /// Makes the object at `index` an integration point of a prefab.
    PrefabText& nest(std::size_t index, const std::string& resource, const std::string& overridesData = {}) {
        return component("PrefabComponent", index, prefabProperties(resource, overridesData));
    }

    /// The properties of a PrefabComponent.
    [[nodiscard]] static std::string prefabProperties(const std::string& resource,
                                                      const std::string& overridesData = {}) {
        return element("resource", resource) +
               element("overridesData", overridesData.empty() ? std::string() : cdata(overridesData));
    }

    /// Adds an item to the last pool of that type; the first item of a type starts its pool. `properties` is XML.
    PrefabText& component(const std::string& type, std::size_t gameObject, const std::string& properties = {},
                          std::optional<unsigned> options = std::nullopt) {
        return item(type, element("gameObject", std::to_string(gameObject)) +
                              (options ? element("options", std::to_string(*options)) : std::string()) +
                              element("properties", properties));
    }

    /// Adds an item with any content.
    PrefabText& item(const std::string& type, const std::string& content) {
        pool(type).items += element("item", content);
        return *this;
    }

    /// Starts another pool of that type, which gets the type's further items.
    PrefabText& newPool(const std::string& type) {
        m_pools.push_back({type, 1, {}});
        return *this;
    }

    /// Sets the version of the type's last pool, which is started if there is none. Without a version the pool has no
    /// version element.
    PrefabText& poolVersion(const std::string& type, std::optional<unsigned> version) {
        pool(type).version = version;
        return *this;
    }

    PrefabText& formatVersion(std::optional<unsigned> version) {
        m_formatVersion = version;
        return *this;
    }

    /// Adds XML at the end of the document, after the pools.
    PrefabText& raw(const std::string& xml) {
        m_rest += xml;
        return *this;
    }

    PrefabText& withoutGameObjectPool() {
        m_hasGameObjectPool = false;
        return *this;
    }

    [[nodiscard]] std::string text() const {
        std::string content;
        if (m_formatVersion) {
            content += element("formatVersion", std::to_string(*m_formatVersion));
        }
        if (m_hasGameObjectPool) {
            content += element("gameObjects", m_gameObjects);
        }
        if (!m_pools.empty()) {
            std::string pools;
            for (const Pool& pool : m_pools) {
                pools += element(
                    "pool", element("type", pool.type) +
                                (pool.version ? element("version", std::to_string(*pool.version)) : std::string()) +
                                pool.items);
            }
            content += element("components", pools);
        }
        return element("prefab", content + m_rest);
    }

    [[nodiscard]] SmartPointer<DataSection> section() const { return DataSection::fromText(text(), "test document"); }

private:
    struct Pool {
        std::string type;
        std::optional<unsigned> version;
        std::string items;
    };

    Pool& pool(const std::string& type) {
        const auto last =
            std::find_if(m_pools.rbegin(), m_pools.rend(), [&type](const Pool& pool) { return pool.type == type; });
        return last != m_pools.rend() ? *last : m_pools.emplace_back(Pool{type, 1, {}});
    }

    std::optional<unsigned> m_formatVersion = 1;
    bool m_hasGameObjectPool = true;
    std::string m_gameObjects;
    std::size_t m_gameObjectsCount = 0;
    std::vector<Pool> m_pools;
    std::string m_rest;
};

/// A document with one game object, id(1) with the name "Root".
[[nodiscard]] inline std::string simplePrefab() {
    return PrefabText().object(id(1), "Root").text();
}

/// Builds override data, one component record at a time.
///
///     OverridesText overrides;
///     overrides.record(id(2), "TagComponent", element("tag", "dim"));
class OverridesText {
public:
    OverridesText& record(const Uuid& object, const std::string& component, const std::string& properties) {
        m_records += element("gameObject",
                             element("uuid", object.toString()) +
                                 element("component", element("type", component) + element("properties", properties)));
        return *this;
    }

    [[nodiscard]] std::string text() const { return element("overrides", m_records); }

    /// For a property text inside a CDATA section, because CDATA sections do not nest.
    [[nodiscard]] std::string escapedText() const {
        std::string escaped;
        for (const char character : text()) {
            switch (character) {
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            default:
                escaped += character;
            }
        }
        return escaped;
    }

private:
    std::string m_records;
};

} // namespace Kiln::TestSupport
