#pragma once

#include "settings_options.h"

#include <kiln_prefab/command.h>
#include <kiln_prefab/common_options.h>

#include <string>

namespace Kiln::PrefabTool {

/// `kiln-prefab config`: shows the settings that hold for a file.
class ConfigCommand final : public Command {
public:
    [[nodiscard]] const Description& description() const override;
    void addOptions(CLI::App& app) override;
    [[nodiscard]] int run(Terminal& terminal) override;

private:
    CommonOptions m_common;
    SettingsOptions m_settings;
    std::string m_file;
};

} // namespace Kiln::PrefabTool
