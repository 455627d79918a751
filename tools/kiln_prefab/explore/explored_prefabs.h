#pragma once

#include <core/non_copyable.h>
#include <kiln_prefab/check/settings_files.h>
#include <prefab_inspection/checking/checker.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::PrefabTool {

/// The prefabs that a page shows, which are checked again whenever they change. One thread.
class ExploredPrefabs : NonCopyable {
public:
    using ReadSettings = std::function<SettingsFiles()>;

    /// `names` are those of files and folders, as for TargetFinder; without any, all roots. `readSettings` is called
    /// for each check, because settings files may change. `roots` must outlive this.
    ExploredPrefabs(const ResourceRoots& roots, std::vector<std::string> names, ReadSettings readSettings);

    /// Checks the prefabs and everything nested in them, as `check` does. `parsed`, which may be null, receives the
    /// parsed files. Throws CommandError; files() then still has the files of the last result.
    [[nodiscard]] PrefabInspection::CheckResult check(PrefabInspection::PrefabFiles* parsed = nullptr);

    /// The names of all files on which the last result depends, and of prefabs that are new since.
    [[nodiscard]] std::set<std::string> files() const;

private:
    const ResourceRoots& m_roots;
    std::vector<std::string> m_names;
    ReadSettings m_readSettings;
    std::set<std::string> m_usedFiles;
};

} // namespace Kiln::PrefabTool
