#include "config_command.h"

#include "command_error.h"
#include "target_paths.h"

#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>

#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

const Command::Description& ConfigCommand::description() const {
    static const Description DESCRIPTION{
        "config",
        "Show the settings that the check of a file uses, and where each comes from.",
        {"kiln-prefab config --show props/lamp.prefab",
         "kiln-prefab config --root content --strict --show content/props/lamp.prefab"}};
    return DESCRIPTION;
}

void ConfigCommand::addOptions(CLI::App& app) {
    m_common.addTo(app);
    app.add_option("--show", m_file, "The prefab file whose settings are shown; it need not exist")
        ->required()
        ->check(notEmpty())
        ->type_name("FILE");
    m_settings.addTo(app);
}

int ConfigCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    try {
        const ResourceRoots roots(m_common.roots);
        SettingsFiles settings = m_settings.settingsFiles(roots);
        terminal.output() << describeSettings(settings.settingsFor(TargetFinder(roots).resourcePath(m_file)));
    } catch (const CommandError& error) {
        terminal.reportFailure(error.what());
        return ExitStatus::USAGE;
    }
    return ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
