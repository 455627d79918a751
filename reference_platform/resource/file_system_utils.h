#pragma once

#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <resource/export.h>

#include <string>
#include <string_view>
#include <vector>

/// Resource files: paths relative to resource roots, which are folders, and in resource packs. Any thread.
///
/// The folders are searched first, in the order in which they were added, and then the packs in theirs: a loose file
/// has precedence over a packed one, also if it cannot be read. If there are packs but no folders, no file outside of
/// the packs is read, except for absolute paths that are not confined.
///
/// Paths come from prefab files, which may be hostile, so they are confined: a path, relative or absolute, must lead to
/// a regular file beneath a resource root. A path that has a control character, that leads above its root by "..", or
/// that leads out of all roots is refused before a file is opened. A symbolic link that leads out counts as outside
/// unless the root allows it; other links are followed. Packs have only relative paths.
namespace Kiln::FS::Utils {

/// Properties of a resource root.
struct RootOptions {
    bool allowsOutsideLinks = false; ///< Whether symbolic links in the root may lead to files outside of it.
};

/// Adds a directory in which resource paths are looked up, after those added before. Without directories and packs,
/// relative paths are confined to the current directory, and absolute ones are not confined.
KILN_RESOURCE_EXPORT void addResourceRoot(std::string directory, RootOptions options = {});
/// @{
/// Removes all resource roots, and lists them in the order in which they are searched.
KILN_RESOURCE_EXPORT void clearResourceRoots();
[[nodiscard]] KILN_RESOURCE_EXPORT std::vector<std::string> resourceRoots();
/// @}

/// Adds a pack in which resource paths are looked up, after those added before. A pack that was added with the same
/// file name is replaced: documents that are opened from now on come from the new file, and those that are open stay
/// valid. A file that is no sound pack is reported in the log ("Cannot open the pack '%s': %s"), changes nothing, and
/// yields false.
KILN_RESOURCE_EXPORT bool addResourcePack(const std::string& fileName);
/// @{
/// Removes all packs, and lists their file names in the order in which they are searched. Documents that are open stay
/// valid.
KILN_RESOURCE_EXPORT void clearResourcePacks();
[[nodiscard]] KILN_RESOURCE_EXPORT std::vector<std::string> resourcePacks();
/// @}

/// Whether paths are confined to the resource roots; true at first. If not, absolute paths are used unchanged, and
/// links and ".." may lead anywhere; only for programs that trust all of their files.
KILN_RESOURCE_EXPORT void setPathConfinement(bool isConfined) noexcept;
/// Whether paths are confined, see setPathConfinement().
[[nodiscard]] KILN_RESOURCE_EXPORT bool isPathConfined() noexcept;

/// The file that a resource path names: the first root that contains it wins, and an absolute path is returned
/// unchanged. Without a match, which includes paths that only a pack has, the path under the first root; for a path
/// that is refused, and if there are packs but no folders, an empty text.
[[nodiscard]] KILN_RESOURCE_EXPORT std::string resolveResourcePath(std::string_view resourcePath);

/// Opens a resource as the root section of an XML document; null if it cannot be opened. A path that is refused, and a
/// file that exists but cannot be read or is not well formed, is reported in the log; a missing file only when the
/// caller does not report it (`callerReportsMissing` false).
[[nodiscard]] KILN_RESOURCE_EXPORT SmartPointer<DataSection> openXmlSection(const std::string& resourcePath,
                                                                            bool callerReportsMissing);

} // namespace Kiln::FS::Utils
