#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// The directories that contain resources, for converting names of files to resource paths. Immutable; any thread.
class ResourceRoots {
public:
    /// The directories as the user named them; an empty list or name stands for the current directory.
    explicit ResourceRoots(const std::vector<std::string>& names);

    [[nodiscard]] std::size_t size() const noexcept { return m_roots.size(); }

    /// The root's name, fit for being followed by '/'.
    [[nodiscard]] const std::string& name(std::size_t root) const { return m_roots[root].name; }

    /// The root in which a resource path is found; the first one if no root has it.
    [[nodiscard]] std::size_t rootOf(const std::string& resourcePath) const;

    /// The name of the file that a resource path leads to beneath a root.
    [[nodiscard]] std::string fileName(std::size_t root, const std::string& resourcePath) const;
    [[nodiscard]] std::string fileName(const std::string& resourcePath) const {
        return fileName(rootOf(resourcePath), resourcePath);
    }

    /// A file or folder beneath a root.
    struct Location {
        std::size_t root;
        std::string path; ///< Relative to the root, without "." and ".."; empty for the root itself.
    };

    /// Where a name of the file system leads, which need not exist, if that is beneath a root. With symbolic links on
    /// the way, the names of the links are kept if possible.
    [[nodiscard]] std::optional<Location> locate(const std::string& name) const;

private:
    struct Root {
        std::string name;
        std::filesystem::path absolute;  ///< Without "." and "..".
        std::filesystem::path canonical; ///< Without links; empty if the directory does not exist.
    };

    std::vector<Root> m_roots;
};

/// A resource path without empty components and ".", and without ".." where a name precedes it.
[[nodiscard]] std::string normalResourcePath(const std::string& path);

/// Whether a normal resource path leads above its root.
[[nodiscard]] bool leadsAboveRoot(std::string_view path);

} // namespace Kiln::PrefabTool
