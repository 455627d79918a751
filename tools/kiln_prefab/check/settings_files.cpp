#include "settings_files.h"

#include "command_error.h"

#include <prefab_editing/text_file.h>

#include <utility>

namespace Kiln::PrefabTool {

namespace {

constexpr std::size_t MAX_SETTINGS_SIZE = std::size_t{1} << 20U;

/// The part of a path before its last '/'; empty without one.
[[nodiscard]] std::string folderOf(const std::string& path) {
    const std::size_t end = path.rfind('/');
    return end == std::string::npos ? std::string() : path.substr(0, end);
}

/// The settings of a file; none if there is no such file.
[[nodiscard]] std::optional<Settings> readFile(const std::string& fileName, const std::string& shownName) {
    const PrefabEditing::TextFile file = PrefabEditing::readTextFile(fileName, MAX_SETTINGS_SIZE);
    switch (file.status) {
    case PrefabEditing::TextFile::Status::MISSING:
        return std::nullopt;
    case PrefabEditing::TextFile::Status::FAILED:
        throw CommandError("Cannot read '" + shownName + "': " + file.problem);
    case PrefabEditing::TextFile::Status::READ:
        break;
    }
    return readSettings(file.text, shownName, folderOf(fileName));
}

} // namespace

SettingsFiles::SettingsFiles(const ResourceRoots& roots, Source source, Settings commandLine)
    : m_roots(roots), m_source(source), m_commandLine(std::move(commandLine)), m_common(m_commandLine) {}

SettingsFiles::SettingsFiles(const ResourceRoots& roots, const std::string& file, Settings commandLine)
    : SettingsFiles(roots, Source::NONE, std::move(commandLine)) {
    m_fileNames.insert(file);
    std::optional<Settings> settings = readFile(file, file);
    if (!settings) {
        throw CommandError("Cannot read '" + file + "': the file does not exist");
    }
    m_common = std::move(*settings);
    m_common.overrideWith(m_commandLine);
}

const Settings& SettingsFiles::settingsFor(const std::string& resourcePath) {
    const std::string path = normalResourcePath(resourcePath);
    if (m_source == Source::NONE || leadsAboveRoot(path)) {
        return m_common;
    }
    if (!path.starts_with('/')) {
        return folderSettings(m_roots.rootOf(path), folderOf(path));
    }
    const std::optional<ResourceRoots::Location> location = m_roots.locate(path);
    return location ? folderSettings(location->root, folderOf(location->path)) : m_common;
}

const Settings& SettingsFiles::folderSettings(std::size_t root, const std::string& folder) {
    const std::string folderName = m_roots.fileName(root, folder);
    if (const auto found = m_folders.find(folderName); found != m_folders.end()) {
        return found->second.complete;
    }
    Entry entry;
    if (!folder.empty()) {
        static_cast<void>(folderSettings(root, folderOf(folder)));
        entry.ofFiles = m_folders.at(m_roots.fileName(root, folderOf(folder))).ofFiles;
    }
    const std::string shownName = folder.empty() ? SETTINGS_FILE : folder + "/" + SETTINGS_FILE;
    const std::string fileName = m_roots.fileName(root, shownName);
    m_fileNames.insert(fileName);
    if (const std::optional<Settings> settings = readFile(fileName, shownName)) {
        entry.ofFiles.overrideWith(*settings);
    }
    entry.complete = entry.ofFiles;
    entry.complete.overrideWith(m_commandLine);
    return m_folders.emplace(folderName, std::move(entry)).first->second.complete;
}

} // namespace Kiln::PrefabTool
