#include "resource_roots.h"

#include <system_error>

namespace Kiln::PrefabTool {

namespace {

namespace fs = std::filesystem;

/// A path without '/' at its end, so that comparisons by component work.
[[nodiscard]] fs::path withoutEnd(const fs::path& path) {
    return path.has_filename() || path == path.root_path() ? path : path.parent_path();
}

/// The path relative to a directory that contains it.
[[nodiscard]] std::optional<std::string> relativeTo(const fs::path& path, const fs::path& directory) {
    if (directory.empty() || path.empty()) {
        return std::nullopt;
    }
    const std::string relative = path.lexically_relative(directory).string();
    if (relative.empty() || leadsAboveRoot(relative)) {
        return std::nullopt;
    }
    return relative == "." ? std::string() : relative;
}

[[nodiscard]] bool hasParentStep(const fs::path& path) {
    for (const fs::path& component : path) {
        if (component == "..") {
            return true;
        }
    }
    return false;
}

/// An absolute path without links in it; only its last component may be one. Empty on failure.
[[nodiscard]] fs::path withCanonicalFolder(const fs::path& absolute) {
    std::error_code error;
    const bool endsInName = absolute.has_filename() && absolute.filename() != ".." && absolute.filename() != ".";
    const fs::path folder = fs::weakly_canonical(endsInName ? absolute.parent_path() : absolute, error);
    if (error) {
        return {};
    }
    return endsInName ? folder / absolute.filename() : withoutEnd(folder);
}

} // namespace

ResourceRoots::ResourceRoots(const std::vector<std::string>& names) {
    for (const std::string& name : names.empty() ? std::vector<std::string>{"."} : names) {
        Root root;
        root.name = name.empty() ? "." : name;
        std::error_code error;
        root.absolute = withoutEnd(fs::absolute(root.name, error).lexically_normal());
        root.canonical = fs::canonical(root.name, error);
        m_roots.push_back(std::move(root));
    }
}

std::size_t ResourceRoots::rootOf(const std::string& resourcePath) const {
    for (std::size_t root = 0; m_roots.size() > 1 && root < m_roots.size(); ++root) {
        std::error_code error;
        if (fs::is_regular_file(fileName(root, resourcePath), error)) {
            return root;
        }
    }
    return 0;
}

std::string ResourceRoots::fileName(std::size_t root, const std::string& resourcePath) const {
    if (resourcePath.starts_with('/')) {
        return resourcePath;
    }
    const std::string& name = m_roots[root].name;
    if (name == ".") {
        return resourcePath.empty() ? name : resourcePath;
    }
    return name + (name.ends_with('/') ? "" : "/") + resourcePath;
}

std::optional<ResourceRoots::Location> ResourceRoots::locate(const std::string& name) const {
    std::error_code error;
    const fs::path absolute = fs::absolute(name, error);
    // ".." after a link leads to another folder than the text suggests.
    const fs::path normal = hasParentStep(name) ? fs::path() : withoutEnd(absolute.lexically_normal());
    const fs::path canonical = withCanonicalFolder(absolute);
    for (std::size_t index = 0; !error && index < m_roots.size(); ++index) {
        const Root& root = m_roots[index];
        std::optional<std::string> path = relativeTo(normal, root.absolute);
        if (!path) {
            path = relativeTo(canonical, root.canonical);
        }
        if (path) {
            return Location{index, *path};
        }
    }
    return std::nullopt;
}

std::string normalResourcePath(const std::string& path) {
    const std::string normal = withoutEnd(fs::path(path).lexically_normal()).string();
    return normal == "." ? std::string() : normal;
}

bool leadsAboveRoot(std::string_view path) {
    return path == ".." || path.starts_with("../");
}

} // namespace Kiln::PrefabTool
