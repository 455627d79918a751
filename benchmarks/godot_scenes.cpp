#include "godot_scenes.h"

#include <fstream>
#include <stdexcept>
#include <vector>

namespace Kiln::Benchmarks {

namespace {

constexpr int SCRIPT = 1; ///< Numbers of the resources that a scene refers to.
constexpr int NESTED_SCENE = 2;

/// The path from the root to the parent of each node: empty for the root, "." for its children, "A/B" further below.
[[nodiscard]] std::vector<std::string> parentPaths(const Nodes& nodes) {
    std::vector<std::string> paths(nodes.size());
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        const std::size_t parent = nodes[index].parent;
        if (parent == Node::NO_PARENT) {
            continue;
        }
        const std::string& above = paths[parent];
        paths[index] = parent == 0 ? "." : above == "." ? nodes[parent].name : above + "/" + nodes[parent].name;
    }
    return paths;
}

void writeTransform(std::ofstream& file, const Matrix& local) {
    file << "transform = Transform( 1, 0, 0, 0, 1, 0, 0, 0, 1, " << local.at(3, 0) << ", " << local.at(3, 1) << ", "
         << local.at(3, 2) << " )\n";
}

void writeScene(const Nodes& nodes, const std::filesystem::path& path, const std::string& nestedScene) {
    std::ofstream file(path);
    file << "[gd_scene load_steps=" << (nestedScene.empty() ? 2 : 3) << " format=2]\n\n"
         << "[ext_resource path=\"res://cargo.gd\" type=\"Script\" id=" << SCRIPT << "]\n";
    if (!nestedScene.empty()) {
        file << "[ext_resource path=\"res://" << nestedScene << "\" type=\"PackedScene\" id=" << NESTED_SCENE << "]\n";
    }
    const std::vector<std::string> parents = parentPaths(nodes);
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        const Node& node = nodes[index];
        file << "\n[node name=\"" << node.name << '"';
        if (node.nested.empty()) {
            file << " type=\"Spatial\"";
        }
        if (!parents[index].empty()) {
            file << " parent=\"" << parents[index] << '"';
        }
        if (!node.nested.empty()) {
            file << " instance=ExtResource( " << NESTED_SCENE << " )";
        }
        file << "]\n";
        writeTransform(file, node.local);
        if (node.nested.empty()) {
            file << "script = ExtResource( " << SCRIPT << " )\nlabel = \"" << node.label << "\"\nmass = " << node.mass
                 << "\nvolume = " << node.volume << '\n';
        }
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

} // namespace

void writeGodotScenes(const Workload& workload, const std::filesystem::path& directory) {
    std::string nestedScene;
    if (!workload.nested.empty()) {
        nestedScene = workload.name + "-nested.tscn";
        writeScene(workload.nested, directory / nestedScene, {});
    }
    writeScene(workload.nodes, directory / (workload.name + ".tscn"), nestedScene);
}

} // namespace Kiln::Benchmarks
