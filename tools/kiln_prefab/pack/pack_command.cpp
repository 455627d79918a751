#include "pack_command.h"

#include <kiln_prefab/check/check_run.h>
#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/pack/opened_pack.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_packing/pack_comparison.h>
#include <prefab_packing/packing.h>
#include <resource/file_system_utils.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <system_error>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabPacking::PackDifference;
using PrefabPacking::PackingOptions;
using PrefabPacking::PackingResult;

namespace {

constexpr int MAX_THREADS = 1024;
constexpr const char* PREFAB_SUFFIX = ".prefab";

/// Prefabs, and the documents that components read.
const std::vector<std::string> PACKED_SUFFIXES{PREFAB_SUFFIX, ".xml"};

[[nodiscard]] const char* formName(const ResourcePack::Document& document) {
    if (document.isText) {
        return "text";
    }
    return document.isCompressed ? "zstd" : "tree";
}

[[nodiscard]] const char* differenceText(PackDifference::Kind kind) {
    switch (kind) {
    case PackDifference::Kind::ONLY_IN_A:
        return "removed: ";
    case PackDifference::Kind::ONLY_IN_B:
        return "added:   ";
    case PackDifference::Kind::CHANGED:
        break;
    }
    return "changed: ";
}

void reportRefusal(Terminal& terminal, std::size_t errorsCount) {
    terminal.reportFailure("no pack was written because of " + counted(errorsCount, "error") +
                           "; --force packs the files nevertheless");
}

/// Reports what went wrong; returns whether nothing did.
[[nodiscard]] bool reportAll(Terminal& terminal, const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) {
        terminal.reportFailure(problem);
    }
    return problems.empty();
}

} // namespace

const Command::Description& PackCommand::description() const {
    static const Description DESCRIPTION{
        "pack",
        "Make one pack of prefab files, which games read without parsing, or show what a pack contains.",
        {"kiln-prefab pack content --root content --output game.kilnpack",
         "kiln-prefab pack content --root content --output game.kilnpack --zstd --update",
         "kiln-prefab pack --list game.kilnpack"}};
    return DESCRIPTION;
}

void PackCommand::addOptions(CLI::App& app) {
    app.add_option(
           "PATH", m_paths,
           "Prefab files, and folders of files ending in .prefab or .xml; a pack, with --list and --verify; two "
           "packs, with --diff")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--output,-o", m_output, "The pack that is written or replaced")
        ->check(notEmpty())
        ->type_name("FILE");
    app.add_flag("--zstd", m_isCompressed, "Compress each document");
    app.add_flag("--positions", m_keepsPositions, "Keep lines and columns, so that messages name the line in the file");
    app.add_flag("--update", m_updates, "Take documents whose files have not changed from the present FILE");
    app.add_flag("--force", m_isForced, "Pack files although check finds errors in them");
    app.add_option("--jobs", m_jobs, "Pack files with N threads (default: 0, one per processor)")
        ->check(CLI::Range(0, MAX_THREADS))
        ->type_name("N");
    addModeOptions(app);
    m_common.addTo(app);
}

void PackCommand::addModeOptions(CLI::App& app) {
    const std::array modes{
        app.add_flag("--list", m_lists, "List the documents of a pack"),
        app.add_flag("--verify", m_verifies, "Read every document of a pack and fail if one is damaged"),
        app.add_flag("--diff", m_compares, "Compare two packs by the files that unpack makes of them")};
    for (CLI::Option* const mode : modes) {
        for (const char* const option : {"--output", "--zstd", "--positions", "--update", "--force", "--jobs"}) {
            mode->excludes(app.get_option(option));
        }
        for (CLI::Option* const other : modes) {
            if (other != mode) {
                mode->excludes(other);
            }
        }
    }
}

int PackCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal] { return runMode(terminal); });
}

int PackCommand::runMode(Terminal& terminal) const {
    if (m_lists) {
        return list(terminal);
    }
    if (m_verifies) {
        return verify(terminal);
    }
    return m_compares ? compare(terminal) : pack(terminal);
}

int PackCommand::pack(Terminal& terminal) const {
    if (m_output.empty()) {
        throw CommandError("--output FILE is required");
    }
    for (const std::string& suffix : PACKED_SUFFIXES) {
        if (m_output.ends_with(suffix)) {
            throw CommandError("--output must not end in " + suffix + ", as the files that are packed do");
        }
    }
    const ResourceRoots roots(m_common.roots);
    TargetFinder finder(roots, PACKED_SUFFIXES);
    for (const std::string& path : m_paths) {
        finder.add(path);
    }
    const Targets targets = finder.take();
    if (!reportAll(terminal, targets.problems)) {
        return ExitStatus::USAGE;
    }
    refuseInputAsOutput(targets.paths);
    if (!m_isForced && !checkFiles(terminal, roots, targets)) {
        return ExitStatus::FINDINGS;
    }
    return writePack(terminal, {targets.paths.begin(), targets.paths.end()});
}

void PackCommand::refuseInputAsOutput(const std::set<std::string>& paths) const {
    std::error_code error;
    if (!std::filesystem::exists(m_output, error)) {
        return;
    }
    for (const std::string& path : paths) {
        if (std::filesystem::equivalent(FS::Utils::resolveResourcePath(path), m_output, error)) {
            throw CommandError("the output '" + m_output + "' is one of the files that are packed");
        }
    }
}

int PackCommand::writePack(Terminal& terminal, const std::vector<std::string>& paths) const {
    PackingOptions options;
    options.isCompressed = m_isCompressed;
    options.keepsPositions = m_keepsPositions;
    options.threads = static_cast<std::size_t>(m_jobs);
    if (m_updates) {
        std::string ignored; // Without a sound pack, all files are encoded.
        options.previous = ResourcePack::open(m_output, ignored);
    }
    options.keepsMalformed = m_isForced;
    options.onStep = [&terminal, &paths](std::size_t count, const std::string& path) {
        terminal.showProgress(count, PackingOptions::STEPS_PER_FILE * paths.size(), path);
    };
    const PackingResult result = PrefabPacking::packFiles(paths, m_output, options);
    terminal.clearProgress();
    if (!reportAll(terminal, result.problems)) {
        return ExitStatus::USAGE;
    }
    if (!reportAll(terminal, result.malformed)) {
        reportRefusal(terminal, result.malformed.size());
        return ExitStatus::FINDINGS;
    }
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(m_output, error);
    std::string text = "packed " + counted(paths.size(), "file");
    if (m_updates) {
        text += ", " + std::to_string(result.reusedCount) + " of them unchanged";
    }
    terminal.note(text.append(", ").append(std::to_string(error ? 0 : size)).append(" bytes"));
    return ExitStatus::SUCCESS;
}

/// Whether the checker finds no errors in the prefabs; reports them, and the nested files that are not packed.
bool PackCommand::checkFiles(Terminal& terminal, const ResourceRoots& roots, const Targets& targets) const {
    CheckPlan plan;
    plan.threads = static_cast<std::size_t>(m_jobs);
    for (const std::string& path : targets.paths) {
        if (path.ends_with(PREFAB_SUFFIX)) {
            plan.targets.paths.insert(path);
        }
    }
    SettingsFiles settings(roots, SettingsFiles::Source::FOLDERS, {});
    BaselineFiles baselines(false);
    const CheckOutcome outcome = runCheck(plan, roots, settings, baselines);
    std::size_t errorsCount = 0;
    for (const PrefabInspection::Finding& finding : outcome.shown.findings) {
        if (finding.severity == PrefabInspection::Severity::ERROR) {
            ++errorsCount;
            std::string text = finding.file + ":" + std::to_string(finding.range.line);
            terminal.reportFailure(text.append(": ").append(finding.message));
        }
    }
    for (const PrefabInspection::CheckedFile& file : outcome.shown.files) {
        if (!file.isTarget && file.bytes > 0 && !targets.paths.contains(file.path)) {
            terminal.note("'" + file.path + "' is nested in a packed prefab, but is not packed itself");
        }
    }
    if (errorsCount > 0) {
        reportRefusal(terminal, errorsCount);
    }
    return errorsCount == 0;
}

const std::string& PackCommand::onlyPath() const {
    if (m_paths.size() != 1) {
        throw CommandError("--list and --verify take one pack");
    }
    return m_paths.front();
}

int PackCommand::list(Terminal& terminal) const {
    const SmartPointer<const ResourcePack> pack = openedPack(onlyPath());
    for (std::size_t i = 0; i < pack->documentsCount(); ++i) {
        const ResourcePack::Document document = pack->document(i);
        terminal.output() << formName(document) << '\t' << document.storedSize << '\t' << document.size << '\t'
                          << printable(document.path) << '\n';
    }
    terminal.note(counted(pack->documentsCount(), "document") + ", " + std::to_string(pack->fileSize()) + " bytes");
    return ExitStatus::SUCCESS;
}

int PackCommand::verify(Terminal& terminal) const {
    const SmartPointer<const ResourcePack> pack = openedPack(onlyPath());
    if (!reportAll(terminal, PrefabPacking::verifyPack(*pack))) {
        return ExitStatus::FINDINGS;
    }
    terminal.note("verified " + counted(pack->documentsCount(), "document"));
    return ExitStatus::SUCCESS;
}

int PackCommand::compare(Terminal& terminal) const {
    if (m_paths.size() != 2) {
        throw CommandError("--diff takes two packs");
    }
    const SmartPointer<const ResourcePack> before = openedPack(m_paths[0]);
    const SmartPointer<const ResourcePack> after = openedPack(m_paths[1]);
    const PrefabPacking::PackComparison comparison = PrefabPacking::comparePacks(*before, *after);
    for (const PackDifference& difference : comparison.differences) {
        terminal.output() << differenceText(difference.kind) << printable(difference.path) << '\n';
    }
    if (!reportAll(terminal, comparison.problems)) {
        return ExitStatus::USAGE;
    }
    return comparison.differences.empty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

} // namespace Kiln::PrefabTool
