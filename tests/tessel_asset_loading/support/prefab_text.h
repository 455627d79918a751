#pragma once

#include <common/uuid.h>
#include <resource/data_section.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Texts of prefab documents and override data, written without the code that reads them.
namespace Kiln::TestSupport {

/// `<name>text</name>`; the text goes in as it is.
[[nodiscard]] inline std::string element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

/// A text in a CDATA section: override data inside a document.
[[nodiscard]] inline std::string cdata(const std::string& text) {
    return "<![CDATA[" + text + "]]>";
}

/// Builds the text of a prefab document. Operations that add a game object return its index; the others return the
/// builder.
///
///     PrefabText harbour;
///     harbour.root(id(1), "Harbour");
///     const std::size_t lamp = harbour.nested(id(2), "Lamp", id(1), "props/lamp.prefab");
///     harbour.component("TagComponent", lamp, element("tag", "lit"));
///     directory.writeFile("harbour.prefab", harbour.text());
class PrefabText {
public:
    std::size_t root(const Uuid& uuid, const std::string& name = {}, unsigned flags = 0) {
        m_gameObjects += element("gameObject", element("uuid", uuid.toString()) + element("name", name) +
                                                   element("flags", std::to_string(flags)));
        return m_gameObjectsCount++;
    }

    std::size_t child(const Uuid& uuid, const std::string& name, const Uuid& parent, unsigned flags = 0) {
        const std::size_t index = root(uuid, name, flags);
        component("HierarchyComponent", index, element("parent", parent.toString()));
        return index;
    }

    /// An integration point.
    std::size_t nested(const Uuid& uuid, const std::string& name, const Uuid& parent, const std::string& resource,
                       const std::string& overridesData = {}, unsigned flags = 0) {
        const std::size_t index = child(uuid, name, parent, flags);
        component("PrefabComponent", index, prefabProperties(resource, overridesData));
        return index;
    }

    /// The properties of a PrefabComponent.
    [[nodiscard]] static std::string prefabProperties(const std::string& resource,
                                                      const std::string& overridesData = {}) {
        return element("resource", resource) +
               element("overridesData", overridesData.empty() ? std::string() : cdata(overridesData));
    }

    /// Adds an item to the pool of that type, which is made on first use. `properties` is the XML of the properties.
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

    /// Makes the pool of that type, when there is none, and sets its version; without a version the element is absent.
    PrefabText& poolVersion(const std::string& type, std::optional<unsigned> version) {
        pool(type).version = version;
        return *this;
    }

    PrefabText& formatVersion(std::optional<unsigned> version) {
        m_formatVersion = version;
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
        return element("prefab", content);
    }

    [[nodiscard]] SmartPointer<DataSection> section() const { return DataSection::fromText(text(), "test document"); }

private:
    struct Pool {
        std::string type;
        std::optional<unsigned> version;
        std::string items;
    };

    Pool& pool(const std::string& type) {
        for (Pool& existing : m_pools) {
            if (existing.type == type) {
                return existing;
            }
        }
        return m_pools.emplace_back(Pool{type, 1, {}});
    }

    std::optional<unsigned> m_formatVersion = 1;
    bool m_hasGameObjectPool = true;
    std::string m_gameObjects;
    std::size_t m_gameObjectsCount = 0;
    std::vector<Pool> m_pools;
};

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

    /// As a property text inside a property text, where a CDATA section cannot stand in another one.
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
