#include "explored_prefabs.h"

#include <kiln_prefab/check/check_run.h>
#include <kiln_prefab/check/command_error.h>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] Targets findTargets(const ResourceRoots& roots, const std::vector<std::string>& names) {
    TargetFinder finder(roots);
    for (const std::string& name : names) {
        finder.add(name);
    }
    return finder.take();
}

} // namespace

ExploredPrefabs::ExploredPrefabs(const ResourceRoots& roots, std::vector<std::string> names, ReadSettings readSettings)
    : m_roots(roots), m_names(std::move(names)), m_readSettings(std::move(readSettings)) {
    for (std::size_t root = 0; m_names.empty() && root < roots.size(); ++root) {
        m_names.push_back(roots.name(root));
    }
}

PrefabInspection::CheckResult ExploredPrefabs::check(PrefabInspection::PrefabFiles* parsed) {
    SettingsFiles settings = m_readSettings();
    BaselineFiles baselines(false);
    CheckPlan plan;
    plan.targets = findTargets(m_roots, m_names);
    plan.files = parsed;
    CheckOutcome outcome = runCheck(plan, m_roots, settings, baselines);
    m_usedFiles = settings.fileNames();
    for (const PrefabInspection::CheckedFile& file : outcome.shown.files) {
        m_usedFiles.insert(m_roots.fileName(file.path));
    }
    for (const auto& [name, baseline] : baselines.files()) {
        m_usedFiles.insert(name);
    }
    return std::move(outcome.shown);
}

std::set<std::string> ExploredPrefabs::files() const {
    std::set<std::string> files = m_usedFiles;
    try {
        for (const std::string& path : findTargets(m_roots, m_names).paths) {
            files.insert(m_roots.fileName(path));
        }
    } catch (const CommandError&) {
        // A folder that does not exist now; the next check reports it.
    }
    return files;
}

} // namespace Kiln::PrefabTool
