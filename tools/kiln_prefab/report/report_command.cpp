#include "report_command.h"

#include "report_data.h"
#include "report_page.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <tessel_foundation/version.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <memory>
#include <system_error>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::int64_t MAX_JOBS = 1024;

/// What the page calls the prefabs: the names that the user has given.
[[nodiscard]] std::string titleOf(const std::vector<std::string>& paths) {
    std::string title;
    for (const std::string& path : paths) {
        title.append(title.empty() ? "" : ", ").append(path);
    }
    return title;
}

} // namespace

const Command::Description& ReportCommand::description() const {
    static const Description DESCRIPTION{"report",
                                         "Write a page that shows prefabs: their graph, objects, values and findings.",
                                         {"kiln-prefab report --root content content -o report.html",
                                          "kiln-prefab report --load ./libgame_components.so harbour.prefab -o "
                                          "harbour.html"}};
    return DESCRIPTION;
}

void ReportCommand::addOptions(CLI::App& app) {
    app.add_option("PATH", m_paths, "Prefab files, or folders with prefab files")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("-o,--output", m_outputFile, "Write the page to FILE")
        ->required()
        ->check(notEmpty())
        ->type_name("FILE");
    m_common.addTo(app);
    m_settings.addTo(app);
    app.add_option("--jobs", m_jobs, "Read files with N threads (default: 0, one per processor)")
        ->check(CLI::Range(std::int64_t{0}, MAX_JOBS))
        ->type_name("N");
}

int ReportCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() {
        if (!hasReportPage()) {
            throw CommandError(NO_REPORT_PAGE);
        }
        const ResourceRoots roots(m_common.roots);
        SettingsFiles settings = m_settings.settingsFiles(roots);
        BaselineFiles baselines(false);
        auto files = std::make_unique<PrefabInspection::PrefabFiles>();
        CheckPlan plan = makePlan(terminal, roots);
        plan.files = files.get();
        const CheckOutcome outcome = runCheck(plan, roots, settings, baselines);
        terminal.clearProgress();
        for (const std::string& problem : plan.targets.problems) {
            terminal.reportFailure(problem);
        }
        if (outcome.shown.files.empty()) {
            throw CommandError("there is no prefab in '" + titleOf(m_paths) + "'");
        }
        write(reportData(outcome.shown, PageOptions{titleOf(m_paths), KILN_VERSION_STRING, plan.threads},
                         std::move(files)));
        terminal.note("wrote " + counted(outcome.shown.files.size(), "prefab") + " and " +
                      counted(outcome.shown.findings.size(), "finding") + " to " + m_outputFile);
        return plan.targets.problems.empty() ? ExitStatus::SUCCESS : ExitStatus::USAGE;
    });
}

CheckPlan ReportCommand::makePlan(Terminal& terminal, const ResourceRoots& roots) const {
    CheckPlan plan;
    plan.threads = static_cast<std::size_t>(m_jobs);
    TargetFinder finder(roots);
    for (const std::string& path : m_paths) {
        finder.add(path);
    }
    plan.targets = finder.take();
    const std::size_t total = plan.targets.paths.size();
    plan.onFileRead = [&terminal, total](std::size_t filesCount, const std::string& file) {
        terminal.showProgress(filesCount, std::max(total, filesCount), file);
    };
    return plan;
}

void ReportCommand::write(const std::string& data) const {
    std::ofstream stream(m_outputFile, std::ios::binary);
    writeReportPage(stream, data);
    stream.close();
    if (!stream) {
        throw CommandError("'" + m_outputFile + "' cannot be written: " + std::generic_category().message(errno));
    }
}

} // namespace Kiln::PrefabTool
