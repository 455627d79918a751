#include "common_options.h"

#include "component_libraries.h"
#include "diagnostics.h"
#include "log_collector.h"
#include "option_checks.h"
#include "similar_name.h"
#include "terminal.h"

#include <resource/file_system_utils.h>

#include <algorithm>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

[[nodiscard]] std::string joined(const std::vector<std::string>& texts, const std::string& separator) {
    std::string result;
    for (const std::string& text : texts) {
        result += (result.empty() ? "" : separator) + text;
    }
    return result;
}

} // namespace

void CommonOptions::addTo(CLI::App& app) {
    app.add_option("--root", roots,
                   "Look up resource paths in DIR; may be repeated, the first match wins (default: "
                   "the current directory). Files outside of all DIRs are not read")
        ->allow_extra_args(false)
        ->check(CLI::ExistingDirectory)
        ->type_name("DIR");
    app.add_option("--load", libraries, "Load the component library LIB before the prefabs; may be repeated")
        ->allow_extra_args(false)
        ->check(notEmpty())
        ->type_name("LIB");
    addChoice(app, "--color", color, {"auto", "always", "never"}, "Use colours (default: auto, only on a terminal)");
    app.add_flag("--quiet", isQuiet, "Print neither notes nor progress");
}

bool CommonOptions::apply(Terminal& terminal) const {
    setUp(terminal);
    LogCollector log;
    Diagnostics diagnostics(terminal, false);
    if (!loadLibraries(diagnostics, log)) {
        return false;
    }
    addRoots();
    return true;
}

void CommonOptions::setUp(Terminal& terminal) const {
    terminal.setColorMode(color == "always"  ? ColorMode::ALWAYS
                          : color == "never" ? ColorMode::NEVER
                                             : ColorMode::AUTO);
    terminal.setQuiet(isQuiet);
}

bool CommonOptions::loadLibraries(Diagnostics& diagnostics, LogCollector& log) const {
    for (const std::string& library : libraries) {
        const std::string problem = loadComponentLibrary(library);
        diagnostics.reportLog("--load " + library, log.take());
        if (!problem.empty()) {
            diagnostics.reportFailure("--load " + library, problem);
            return false;
        }
    }
    return true;
}

void CommonOptions::addRoots() const {
    for (const std::string& root : roots) {
        FS::Utils::addResourceRoot(root);
    }
    if (roots.empty()) {
        FS::Utils::addResourceRoot({}); // The current directory; without any root, absolute paths lead anywhere.
    }
}

CLI::Option* addChoice(CLI::App& app, const std::string& name, std::string& value,
                       const std::vector<std::string>& choices, const std::string& description) {
    const auto problem = [choices](const std::string& text) {
        if (std::find(choices.begin(), choices.end(), text) != choices.end()) {
            return std::string();
        }
        const std::string similar = similarName(text, choices);
        return "'" + text + "' is none of " + joined(choices, ", ") +
               (similar.empty() ? "" : " (did you mean '" + similar + "'?)");
    };
    return app.add_option(name, value, description)
        ->check(CLI::Validator(problem, "", "choice"))
        ->type_name(joined(choices, "|"));
}

} // namespace Kiln::PrefabTool
