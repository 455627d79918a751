#include "growth_files.h"

#include "workload_files.h"

#include <common/uuid.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

namespace Kiln::Benchmarks {

namespace {

[[nodiscard]] Uuid id(std::uint64_t number) {
    return {0x4000, number};
}

[[nodiscard]] std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

[[nodiscard]] std::string cdata(const std::string& text) {
    return "<![CDATA[" + text + "]]>";
}

/// A prefab file in the making.
class PrefabFile {
public:
    PrefabFile() { add(id(1)); }

    /// Adds an object and returns its index.
    std::size_t add(const Uuid& uuid) {
        m_objects += element("gameObject", element("uuid", uuid.toString()) + "<name>object</name>");
        return m_count++;
    }

    std::size_t addChild(const Uuid& uuid, const Uuid& parent) {
        const std::size_t index = add(uuid);
        addComponent("HierarchyComponent", index, element("parent", parent.toString()));
        return index;
    }

    /// Adds a child of the root that nests a prefab.
    void addPoint(const std::string& folder, const Uuid& uuid, const std::string& nested,
                  const std::string& overrides = {}) {
        addComponent("PrefabComponent", addChild(uuid, id(1)),
                     element("resource", folder + "/" + nested) + element("overridesData", cdata(overrides)));
    }

    void addComponent(const std::string& type, std::size_t index, const std::string& properties) {
        m_pools[type] += element("item", element("gameObject", std::to_string(index)) +
                                             (properties.empty() ? "" : element("properties", properties)));
    }

    void addPool(const std::string& type) { m_pools[type]; }

    void save(const std::string& folder, const std::string& name) const {
        const std::filesystem::path path = filePath(folder + "/" + name);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream file(path);
        file << "<prefab><formatVersion>1</formatVersion><gameObjects>" << m_objects << "</gameObjects><components>";
        for (const auto& [type, items] : m_pools) {
            file << "<pool><type>" << type << "</type>" << items << "</pool>";
        }
        file << "</components></prefab>\n";
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + path.string());
        }
    }

private:
    std::size_t m_count = 0;
    std::string m_objects;
    std::map<std::string, std::string> m_pools; ///< Items by component type.
};

void saveLeaf(const std::string& folder, const std::string& name = "leaf.prefab") {
    PrefabFile().save(folder, name);
}

[[nodiscard]] std::string overrides(const std::string& records) {
    return element("overrides", records);
}

[[nodiscard]] std::string record(const Uuid& object, const std::string& type, const std::string& properties = {}) {
    return element("gameObject", element("uuid", object.toString()) +
                                     element("component", element("type", type) + element("properties", properties)));
}

/// Records for objects that do not exist.
[[nodiscard]] std::string unusedRecords(std::size_t count) {
    std::string records;
    for (std::size_t i = 0; i < count; ++i) {
        records += record(id(1'000'000'000 + i), "T");
    }
    return records;
}

/// Instances of a prefab whose integration point has records for nobody.
void writeOverriddenPoints(const std::string& folder, std::size_t instances, std::size_t records) {
    PrefabFile top;
    for (std::size_t i = 0; i < instances; ++i) {
        top.addPoint(folder, id(2 + i), "middle.prefab");
    }
    top.save(folder, "top.prefab");
    PrefabFile middle;
    middle.addPoint(folder, id(2), "leaf.prefab", overrides(unusedRecords(records)));
    middle.save(folder, "middle.prefab");
    saveLeaf(folder);
}

void writeInstances(const std::string& folder, std::size_t scale) {
    writeOverriddenPoints(folder, 50 * scale, 500);
}

void writeRecords(const std::string& folder, std::size_t scale) {
    writeOverriddenPoints(folder, 50, 500 * scale);
}

/// An object whose overrides name many component types.
void writeOverriddenTypes(const std::string& folder, std::size_t scale) {
    std::string components;
    for (std::size_t i = 0; i < 400 * scale; ++i) {
        components += element("component", element("type", "T" + std::to_string(i)) + "<properties></properties>");
    }
    PrefabFile top;
    top.addPoint(folder, id(2), "leaf.prefab",
                 overrides(element("gameObject", element("uuid", id(1).toString()) + components)));
    top.save(folder, "top.prefab");
    saveLeaf(folder);
}

/// Integration points, each of which an outer record changes; the first one has many records of its own.
void writeOverriddenByOuter(const std::string& folder, std::size_t scale) {
    const std::size_t count = 100 * scale;
    std::string records;
    PrefabFile middle;
    for (std::size_t i = 0; i < count; ++i) {
        records += record(id(2 + i), "PrefabComponent", element("overridesData", "&lt;overrides/&gt;"));
        middle.addPoint(folder, id(2 + i), "leaf.prefab", i == 0 ? overrides(unusedRecords(count)) : "");
    }
    middle.save(folder, "middle.prefab");
    PrefabFile top;
    top.addPoint(folder, id(2), "middle.prefab", overrides(records));
    top.save(folder, "top.prefab");
    saveLeaf(folder);
}

/// Records whose UUIDs have the same value of (high ^ low) * GOLDEN + low, a hash without a key.
void writeHashFlood(const std::string& folder, std::size_t scale) {
    constexpr std::uint64_t INVERSE = 0xf1de83e19937733dULL; // Of 2^64 / golden ratio.
    std::string records;
    for (std::uint64_t low = 1; low <= 500 * scale; ++low) {
        records += record(Uuid(((12345 - low) * INVERSE) ^ low, low), "T");
    }
    PrefabFile top;
    top.addPoint(folder, id(2), "leaf.prefab", overrides(records));
    top.save(folder, "top.prefab");
    saveLeaf(folder);
}

/// The end of a chain gets children that have a child already.
void writeChainOfPairs(const std::string& folder, std::size_t scale) {
    const std::size_t count = 300 * scale;
    PrefabFile top;
    for (std::size_t i = 2; i <= count; ++i) {
        top.addChild(id(i), id(i - 1));
    }
    for (std::size_t i = 0; i < count; ++i) {
        top.addChild(id(1'000'000'000 + i), id(2'000'000'000 + i));
        top.addChild(id(2'000'000'000 + i), id(count));
    }
    top.save(folder, "top.prefab");
}

/// The chain with its deepest object first.
void writeChainFromItsEnd(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 500 * scale; i > 1; --i) {
        top.addChild(id(i), id(i - 1));
    }
    top.save(folder, "top.prefab");
}

/// Beside the root, each object is the parent of the one before it, and the first that of the last.
void writeCycle(const std::string& folder, std::size_t scale) {
    const std::size_t count = 500 * scale;
    PrefabFile top;
    for (std::size_t i = 0; i < count; ++i) {
        top.addChild(id(2 + i), id(2 + (i + 1) % count));
    }
    top.save(folder, "top.prefab");
}

void writeSiblings(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 2; i <= 500 * scale; ++i) {
        top.addChild(id(i), id(1));
    }
    top.save(folder, "top.prefab");
}

/// Parents that do not exist, beside many different nested roots.
void writeDanglingLinks(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 0; i < 5 * scale; ++i) {
        const std::string leaf = "leaf" + std::to_string(i) + ".prefab";
        saveLeaf(folder, leaf);
        top.addPoint(folder, id(2 + i), leaf);
    }
    for (std::size_t i = 0; i < 200 * scale; ++i) {
        top.addChild(id(1'000'000'000 + i), id(2'000'000'000 + i));
    }
    top.save(folder, "top.prefab");
}

/// Nested roots that get the UUIDs of plain objects.
void writeConflicts(const std::string& folder, std::size_t scale) {
    const std::size_t count = 100 * scale;
    PrefabFile top;
    for (std::size_t i = 0; i < count; ++i) {
        top.addChild(Uuid::combine(id(1'000'000'000 + i), id(1)), id(1));
    }
    for (std::size_t i = 0; i < count; ++i) {
        top.addPoint(folder, id(1'000'000'000 + i), "leaf.prefab");
    }
    top.save(folder, "top.prefab");
    saveLeaf(folder);
}

void writeComponentsOfOneType(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 0; i < 500 * scale; ++i) {
        top.addComponent("TransformComponent", 0, "");
    }
    top.save(folder, "top.prefab");
}

void writePools(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 0; i < 500 * scale; ++i) {
        top.addPool("T" + std::to_string(i));
    }
    top.save(folder, "top.prefab");
}

void writeMalformedValues(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 0; i < 300 * scale; ++i) {
        top.addComponent("TransformComponent", top.addChild(id(2 + i), id(1)), element("local", "x"));
    }
    top.save(folder, "top.prefab");
}

constexpr GrowthCase CASES[] = {
    {"instances with overrides", &writeInstances},
    {"override records of instances", &writeRecords},
    {"overridden component types", &writeOverriddenTypes},
    {"overrides of overrides", &writeOverriddenByOuter},
    {"UUIDs with one hash", &writeHashFlood},
    {"pairs below a chain", &writeChainOfPairs},
    {"chain", &writeChain},
    {"chain from its end", &writeChainFromItsEnd},
    {"cycle", &writeCycle},
    {"siblings", &writeSiblings},
    {"dangling links beside nested roots", &writeDanglingLinks},
    {"conflicts of UUIDs", &writeConflicts},
    {"components of one type", &writeComponentsOfOneType},
    {"pools", &writePools},
    {"malformed values", &writeMalformedValues},
};

} // namespace

void writeChain(const std::string& folder, std::size_t scale) {
    PrefabFile top;
    for (std::size_t i = 2; i <= 500 * scale; ++i) {
        top.addChild(id(i), id(i - 1));
    }
    top.save(folder, "top.prefab");
}

std::span<const GrowthCase> growthCases() {
    return CASES;
}

} // namespace Kiln::Benchmarks
