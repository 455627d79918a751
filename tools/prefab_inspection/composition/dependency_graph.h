#pragma once

#include <prefab_inspection/composition/override_source.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabInspection {

/// Which prefab files nest which others, also through override data that makes an instance nest another file. A root
/// with a PrefabComponent nests nothing. Immutable; any thread.
class KILN_PREFAB_INSPECTION_EXPORT DependencyGraph {
public:
    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    struct File {
        std::string path; ///< Resource path.
        PrefabFile::Status status = PrefabFile::Status::READ;
        std::string problem;             ///< See PrefabFile.
        SourceRange problemRange;        ///< See PrefabFile.
        bool isTarget = false;           ///< Named by the caller.
        std::vector<std::size_t> uses;   ///< Indices of the edges that begin here, in the order of the file.
        std::vector<std::size_t> usedBy; ///< Indices of the edges that end here, ordered by file.
    };

    struct Edge {
        std::size_t user; ///< Index of the file that names the other one.
        std::size_t used;
        Place place;     ///< Where it is named. The text is the name of the integration point.
        bool isOverride; ///< Override data names it.
    };

    /// Called before each file is read, with the number of files that have been read and the path.
    using OnFile = std::function<void(std::size_t, const std::string&)>;

    /// Reads the targets and everything that they nest, each file once. A file that cannot be read stays without uses.
    explicit DependencyGraph(const std::vector<std::string>& targets, const OnFile& onFile = {});

    [[nodiscard]] const std::vector<File>& files() const noexcept { return m_files; } ///< Sorted by path.
    [[nodiscard]] const std::vector<Edge>& edges() const noexcept { return m_edges; }

    /// Index of a file; NONE if the graph does not have it.
    [[nodiscard]] std::size_t find(std::string_view path) const;

    /// Indices of the files that no other file nests.
    [[nodiscard]] std::vector<std::size_t> roots() const;

    /// Whether each file is one of those given or nested in one of them, at any depth.
    [[nodiscard]] std::vector<bool> reachable(const std::vector<std::size_t>& from) const;

    /// For each set of files that nest each other, the edges of a shortest cycle through its first file.
    [[nodiscard]] std::vector<std::vector<std::size_t>> cycles() const;

private:
    [[nodiscard]] std::vector<std::size_t> shortestCycle(std::size_t start,
                                                         const std::vector<std::size_t>& group) const;
    [[nodiscard]] std::vector<std::size_t> groups() const;
    void sort();

    std::vector<File> m_files;
    std::vector<Edge> m_edges;
};

} // namespace Kiln::PrefabInspection
