#pragma once

#include "resource_roots.h"
#include "settings.h"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace Kiln::PrefabTool {

/// The name of a settings file, which holds for the prefabs in its folder and in all folders beneath.
inline constexpr const char* SETTINGS_FILE = "kiln-prefab.json";

/// Finds the settings of prefab files: those of the settings files from the file's folder up to its resource root,
/// nearer ones overriding farther ones, and those of the command line, which override all. Each settings file is read
/// once. Not thread-safe.
class SettingsFiles {
public:
    enum class Source {
        FOLDERS, ///< Settings files are found.
        NONE,    ///< Only the command line counts.
    };

    SettingsFiles(const ResourceRoots& roots, Source source, Settings commandLine);

    /// Takes one settings file for all prefabs instead of those in their folders. Throws CommandError.
    SettingsFiles(const ResourceRoots& roots, const std::string& file, Settings commandLine);

    /// The settings for a resource path, valid for the life of this object. Throws CommandError for a settings file
    /// that cannot be read.
    [[nodiscard]] const Settings& settingsFor(const std::string& resourcePath);

    /// The names of the settings files that settingsFor() has looked for so far; not all of them exist.
    [[nodiscard]] const std::set<std::string>& fileNames() const noexcept { return m_fileNames; }

private:
    [[nodiscard]] const Settings& folderSettings(std::size_t root, const std::string& folder);

    const ResourceRoots& m_roots;
    Source m_source;
    Settings m_commandLine;
    Settings m_common; ///< For files to which no settings file in a folder applies; with those of the command line.

    /// By the name of the folder; without those of the command line, and with them.
    struct Entry {
        Settings ofFiles;
        Settings complete;
    };
    std::map<std::string, Entry> m_folders;
    std::set<std::string> m_fileNames;
};

} // namespace Kiln::PrefabTool
