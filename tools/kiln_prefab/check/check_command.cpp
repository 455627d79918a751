#include "check_command.h"

#include "command_error.h"
#include "file_watcher.h"
#include "fixing.h"
#include "report_merging.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/reports/report.h>
#include <kiln_prefab/terminal.h>
#include <prefab_editing/text_file.h>
#include <tessel_foundation/version.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>
#include <unistd.h>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::CheckedFile;
using PrefabInspection::CheckResult;
using PrefabInspection::Finding;
using PrefabInspection::Severity;

constexpr const char* STANDARD_INPUT = "-";
constexpr const char* STANDARD_INPUT_PATH = "<stdin>";
constexpr std::int64_t MAX_LIMIT = 1'000'000'000;
constexpr std::int64_t MAX_JOBS = 1024;
constexpr std::chrono::milliseconds SETTLE_TIME{200};

[[nodiscard]] std::vector<std::string> formatNames() {
    const auto names = reportFormatNames();
    return {names.begin(), names.end()};
}

/// A text whose lines are printable.
[[nodiscard]] std::string printableLines(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += printable(line) + "\n";
    }
    return result;
}

[[nodiscard]] std::string readStandardInput() {
    return {std::istreambuf_iterator<char>(std::cin), {}};
}

void requireBaseline(const CheckPlan& plan, SettingsFiles& settings) {
    const std::set<std::string>& paths = plan.targets.paths;
    const auto hasBaseline = [&settings](const std::string& path) {
        return settings.settingsFor(path).baseline.has_value();
    };
    if (std::none_of(paths.begin(), paths.end(), hasBaseline)) {
        throw CommandError("--accept needs a baseline: --baseline FILE, or \"baseline\" in a file kiln-prefab.json");
    }
}

/// Reports what kept the command from doing all of its work, and returns the exit status.
[[nodiscard]] int finish(Terminal& terminal, const std::vector<std::string>& problems, bool isFailure) {
    for (const std::string& problem : problems) {
        terminal.reportFailure(problem);
    }
    if (!problems.empty()) {
        return ExitStatus::USAGE;
    }
    return isFailure ? ExitStatus::FINDINGS : ExitStatus::SUCCESS;
}

} // namespace

const Command::Description& CheckCommand::description() const {
    static const Description DESCRIPTION{
        "check",
        "Find the mistakes in prefab files and in everything nested in them.",
        {"kiln-prefab check --root content content",
         "kiln-prefab check --strict --format sarif --output findings.sarif props/lamp.prefab"}};
    return DESCRIPTION;
}

void CheckCommand::addOptions(CLI::App& app) {
    app.add_option("PATH", m_paths, "Prefab files, folders with prefab files, or - for the standard input")
        ->check(notEmpty())
        ->type_name("");
    m_common.addTo(app);
    app.add_option("--stdin-path", m_stdinPath, "The path of the file whose text the standard input has")
        ->check(notEmpty())
        ->type_name("NAME");
    addChoice(app, "--format", m_format, formatNames(), "Write the findings in this format (default: text)");
    app.add_option("--output", m_outputFile, "Write the findings to FILE instead of the standard output")
        ->check(notEmpty())
        ->type_name("FILE");
    app.add_option("--limit", m_limit, "Show N findings at most, errors first (default: 0, all)")
        ->check(CLI::Range(std::int64_t{0}, MAX_LIMIT))
        ->type_name("N");
    m_settings.addTo(app);
    app.add_option("--jobs", m_jobs, "Read files with N threads (default: 0, one per processor)")
        ->check(CLI::Range(std::int64_t{0}, MAX_JOBS))
        ->type_name("N");
    app.add_option("--cache", m_cacheDirectory, "Keep what is found in each file in DIR, for later checks")
        ->check(notEmpty())
        ->type_name("DIR");
    addModeOptions(app);
}

void CheckCommand::addModeOptions(CLI::App& app) {
    CLI::Option* const accept =
        app.add_flag("--accept", m_accepts, "Add all findings to the baseline, and remove its entries that are stale");
    CLI::Option* const shard =
        app.add_option("--shard", m_shard,
                       "Report only the findings of the I-th of N parts into which files are divided")
            ->type_name("I/N")
            ->excludes(accept);
    CLI::Option* const merge =
        app.add_flag("--merge", m_merges, "Join the reports PATH, which were written with --format json")
            ->excludes(accept)
            ->excludes(shard);
    CLI::Option* const fix = app.add_flag("--fix", m_fixes, "Change the files where a finding has exactly one safe fix")
                                 ->excludes(accept)
                                 ->excludes(merge);
    app.add_flag("--dry-run", m_isDryRun, "Write the changes of --fix as a patch instead of changing files")
        ->needs(fix);
    app.add_flag("--watch", m_watches, "Check again whenever files change, until Ctrl-C")
        ->excludes(accept)
        ->excludes(merge)
        ->excludes(fix);
}

int CheckCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    try {
        return runMode(terminal);
    } catch (const CommandError& error) {
        terminal.clearProgress();
        terminal.reportFailure(error.what());
        return ExitStatus::USAGE;
    }
}

int CheckCommand::runMode(Terminal& terminal) {
    if (m_paths.empty()) {
        throw CommandError("PATH is required: a prefab file, a folder, or - for the standard input");
    }
    const bool readsInput = std::find(m_paths.begin(), m_paths.end(), STANDARD_INPUT) != m_paths.end();
    if (readsInput && (m_fixes || m_watches || m_merges)) {
        throw CommandError("--fix, --watch and --merge need files; - is the standard input");
    }
    const ResourceRoots roots(m_common.roots);
    if (!m_cacheDirectory.empty()) {
        m_cache = std::make_unique<ResultCache>(m_cacheDirectory, loadedCodeHash());
    }
    if (m_watches) {
        watch(terminal, roots);
    }
    if (m_merges) {
        return merge(terminal, roots);
    }
    if (m_fixes) {
        return fix(terminal, roots);
    }
    std::set<std::string> usedFiles;
    return check(terminal, roots, usedFiles);
}

/// Adds the names of all files to `usedFiles` on which the result depends, also on failure.
int CheckCommand::check(Terminal& terminal, const ResourceRoots& roots, std::set<std::string>& usedFiles) const {
    SettingsFiles settings = m_settings.settingsFiles(roots);
    BaselineFiles baselines(m_accepts);
    const CheckPlan plan = makePlan(terminal, roots);
    if (m_accepts) {
        requireBaseline(plan, settings);
    }
    const CheckOutcome outcome = runCheck(plan, roots, settings, baselines);
    terminal.clearProgress();
    if (m_accepts) {
        baselines.write();
    }
    for (const CheckedFile& file : outcome.shown.files) {
        usedFiles.insert(roots.fileName(file.path));
    }
    usedFiles.insert(settings.fileNames().begin(), settings.fileNames().end());
    for (const auto& [name, baseline] : baselines.files()) {
        usedFiles.insert(name);
    }
    writeReport(terminal, outcome.shown, settings);
    writeNotes(terminal, outcome);
    return finish(terminal, plan.targets.problems, outcome.isFailure);
}

int CheckCommand::fix(Terminal& terminal, const ResourceRoots& roots) const {
    SettingsFiles settings = m_settings.settingsFiles(roots);
    const CheckPlan plan = makePlan(terminal, roots);
    const FixedFiles fixed = fixInMemory(plan, roots, settings);
    terminal.clearProgress();
    const std::string count = counted(fixed.fixedCount, "finding") + " in " + counted(fixed.files.size(), "file");
    if (m_isDryRun) {
        const std::string patch = patchOf(fixed);
        // The bytes of files must not control a terminal; then the patch is only looked at.
        const bool isShown = m_outputFile.empty() && ::isatty(STDOUT_FILENO) == 1;
        writeResult(terminal, isShown ? printableLines(patch) : patch);
        terminal.note(count + " can be fixed");
        return finish(terminal, plan.targets.problems, fixed.before.isFailure);
    }
    std::vector<std::string> problems = writeFixedFiles(fixed, roots);
    problems.insert(problems.end(), plan.targets.problems.begin(), plan.targets.problems.end());
    writeReport(terminal, fixed.after.shown, settings);
    if (problems.empty()) {
        terminal.note("fixed " + count);
    }
    writeNotes(terminal, fixed.after);
    return finish(terminal, problems, fixed.after.isFailure);
}

int CheckCommand::merge(Terminal& terminal, const ResourceRoots& roots) const {
    SettingsFiles settings = m_settings.settingsFiles(roots);
    const CheckResult result = mergeReports(m_paths);
    writeReport(terminal, result, settings);
    const auto isFailure = [&settings](const Finding& finding) {
        return settings.settingsFor(finding.file).isFailure(finding.severity);
    };
    return finish(terminal, {}, std::any_of(result.findings.begin(), result.findings.end(), isFailure));
}

void CheckCommand::watch(Terminal& terminal, const ResourceRoots& roots) const {
    std::set<std::string> usedFiles;
    const FileWatcher watcher([this, &roots, &usedFiles] {
        std::set<std::string> files = usedFiles;
        try {
            for (const std::string& path : findTargets(roots).paths) {
                files.insert(roots.fileName(path));
            }
        } catch (const CommandError&) {
            // A folder that does not exist now. The check reports it.
        }
        return files;
    });
    while (true) {
        const std::set<std::string> previousFiles = usedFiles;
        // Taken first, so that a change during the check is noticed.
        FileWatcher::Stamps stamps = watcher.stamps();
        try {
            usedFiles.clear();
            static_cast<void>(check(terminal, roots, usedFiles));
        } catch (const CommandError& error) {
            terminal.clearProgress();
            terminal.reportFailure(error.what());
            usedFiles.insert(previousFiles.begin(), previousFiles.end()); // It did not get as far as all of them.
        }
        terminal.output().flush();
        for (const std::string& file : usedFiles) {
            stamps.try_emplace(file, FileStamp::of(file));
        }
        static_cast<void>(watcher.awaitChange(stamps, SETTLE_TIME));
    }
}

CheckPlan CheckCommand::makePlan(Terminal& terminal, const ResourceRoots& roots) const {
    CheckPlan plan;
    plan.threads = static_cast<std::size_t>(m_jobs);
    plan.accepts = m_accepts;
    plan.cache = m_cache.get();
    if (!m_shard.empty()) {
        plan.shard = readShard(m_shard);
    }
    plan.targets = findTargets(roots);
    if (std::find(m_paths.begin(), m_paths.end(), STANDARD_INPUT) != m_paths.end()) {
        const std::string path =
            m_stdinPath.empty() ? STANDARD_INPUT_PATH : TargetFinder(roots).resourcePath(m_stdinPath);
        plan.buffers.emplace(path, readStandardInput());
        plan.targets.paths.insert(path);
    }
    const std::size_t total = plan.targets.paths.size();
    plan.onFileRead = [&terminal, total](std::size_t filesCount, const std::string& file) {
        // Nested files are no targets, so that more files than targets may be read.
        terminal.showProgress(filesCount, std::max(total, filesCount), file);
    };
    return plan;
}

Targets CheckCommand::findTargets(const ResourceRoots& roots) const {
    TargetFinder finder(roots);
    for (const std::string& path : m_paths) {
        if (path != STANDARD_INPUT) {
            finder.add(path);
        }
    }
    return finder.take();
}

void CheckCommand::writeReport(Terminal& terminal, const CheckResult& result, SettingsFiles& settings) const {
    ReportOptions options;
    options.maxFindings = static_cast<std::size_t>(m_limit);
    options.toolVersion = KILN_VERSION_STRING;
    const bool isAnyStrict =
        std::any_of(result.files.begin(), result.files.end(),
                    [&settings](const CheckedFile& file) { return settings.settingsFor(file.path).isStrict(); });
    options.failingSeverity = isAnyStrict ? Severity::WARNING : Severity::ERROR;
    if (m_outputFile.empty()) {
        options.styled = [&terminal](std::string_view text, Style style) { return terminal.styled(text, style); };
    }
    const std::unique_ptr<Report> report = makeReport(*reportFormat(m_format), std::move(options));
    if (m_outputFile.empty()) {
        report->write(result, terminal.output());
        return;
    }
    std::ostringstream text;
    report->write(result, text);
    writeResult(terminal, text.view());
}

void CheckCommand::writeResult(Terminal& terminal, std::string_view text) const {
    if (m_outputFile.empty()) {
        terminal.output() << text;
    } else if (const std::string problem = PrefabEditing::replaceTextFile(m_outputFile, text); !problem.empty()) {
        throw CommandError(problem);
    }
}

void CheckCommand::writeNotes(Terminal& terminal, const CheckOutcome& outcome) const {
    if (m_accepts) {
        terminal.note("accepted " + counted(outcome.acceptedCount, "finding") + ", removed " +
                      std::to_string(outcome.staleEntries.size()) + " stale");
        return;
    }
    if (outcome.knownCount > 0) {
        terminal.note(counted(outcome.knownCount, "finding") + " not shown because of the baseline");
    }
    for (const StaleEntry& entry : outcome.staleEntries) {
        terminal.note("stale entry of the baseline '" + entry.baseline + "': " + entry.key.file + " no longer has " +
                      entry.key.code + (entry.key.subject.empty() ? "" : " for '" + entry.key.subject + "'"));
    }
}

} // namespace Kiln::PrefabTool
