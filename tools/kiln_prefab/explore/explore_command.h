#pragma once

#include <kiln_prefab/check/settings_options.h>
#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Serves a page that shows prefabs and follows their changes.
class ExploreCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;
    [[nodiscard]] bool isStuck() const override { return m_isStuck; }

private:
    CommonOptions m_common;
    SettingsOptions m_settings;
    std::vector<std::string> m_paths;
    std::vector<std::string> m_spawned;
    double m_idleMinutes = 0; ///< 0 for no limit.
    bool m_isStuck = false;
};

} // namespace Kiln::PrefabTool
