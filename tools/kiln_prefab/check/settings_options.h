#pragma once

#include "resource_roots.h"
#include "settings.h"
#include "settings_files.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Kiln::PrefabTool {

/// The options that decide which findings are shown, and how serious they are.
struct SettingsOptions {
    std::vector<std::string> ignored;
    std::vector<std::string> only;
    std::vector<std::string> severities; ///< CODE=LEVEL
    bool isStrict = false;
    bool reportsUnused = false;
    std::string baseline;
    std::string configFile;
    bool ignoresConfigFiles = false;

    void addTo(CLI::App& app);

    /// The settings of the command line. Throws CommandError for codes and levels that do not exist.
    [[nodiscard]] Settings settings() const;

    /// All settings that hold for files. Throws CommandError. `roots` must outlive the result.
    [[nodiscard]] SettingsFiles settingsFiles(const ResourceRoots& roots) const;
};

} // namespace Kiln::PrefabTool
