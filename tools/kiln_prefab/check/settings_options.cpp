#include "settings_options.h"

#include <kiln_prefab/option_checks.h>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

void SettingsOptions::addTo(CLI::App& app) {
    app.add_flag("--strict", isStrict, "Fail on warnings, too");
    app.add_option("--ignore", ignored, "Do not show findings of CODE; may be repeated")
        ->allow_extra_args(false)
        ->type_name("CODE");
    app.add_option("--only", only, "Show only findings of CODE; may be repeated")
        ->allow_extra_args(false)
        ->type_name("CODE");
    app.add_option("--severity", severities,
                   "Show findings of a code as error, warning or note, or not at all (off); may be repeated")
        ->allow_extra_args(false)
        ->type_name("CODE=LEVEL");
    app.add_flag("--unused", reportsUnused, "Also report prefabs that no other checked prefab nests");
    app.add_option("--baseline", baseline, "Do not show the findings that FILE lists")
        ->check(notEmpty())
        ->type_name("FILE");
    CLI::Option* const config =
        app.add_option("--config", configFile, "Read the settings from FILE instead of the files kiln-prefab.json")
            ->check(notEmpty())
            ->type_name("FILE");
    app.add_flag("--no-config", ignoresConfigFiles, "Read no file kiln-prefab.json")->excludes(config);
}

Settings SettingsOptions::settings() const {
    const std::string origin = "command line";
    Settings settings;
    for (const std::string& severity : severities) {
        addLevel(settings, severity, origin);
    }
    for (const std::string& code : ignored) {
        ignoreCode(settings, requireCode(code), origin);
    }
    if (!only.empty()) {
        settings.only.emplace().origin = origin;
        for (const std::string& code : only) {
            settings.only->value.insert(requireCode(code));
        }
    }
    if (isStrict) {
        settings.strict = {true, origin};
    }
    if (reportsUnused) {
        settings.unused = {true, origin};
    }
    if (!baseline.empty()) {
        settings.baseline = {baseline, origin};
    }
    return settings;
}

SettingsFiles SettingsOptions::settingsFiles(const ResourceRoots& roots) const {
    if (!configFile.empty()) {
        return {roots, configFile, settings()};
    }
    return {roots, ignoresConfigFiles ? SettingsFiles::Source::NONE : SettingsFiles::Source::FOLDERS, settings()};
}

} // namespace Kiln::PrefabTool
