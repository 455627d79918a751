#include "check_run.h"

#include <prefab_inspection/findings/finding_rules.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckOptions;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::FindingCode;
using PrefabInspection::Severity;

/// Divides the findings of a check into those that are shown and those that are known, and finds stale entries.
class Evaluation {
public:
    Evaluation(const CheckPlan& plan, const ResourceRoots& roots, SettingsFiles& settings, BaselineFiles& baselines)
        : m_plan(plan), m_roots(roots), m_settings(settings), m_baselines(baselines) {}

    [[nodiscard]] CheckOutcome evaluate(CheckResult result) {
        const std::vector<FindingKey> keys = findingKeys(result.findings);
        for (std::size_t index = 0; index < keys.size(); ++index) {
            addFinding(std::move(result.findings[index]), keys[index]);
        }
        for (const CheckedFile& file : result.files) {
            m_checkedFiles.insert(file.path);
            // Baselines without any finding may have stale entries.
            static_cast<void>(baselineOf(file.path));
        }
        findStaleEntries();
        std::erase_if(result.files, [this](const CheckedFile& file) { return !m_plan.shard.contains(file.path); });
        m_outcome.shown.files = std::move(result.files);
        return std::move(m_outcome);
    }

private:
    /// Null if the file has none.
    [[nodiscard]] BaselineFiles::File* baselineOf(const std::string& file) {
        const auto& name = m_settings.settingsFor(file).baseline;
        return name ? &m_baselines.file(name->value) : nullptr;
    }

    void addFinding(Finding finding, const FindingKey& key) {
        if (!m_plan.shard.contains(finding.file)) {
            return;
        }
        const Settings& settings = m_settings.settingsFor(finding.file);
        const std::optional<Severity> severity = settings.shownSeverity(finding);
        BaselineFiles::File* const baseline = baselineOf(finding.file);
        // Found even if it is not shown, so that a setting does not make its entry stale.
        const bool isKnown = baseline && baseline->match(key);
        if (!severity) {
            return;
        }
        if (isKnown) {
            ++m_outcome.knownCount;
        } else if (baseline && m_plan.accepts) {
            baseline->baseline.add(key);
            baseline->found.insert(key);
            ++m_outcome.acceptedCount;
        } else {
            finding.severity = *severity;
            m_outcome.isFailure = m_outcome.isFailure || settings.isFailure(*severity);
            m_outcome.shown.findings.push_back(std::move(finding));
        }
    }

    void findStaleEntries() {
        for (auto& [name, file] : m_baselines.files()) {
            const std::set<FindingKey> keys = file.baseline.keys();
            for (const FindingKey& key : keys) {
                if (file.found.contains(key) || !isStale(key)) {
                    continue;
                }
                if (m_plan.accepts) {
                    file.baseline.remove(key);
                }
                m_outcome.staleEntries.push_back({name, key});
                m_outcome.isFailure =
                    m_outcome.isFailure || (!m_plan.accepts && m_settings.settingsFor(key.file).isStrict());
            }
        }
    }

    /// Whether an entry that no finding matches is stale. If the check could not have made the finding, it is not.
    [[nodiscard]] bool isStale(const FindingKey& key) {
        if (!m_plan.shard.contains(key.file)) {
            return false;
        }
        if (!m_checkedFiles.contains(key.file)) {
            std::error_code error;
            return !std::filesystem::exists(m_roots.fileName(key.file), error) && !error;
        }
        const std::optional<FindingCode> code = PrefabInspection::findingCode(key.code);
        if (code == FindingCode::UNUSED_PREFAB) {
            return m_plan.targets.coversRoots && m_settings.settingsFor(key.file).reportsUnused();
        }
        return code != FindingCode::COPIED_FILE || m_plan.targets.coversRoots;
    }

    const CheckPlan& m_plan;
    const ResourceRoots& m_roots;
    SettingsFiles& m_settings;
    BaselineFiles& m_baselines;
    std::set<std::string> m_checkedFiles;
    CheckOutcome m_outcome;
};

} // namespace

CheckOutcome runCheck(const CheckPlan& plan, const ResourceRoots& roots, SettingsFiles& settings,
                      BaselineFiles& baselines) {
    CheckOptions options;
    options.threads = plan.threads;
    options.buffers.insert(plan.buffers.begin(), plan.buffers.end());
    options.cache = plan.cache;
    options.files = plan.files;
    options.onFileRead = plan.onFileRead;
    std::vector<std::string> targets(plan.targets.paths.begin(), plan.targets.paths.end());
    // Wrong settings are reported before the work is done. Nested files can't be unused.
    for (const std::string& target : targets) {
        options.reportsUnused = settings.settingsFor(target).reportsUnused() || options.reportsUnused;
    }
    return evaluate(checkPrefabs(targets, options), plan, roots, settings, baselines);
}

CheckOutcome evaluate(CheckResult result, const CheckPlan& plan, const ResourceRoots& roots, SettingsFiles& settings,
                      BaselineFiles& baselines) {
    return Evaluation(plan, roots, settings, baselines).evaluate(std::move(result));
}

} // namespace Kiln::PrefabTool
