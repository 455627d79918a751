#pragma once

#include "check_run.h"
#include "result_cache.h"
#include "settings_options.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>
#include <prefab_inspection/checking/checker.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

/// `kiln-prefab check`: reports the problems of prefab files.
class CheckCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    void addModeOptions(CLI::App& app);

    [[nodiscard]] int runMode(Terminal& terminal);
    [[nodiscard]] int check(Terminal& terminal, const ResourceRoots& roots, std::set<std::string>& usedFiles) const;
    [[nodiscard]] int fix(Terminal& terminal, const ResourceRoots& roots) const;
    [[nodiscard]] int merge(Terminal& terminal, const ResourceRoots& roots) const;
    [[noreturn]] void watch(Terminal& terminal, const ResourceRoots& roots) const;

    [[nodiscard]] CheckPlan makePlan(Terminal& terminal, const ResourceRoots& roots) const;
    [[nodiscard]] Targets findTargets(const ResourceRoots& roots) const;
    void writeReport(Terminal& terminal, const PrefabInspection::CheckResult& result, SettingsFiles& settings) const;
    void writeResult(Terminal& terminal, std::string_view text) const;
    void writeNotes(Terminal& terminal, const CheckOutcome& outcome) const;

    CommonOptions m_common;
    SettingsOptions m_settings;
    std::vector<std::string> m_paths;
    std::string m_stdinPath;
    std::string m_format = "text";
    std::string m_outputFile;
    std::string m_shard;
    std::string m_cacheDirectory;
    std::unique_ptr<ResultCache> m_cache; ///< Null without --cache.
    std::int64_t m_limit = 0;
    std::int64_t m_jobs = 0;
    bool m_accepts = false;
    bool m_merges = false;
    bool m_fixes = false;
    bool m_isDryRun = false;
    bool m_watches = false;
};

} // namespace Kiln::PrefabTool
