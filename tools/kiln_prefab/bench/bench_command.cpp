#include "bench_command.h"

#include "bench_output.h"
#include "prefab_benchmark.h"

#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/diagnostics.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/json_text.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

constexpr std::int64_t MAX_REPEAT = 1'000'000;

} // namespace

const Command::Description& BenchCommand::description() const {
    static const Description DESCRIPTION{
        "bench",
        "Measure how long a prefab takes to load, expand, create and remove, and how much memory it needs.",
        {"kiln-prefab bench --root content harbour.prefab",
         "kiln-prefab bench --load ./libgame_components.so --repeat 100 --format json harbour.prefab"}};
    return DESCRIPTION;
}

void BenchCommand::addOptions(CLI::App& app) {
    app.add_option("FILE", m_file, "The prefab: a resource path, or a file beneath a root")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--repeat", m_repeat, "Measure N times, after once without measuring (default: 20)")
        ->check(CLI::Range(std::int64_t{1}, MAX_REPEAT))
        ->type_name("N");
    addChoice(app, "--format", m_format, {"text", "json"}, "Print a table, or one JSON document");
    m_common.addTo(app);
}

int BenchCommand::run(Terminal& terminal) {
    m_common.setUp(terminal);
    LogCollector log;
    Diagnostics diagnostics(terminal, false);
    if (!m_common.loadLibraries(diagnostics, log)) {
        return ExitStatus::USAGE;
    }
    m_common.addRoots();
    return runReporting(terminal, [this, &terminal, &log]() { return measure(terminal, log); });
}

int BenchCommand::measure(Terminal& terminal, LogCollector& log) const {
    const ResourceRoots roots(m_common.roots);
    const std::string path = TargetFinder(roots).resourcePath(m_file);
    const auto repeat = static_cast<std::size_t>(m_repeat);
    const PrefabMeasurement measurement = measurePrefab(
        path, repeat, [&terminal, &path, repeat](std::size_t done) { terminal.showProgress(done, repeat + 1, path); });
    terminal.clearProgress();
    Diagnostics diagnostics(terminal, false);
    if (!measurement.problem.empty()) {
        diagnostics.reportLog(path, log.take());
        diagnostics.reportFailure(path, measurement.problem);
        return ExitStatus::USAGE;
    }
    if (m_format == "json") {
        terminal.output() << jsonText(benchJson(path, measurement)) << '\n';
    } else {
        writeBenchText(terminal.output(), path, measurement);
    }
    diagnostics.reportLog(path, log.take());
    return diagnostics.hasFailures() ? ExitStatus::FINDINGS : ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
