#pragma once

#include <kiln_prefab/common_options.h>
#include <prefab_inspection/composition/composition.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <functional>
#include <string>

namespace CLI {
class App;
}

namespace Kiln::PrefabTool {

class Terminal;

/// The options and steps that the commands which show one prefab have in common.
struct PrefabArgument {
    CommonOptions common;
    std::string file;         ///< A resource path, or a path in the file system.
    std::string instanceUuid; ///< Empty for the zero UUID.

    void addFile(CLI::App& app);
    void addInstanceUuid(CLI::App& app);

    [[nodiscard]] Uuid instance() const { return Uuid::fromString(instanceUuid).value_or(Uuid::ZERO); }

    /// Sets up the terminal, the roots and the libraries, and calls `show` with the file, which has a document. Returns
    /// the result of `show`, or ExitStatus::USAGE after reporting what is wrong.
    [[nodiscard]] int
    run(Terminal& terminal,
        const std::function<int(PrefabInspection::PrefabFiles&, const PrefabInspection::PrefabFile&)>& show) const;
};

/// Calls `action`, and reports a CommandError of it: the result is then ExitStatus::USAGE.
[[nodiscard]] int runReporting(Terminal& terminal, const std::function<int()>& action);

/// Reports why a composition failed and what it has left out, and notes unknown components. Returns whether there was
/// nothing to report.
bool reportProblems(Terminal& terminal, const PrefabInspection::Composition& composition);

} // namespace Kiln::PrefabTool
