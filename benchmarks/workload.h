#pragma once

#include <common/matrix.h>
#include <common/uuid.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Kiln::Benchmarks {

/// One object of a document: hierarchy (but for the root), transform and, unless it nests a prefab, cargo.
struct Node {
    static constexpr std::size_t NO_PARENT = static_cast<std::size_t>(-1);

    Uuid uuid;
    std::string name;
    std::size_t parent = NO_PARENT; ///< Index of an earlier node.
    Matrix local;
    std::string label; ///< 40 characters.
    float mass = 0;
    float volume = 0;
    std::string nested;    ///< Path of the prefab that the node nests; empty for none.
    std::string overrides; ///< Escaped override data of a node that nests a prefab.
};

/// A prefab document, root first.
using Nodes = std::vector<Node>;

/// A tree in which each node has up to ten children, filled in breadth-first order. Equal for equal seeds.
[[nodiscard]] Nodes makeTree(std::size_t count, std::uint32_t seed);

/// A root with `points` children, each of which nests the prefab of that path.
[[nodiscard]] Nodes makeNesting(std::size_t points, const std::string& path, std::uint32_t seed);

/// Writes a document as a prefab file, in the layout of the library's own writer.
void writePrefab(const Nodes& nodes, const std::filesystem::path& file);

} // namespace Kiln::Benchmarks
