#pragma once

#include "resource_roots.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// The prefabs that a check begins with.
struct Targets {
    std::set<std::string> paths; ///< Resource paths.
    bool coversRoots = false;    ///< Whether every prefab beneath the roots is among them.

    /// Folders that could not be read, as sentences without full stop.
    std::vector<std::string> problems;
};

/// Converts the files and folders that a user names to resource paths.
///
/// A name that exists in the file system stands for the resource beneath the root that contains it. Any other name is
/// looked up as a resource path. A name that ends in ".prefab" and exists nowhere is a target nevertheless, because a
/// missing prefab is a finding. A folder stands for all files beneath it whose names have one of the endings, usually
/// ".prefab" alone; links to other folders are not followed.
class TargetFinder {
public:
    explicit TargetFinder(const ResourceRoots& roots, std::vector<std::string> endings = {".prefab"})
        : m_roots(roots), m_endings(std::move(endings)) {}

    /// Adds a file or folder. Throws CommandError for a folder that does not exist, a path outside of all roots, and a
    /// file that another root hides.
    void add(const std::string& name);

    /// The resource path of a file that need not exist.
    [[nodiscard]] std::string resourcePath(const std::string& name) const;

    [[nodiscard]] Targets take();

private:
    [[nodiscard]] bool addExisting(const std::string& name);
    [[nodiscard]] bool addResource(const std::string& path);
    void addFolder(std::size_t root, const std::string& path);
    [[nodiscard]] std::string visiblePath(const std::string& name, const ResourceRoots::Location& location) const;

    [[nodiscard]] bool hasEnding(const std::string& path) const;

    const ResourceRoots& m_roots;
    std::vector<std::string> m_endings;
    Targets m_targets;
    std::set<std::size_t> m_coveredRoots;
};

} // namespace Kiln::PrefabTool
