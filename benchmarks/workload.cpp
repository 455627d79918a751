#include "workload.h"

#include <charconv>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>

namespace Kiln::Benchmarks {

namespace {

class NodeSource {
public:
    explicit NodeSource(std::uint32_t seed) : m_random(seed) {}

    [[nodiscard]] Node make(std::size_t index, std::size_t parent) {
        Node node;
        node.uuid = Uuid(m_random(), m_random());
        node.name = "Object " + std::to_string(index);
        node.parent = parent;
        node.local = Matrix::translation(number(), number(), number());
        node.mass = number();
        node.volume = number();
        for (int i = 0; i < 40; ++i) {
            node.label += static_cast<char>('a' + m_random() % 26);
        }
        return node;
    }

private:
    /// A number of a few digits, as people write them.
    [[nodiscard]] float number() { return static_cast<float>(m_random() % 100000) / 100; }

    std::mt19937_64 m_random;
};

using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

[[nodiscard]] std::string text(float value) {
    std::string result(32, '\0');
    result.resize(static_cast<std::size_t>(std::to_chars(result.data(), result.data() + result.size(), value).ptr -
                                           result.data()));
    return result;
}

/// Writes one pool, with an item for each node that `properties` has a text for.
template <class Properties>
void writePool(std::FILE* file, const Nodes& nodes, const char* type, const Properties& properties) {
    std::fprintf(file, "\t\t<pool>\n\t\t\t<type>%s</type>\n\t\t\t<version>1</version>\n", type);
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        if (const std::string content = properties(nodes[index]); !content.empty()) {
            std::fprintf(file,
                         "\t\t\t<item>\n\t\t\t\t<gameObject>%zu</gameObject>\n\t\t\t\t<options>35</options>\n"
                         "\t\t\t\t<properties>\n%s\t\t\t\t</properties>\n\t\t\t</item>\n",
                         index, content.c_str());
        }
    }
    std::fputs("\t\t</pool>\n", file);
}

[[nodiscard]] std::string property(const char* name, const std::string& value) {
    return std::string("\t\t\t\t\t<") + name + ">" + value + "</" + name + ">\n";
}

} // namespace

Nodes makeTree(std::size_t count, std::uint32_t seed) {
    NodeSource source(seed);
    Nodes nodes;
    nodes.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        nodes.push_back(source.make(index, index == 0 ? Node::NO_PARENT : (index - 1) / 10));
    }
    return nodes;
}

Nodes makeNesting(std::size_t points, const std::string& path, std::uint32_t seed) {
    NodeSource source(seed);
    Nodes nodes{source.make(0, Node::NO_PARENT)};
    for (std::size_t index = 1; index <= points; ++index) {
        nodes.push_back(source.make(index, 0));
        nodes.back().nested = path;
    }
    return nodes;
}

void writePrefab(const Nodes& nodes, const std::filesystem::path& path) {
    const File file(std::fopen(path.c_str(), "w"), &std::fclose);
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
    std::fputs("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<prefab>\n\t<formatVersion>1</formatVersion>\n"
               "\t<gameObjects>\n",
               file.get());
    for (const Node& node : nodes) {
        std::fprintf(file.get(),
                     "\t\t<gameObject>\n\t\t\t<uuid>%s</uuid>\n\t\t\t<name>%s</name>\n\t\t\t<flags>0</flags>\n"
                     "\t\t</gameObject>\n",
                     node.uuid.toString().c_str(), node.name.c_str());
    }
    std::fputs("\t</gameObjects>\n\t<components>\n", file.get());
    writePool(file.get(), nodes, "HierarchyComponent", [&nodes](const Node& node) {
        return node.parent == Node::NO_PARENT ? "" : property("parent", nodes[node.parent].uuid.toString());
    });
    writePool(file.get(), nodes, "TransformComponent",
              [](const Node& node) { return property("local", node.local.toString()); });
    writePool(file.get(), nodes, "PrefabComponent", [](const Node& node) {
        return node.nested.empty() ? "" : property("resource", node.nested) + property("overridesData", node.overrides);
    });
    writePool(file.get(), nodes, "CargoComponent", [](const Node& node) {
        return node.nested.empty() ? property("label", node.label) + property("mass", text(node.mass)) +
                                         property("volume", text(node.volume))
                                   : "";
    });
    std::fputs("\t</components>\n</prefab>\n", file.get());
}

} // namespace Kiln::Benchmarks
