#include "target_paths.h"

#include "command_error.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view SUFFIX = ".prefab";

[[nodiscard]] bool exists(const std::string& name) {
    std::error_code error;
    return fs::exists(fs::symlink_status(name, error));
}

[[nodiscard]] bool isFolder(const std::string& name) {
    std::error_code error;
    return fs::is_directory(name, error);
}

[[noreturn]] void failOutside(const std::string& name) {
    throw CommandError("'" + name +
                       "' is outside of the resource roots; --root DIR adds DIR, and only files beneath a root are "
                       "read");
}

/// Appends a path to another one, which may be empty.
[[nodiscard]] std::string joined(const std::string& folder, const std::string& path) {
    return folder.empty() ? path : folder + "/" + path;
}

} // namespace

void TargetFinder::add(const std::string& name) {
    if (exists(name) && addExisting(name)) {
        return;
    }
    const std::string path = normalResourcePath(name);
    if (!name.starts_with('/') && !leadsAboveRoot(path) && addResource(path)) {
        return;
    }
    if (!exists(name) && !name.ends_with(SUFFIX)) {
        throw CommandError("'" + name + "' does not exist");
    }
    m_targets.paths.insert(resourcePath(name));
}

std::string TargetFinder::resourcePath(const std::string& name) const {
    const std::string path = normalResourcePath(name);
    const bool isResourcePath = !name.starts_with('/') && !leadsAboveRoot(path);
    const std::optional<ResourceRoots::Location> location = m_roots.locate(name);
    if (exists(name) && location) {
        return visiblePath(name, *location);
    }
    if (!isResourcePath && !location) {
        failOutside(name);
    }
    if (isResourcePath && exists(name) && !location) {
        failOutside(name);
    }
    return isResourcePath ? path : location->path;
}

/// Returns false for a file or folder outside of all roots.
bool TargetFinder::addExisting(const std::string& name) {
    const std::optional<ResourceRoots::Location> location = m_roots.locate(name);
    if (!location) {
        return false;
    }
    if (isFolder(name)) {
        addFolder(location->root, location->path);
    } else {
        m_targets.paths.insert(visiblePath(name, *location));
    }
    return true;
}

/// Returns false if no root has the path.
bool TargetFinder::addResource(const std::string& path) {
    bool isFound = false;
    for (std::size_t root = 0; root < m_roots.size(); ++root) {
        const std::string name = m_roots.fileName(root, path);
        if (isFolder(name)) {
            addFolder(root, path);
            isFound = true;
        } else if (exists(name)) {
            m_targets.paths.insert(path);
            isFound = true;
        }
    }
    return isFound;
}

void TargetFinder::addFolder(std::size_t root, const std::string& path) {
    if (path.empty()) {
        m_coveredRoots.insert(root);
    }
    std::vector<std::string> folders{path};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        std::error_code error;
        for (fs::directory_iterator entry(m_roots.fileName(root, folder), error), end; !error && entry != end;
             entry.increment(error)) {
            const std::string entryPath = joined(folder, entry->path().filename().string());
            std::error_code ignored; // A failure means that it is no folder.
            if (entry->is_directory(ignored)) {
                if (!entry->is_symlink(ignored)) {
                    folders.push_back(entryPath);
                }
            } else if (hasEnding(entryPath)) {
                m_targets.paths.insert(entryPath);
            }
        }
        if (error) {
            m_targets.problems.push_back("Cannot read the folder '" + folder + "': " + error.message());
        }
    }
}

bool TargetFinder::hasEnding(const std::string& path) const {
    return std::any_of(m_endings.begin(), m_endings.end(),
                       [&path](const std::string& ending) { return path.ends_with(ending); });
}

/// The resource path of a location. Throws if it leads to a file of an earlier root.
std::string TargetFinder::visiblePath(const std::string& name, const ResourceRoots::Location& location) const {
    const std::size_t visibleRoot = m_roots.rootOf(location.path);
    std::error_code error;
    if (visibleRoot < location.root && !fs::equivalent(m_roots.fileName(visibleRoot, location.path), name, error)) {
        throw CommandError("'" + name + "' is hidden by the file of the same path beneath '" +
                           m_roots.name(visibleRoot) + "', which is an earlier resource root");
    }
    return location.path;
}

Targets TargetFinder::take() {
    m_targets.coversRoots = m_coveredRoots.size() == m_roots.size();
    return std::move(m_targets);
}

} // namespace Kiln::PrefabTool
