#pragma once

#include <kiln_prefab/check/check_run.h>
#include <kiln_prefab/check/settings_options.h>
#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

class ResourceRoots;

/// `kiln-prefab report`: writes a page that shows prefabs.
class ReportCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    [[nodiscard]] CheckPlan makePlan(Terminal& terminal, const ResourceRoots& roots) const;
    void write(const std::string& data) const;

    CommonOptions m_common;
    SettingsOptions m_settings;
    std::vector<std::string> m_paths;
    std::string m_outputFile;
    std::int64_t m_jobs = 0;
};

} // namespace Kiln::PrefabTool
