#include "rewrite_command.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <algorithm>
#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr int MAX_THREADS = 1024;

} // namespace

const Command::Description& RewriteCommand::description() const {
    static const Description DESCRIPTION{
        "rewrite",
        "Write prefab files in canonical form, without changing what they mean.",
        {"kiln-prefab rewrite --in-place content", "kiln-prefab rewrite --check --diff harbour.prefab"}};
    return DESCRIPTION;
}

void RewriteCommand::addOptions(CLI::App& app) {
    app.add_option("PATH", m_paths, "Prefab files, and folders of prefab files")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    CLI::Option* const inPlace = app.add_flag("--in-place", m_isInPlace, "Replace the files, each atomically");
    app.add_flag("--check", m_checks,
                 "Change nothing; print the names of the files that are not canonical, and fail if there is one")
        ->excludes(inPlace);
    app.add_flag("--diff", m_showsDiff, "Change nothing; print the changes as a patch")->excludes(inPlace);
    app.add_option("--jobs", m_jobs, "Rewrite files with N threads (default: 0, one per processor)")
        ->check(CLI::Range(0, MAX_THREADS))
        ->type_name("N");
    m_common.addTo(app);
}

int RewriteCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() { return rewrite(terminal); });
}

int RewriteCommand::rewrite(Terminal& terminal) const {
    const ResourceRoots roots(m_common.roots);
    TargetFinder finder(roots);
    for (const std::string& path : m_paths) {
        finder.add(path);
    }
    const Targets targets = finder.take();
    RewriteOptions options;
    options.writesFiles = m_isInPlace;
    options.makesPatch = m_showsDiff;
    options.keepsText = !m_isInPlace && !m_checks && !m_showsDiff;
    options.threads = static_cast<std::size_t>(m_jobs);
    options.onFile = [&terminal, &targets](std::size_t count, const std::string& path) {
        terminal.showProgress(count, targets.paths.size(), path);
    };
    if (options.keepsText && targets.paths.size() > 1) {
        throw CommandError("The canonical forms of " + counted(targets.paths.size(), "file") +
                           " do not fit into one output; use --in-place, --check or --diff");
    }
    const std::vector<RewrittenFile> files = rewriteFiles({targets.paths.begin(), targets.paths.end()}, roots, options);
    terminal.clearProgress();
    const bool isAnyOther = writeResults(terminal, files);
    for (const std::string& problem : targets.problems) {
        terminal.reportFailure(problem);
    }
    const bool isAnyFailed =
        !targets.problems.empty() ||
        std::any_of(files.begin(), files.end(), [](const RewrittenFile& file) { return !file.problem.empty(); });
    if (isAnyFailed) {
        return ExitStatus::USAGE;
    }
    return isAnyOther ? ExitStatus::FINDINGS : ExitStatus::SUCCESS;
}

bool RewriteCommand::writeResults(Terminal& terminal, const std::vector<RewrittenFile>& files) const {
    std::size_t changedCount = 0;
    for (const RewrittenFile& file : files) {
        if (!file.problem.empty()) {
            terminal.reportFailure(file.problem);
            continue;
        }
        changedCount += file.isChanged ? 1 : 0;
        if (m_showsDiff) {
            terminal.output() << file.patch;
        } else if (m_checks && file.isChanged) {
            terminal.output() << printable(file.path) << '\n';
        }
        terminal.output() << file.text;
    }
    if (m_isInPlace) {
        terminal.note("rewrote " + std::to_string(changedCount) + " of " + counted(files.size(), "file"));
    } else if (m_checks) {
        const bool isSingular = changedCount == 1 || files.size() == 1;
        terminal.note(std::to_string(changedCount) + " of " + counted(files.size(), "file") +
                      (isSingular ? " is not canonical" : " are not canonical"));
    }
    return m_checks && changedCount > 0;
}

} // namespace Kiln::PrefabTool
