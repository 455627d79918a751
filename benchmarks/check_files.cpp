#include "check_files.h"

#include "workload_files.h"

#include <cstdint>
#include <filesystem>

namespace Kiln::Benchmarks {

namespace {

constexpr std::size_t LEVELS = 6;
constexpr std::size_t FILES_PER_FOLDER = 1000;
constexpr std::size_t FAN_OUT_FILES = 7;
constexpr std::size_t FAN_OUT = 8;
constexpr std::size_t FAN_OUT_OBJECTS = 2000;

/// A tree whose last objects nest prefabs.
[[nodiscard]] Nodes makeNestingTree(std::size_t objects, std::uint32_t seed, const std::vector<std::string>& nested) {
    Nodes nodes = makeTree(objects, seed);
    nodes.front().local = Matrix(); // Nesting ignores the transform of a root.
    for (std::size_t i = 0; i < nested.size() && i + 1 < objects; ++i) {
        nodes[objects - 1 - i].nested = nested[i];
    }
    return nodes;
}

[[nodiscard]] std::string pathOf(const std::string& folder, std::size_t file) {
    return folder + "/" + std::to_string(file / FILES_PER_FOLDER) + "/file" + std::to_string(file) + ".prefab";
}

void save(const Nodes& nodes, const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(filePath(path)).parent_path());
    writePrefab(nodes, filePath(path));
}

[[nodiscard]] std::string overridesOf(const Node& object) {
    return "&lt;overrides&gt;&lt;gameObject&gt;&lt;uuid&gt;" + object.uuid.toString() +
           "&lt;/uuid&gt;&lt;component&gt;&lt;type&gt;CargoComponent&lt;/type&gt;&lt;properties&gt;&lt;mass&gt;2"
           "&lt;/mass&gt;&lt;/properties&gt;&lt;/component&gt;&lt;/gameObject&gt;&lt;/overrides&gt;";
}

} // namespace

std::vector<std::string> writeFolder(const std::string& folder, std::size_t files, std::size_t objects) {
    const bool isWritten = std::filesystem::exists(filePath(folder));
    std::vector<std::string> paths;
    for (std::size_t file = 0; file < files; ++file) {
        paths.push_back(pathOf(folder, file));
        if (isWritten) {
            continue;
        }
        std::vector<std::string> nested;
        for (const std::size_t other : {file + 1, file + 1 + LEVELS}) {
            if (file % LEVELS + 1 < LEVELS && other < files) {
                nested.push_back(pathOf(folder, other));
            }
        }
        save(makeNestingTree(objects, static_cast<std::uint32_t>(file), nested), paths.back());
    }
    return paths;
}

std::vector<std::string> writeFanOut(const std::string& folder, bool isNested, bool hasOverrides) {
    std::vector<std::string> paths;
    std::string inner;
    Node overridden;
    for (std::size_t file = FAN_OUT_FILES; file-- > 0;) {
        const bool isInnermost = file + 1 == FAN_OUT_FILES;
        const std::vector<std::string> nested(isNested && !isInnermost ? FAN_OUT : 0, inner);
        Nodes nodes = makeNestingTree(FAN_OUT_OBJECTS, static_cast<std::uint32_t>(1000 + file), nested);
        for (Node& node : nodes) {
            if (hasOverrides && !node.nested.empty()) {
                node.overrides = overridesOf(overridden);
            }
        }
        overridden = nodes[1];
        inner = folder + "/level" + std::to_string(file) + ".prefab";
        save(nodes, inner);
        paths.insert(paths.begin(), inner);
    }
    return paths;
}

} // namespace Kiln::Benchmarks
