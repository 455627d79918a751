#include "diff_command.h"

#include "change_json.h"
#include "change_text.h"
#include "git_files.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_comparison/canonical_text.h>
#include <prefab_comparison/composed_comparison.h>
#include <prefab_comparison/text_comparison.h>
#include <resource/file_system_utils.h>
#include <resource/resource_text.h>

#include <filesystem>
#include <ostream>
#include <sstream>
#include <system_error>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace fs = std::filesystem;
using FS::Utils::ResourceText;
using PrefabComparison::Change;
using PrefabComparison::compareCompositions;
using PrefabComparison::LoadedDocument;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;

namespace {

/// Git names a side like this that does not exist.
constexpr const char* NO_FILE = "/dev/null";
constexpr const char* EMPTY_PREFAB = "<prefab><formatVersion>1</formatVersion><gameObjects/></prefab>";

/// The arguments of an external diff command: path, old file, hash and mode, new file, hash and mode, and for a renamed
/// file the new path and a description. Of an unmerged file git passes only the path.
constexpr std::size_t GIT_UNMERGED_ARGUMENTS = 1;
constexpr std::size_t GIT_ARGUMENTS = 7;
constexpr std::size_t GIT_RENAME_ARGUMENTS = 9;
constexpr std::size_t GIT_OLD_FILE = 1;
constexpr std::size_t GIT_NEW_FILE = 4;
constexpr std::size_t GIT_NEW_PATH = 7;

/// Reads a file that the user names, wherever it is. Throws CommandError.
[[nodiscard]] FileContent readAnyFile(const std::string& name) {
    FS::Utils::setPathConfinement(false);
    std::error_code error;
    ResourceText file = FS::Utils::readResource(fs::absolute(name, error).string());
    FS::Utils::setPathConfinement(true);
    if (file.status == ResourceText::Status::MISSING) {
        throw CommandError(name + ": the file is missing");
    }
    if (file.status != ResourceText::Status::READ) {
        throw CommandError(name + ": the file cannot be read: " + file.problem);
    }
    return std::move(file.content);
}

void setRoots(const std::vector<std::string>& roots) {
    FS::Utils::clearResourceRoots();
    for (const std::string& root : roots) {
        FS::Utils::addResourceRoot(root);
    }
    if (roots.empty()) {
        FS::Utils::addResourceRoot({});
    }
}

/// An instance of a prefab with the files that it is made of.
struct ComposedSide {
    /// Reads the files beneath the roots.
    ComposedSide(const std::vector<std::string>& roots, const std::string& path) : name(path) {
        setRoots(roots);
        const PrefabFile& file = files.get(path);
        if (!file.document) {
            throw CommandError(placeText(file.path, file.problemRange) + ": the file " + file.problem);
        }
        composition.emplace(files, path, Composition::Options());
    }

    std::string name;
    PrefabFiles files;
    std::optional<Composition> composition;
};

} // namespace

const Command::Description& DiffCommand::description() const {
    static const Description DESCRIPTION{
        "diff",
        "Show what has changed between two prefabs.",
        {"kiln-prefab diff old/harbour.prefab harbour.prefab", "kiln-prefab diff --git HEAD~1 content/harbour.prefab",
         "kiln-prefab diff --root content --git HEAD --composed content/harbour.prefab",
         "git config diff.kiln-prefab.command 'kiln-prefab diff --git-external --'",
         "git config diff.kiln-prefab.textconv 'kiln-prefab diff --textconv --'"}};
    return DESCRIPTION;
}

void DiffCommand::addOptions(CLI::App& app) {
    app.add_option("FILE", m_paths,
                   "The prefab before and after the change; with --git only the file, whose present content is the "
                   "second one")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    CLI::Option* const git = app.add_option("--git", m_revision, "Compare with the file in the revision REV of git")
                                 ->check(notEmpty())
                                 ->type_name("REV");
    CLI::Option* const composed = app.add_flag(
        "--composed", m_isComposed, "Compare the live objects with all of their values, nested prefabs included");
    CLI::Option* const oldRoots =
        app.add_option("--old-root", m_oldRoots,
                       "With --composed, look up the resource paths of the first prefab in DIR; may be repeated "
                       "(default: as --root)")
            ->allow_extra_args(false)
            ->check(CLI::ExistingDirectory)
            ->type_name("DIR")
            ->excludes(git)
            ->needs(composed);
    addChoice(app, "--format", m_format, {"text", "json"}, "Print a tree of the changes, or one JSON document");
    app.add_flag("--brief", m_isBrief, "Print only how many changes of each kind there are");
    CLI::Option* const external =
        app.add_flag("--git-external", m_isForGit,
                     "Take the arguments that git passes to an external diff command; exit status 0 also if there are "
                     "changes")
            ->excludes(git)
            ->excludes(composed);
    app.add_flag("--textconv", m_isTextConversion,
                 "Print one prefab line by line, so that only what counts changes lines, for git's textconv")
        ->excludes(git)
        ->excludes(composed)
        ->excludes(external)
        ->excludes(oldRoots);
    m_common.addTo(app);
}

int DiffCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() {
        if (m_isTextConversion) {
            return runTextConversion(terminal);
        }
        if (m_isForGit) {
            return runForGit(terminal);
        }
        return m_isComposed ? runComposed(terminal) : runComparison(terminal);
    });
}

void DiffCommand::checkPaths(std::size_t count) const {
    if (m_paths.size() != count) {
        throw CommandError("diff needs " + counted(count, "file") + (m_revision.empty() ? "" : " with --git") +
                           ", not " + std::to_string(m_paths.size()));
    }
}

std::string DiffCommand::fileName(const std::string& name) const {
    std::error_code error;
    return fs::exists(name, error) ? name : ResourceRoots(m_common.roots).fileName(normalResourcePath(name));
}

DiffCommand::Side DiffCommand::readSide(const std::string& name) const {
    return {name, readAnyFile(fileName(name))};
}

std::string DiffCommand::earlierName() const {
    return m_revision + ":" + m_paths.front();
}

DiffCommand::Side DiffCommand::readEarlier() const {
    const fs::path file = fileName(m_paths.front());
    const std::string commit = gitCommit(file.parent_path(), m_revision);
    return {earlierName(), FileContent::copyOf(gitFileText(file, commit, m_revision))};
}

int DiffCommand::runComparison(Terminal& terminal) const {
    checkPaths(m_revision.empty() ? 2 : 1);
    Side before = m_revision.empty() ? readSide(m_paths.front()) : readEarlier();
    return compare(terminal, std::move(before), readSide(m_paths.back()));
}

int DiffCommand::compare(Terminal& terminal, Side before, Side after) const {
    const std::string nameBefore = before.name;
    const std::string nameAfter = after.name;
    const PrefabComparison::TextComparison comparison = PrefabComparison::compareTexts(
        std::move(before.name), std::move(before.content), std::move(after.name), std::move(after.content));
    if (!comparison.problem.empty()) {
        throw CommandError(comparison.problem);
    }
    return show(terminal, {nameBefore, nameAfter, false}, comparison.changes);
}

int DiffCommand::show(Terminal& terminal, const ComparedSides& sides, const Changes& changes) const {
    if (m_format == "json") {
        writeChangesJson(terminal.output(), sides, changes);
    } else if (m_isBrief) {
        writeBrief(terminal, sides.after, changes);
    } else {
        writeChanges(terminal, changes);
    }
    return changes.empty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

int DiffCommand::runComposed(Terminal& terminal) const {
    checkPaths(m_revision.empty() ? 2 : 1);
    std::vector<std::string> oldRoots = m_oldRoots.empty() ? m_common.roots : m_oldRoots;
    const std::string pathAfter = TargetFinder(ResourceRoots(m_common.roots)).resourcePath(m_paths.back());
    std::string pathBefore = pathAfter;
    std::vector<std::unique_ptr<GitSnapshot>> snapshots;
    if (m_revision.empty()) {
        pathBefore = TargetFinder(ResourceRoots(oldRoots)).resourcePath(m_paths.front());
    } else {
        oldRoots.clear();
        for (const std::string& root : m_common.roots.empty() ? std::vector<std::string>{"."} : m_common.roots) {
            snapshots.push_back(std::make_unique<GitSnapshot>(root, gitCommit(root, m_revision)));
            oldRoots.push_back(snapshots.back()->path());
        }
    }
    const ComposedSide before(oldRoots, pathBefore);
    const ComposedSide after(m_common.roots, pathAfter);
    for (const ComposedSide* const side : {&before, &after}) {
        static_cast<void>(reportProblems(terminal, *side->composition));
        if (side->composition->failure()) {
            return ExitStatus::USAGE;
        }
    }
    return show(terminal, {m_revision.empty() ? before.name : earlierName(), after.name, true},
                compareCompositions(*before.composition, *after.composition));
}

int DiffCommand::runForGit(Terminal& terminal) const {
    if (m_paths.size() == GIT_UNMERGED_ARGUMENTS) {
        terminal.output() << printable(m_paths.front()) << " is unmerged\n";
        return ExitStatus::SUCCESS;
    }
    if (m_paths.size() != GIT_ARGUMENTS && m_paths.size() != GIT_RENAME_ARGUMENTS) {
        throw CommandError("--git-external needs the 7 or 9 arguments that git passes, not " +
                           std::to_string(m_paths.size()));
    }
    const bool isRenamed = m_paths.size() == GIT_RENAME_ARGUMENTS;
    const std::string& name = isRenamed ? m_paths[GIT_NEW_PATH] : m_paths.front();
    const auto read = [](const std::string& file) {
        return file == NO_FILE ? FileContent::copyOf(EMPTY_PREFAB) : readAnyFile(file);
    };
    terminal.output() << terminal.styled("prefab " + printable(m_paths.front()) +
                                             (isRenamed ? " renamed to " + printable(name) : ""),
                                         Style::STRONG)
                      << (m_paths[GIT_OLD_FILE] == NO_FILE   ? ", new file"
                          : m_paths[GIT_NEW_FILE] == NO_FILE ? ", deleted file"
                                                             : "")
                      << '\n';
    try {
        static_cast<void>(
            compare(terminal, {m_paths.front(), read(m_paths[GIT_OLD_FILE])}, {name, read(m_paths[GIT_NEW_FILE])}));
    } catch (const CommandError& error) {
        // With another exit status git would show none of the files that follow.
        terminal.output() << printable(error.what()) << '\n';
    }
    return ExitStatus::SUCCESS;
}

int DiffCommand::runTextConversion(Terminal& terminal) const {
    checkPaths(1);
    Side side = readSide(m_paths.front());
    const std::string text(side.content.text());
    const LoadedDocument document(side.name, std::move(side.content));
    if (document.problem().empty()) {
        PrefabComparison::writeCanonicalText(
            document, [&terminal](const std::string& line) { terminal.output() << printable(line) << '\n'; });
        return ExitStatus::SUCCESS;
    }
    // A file with the marks of a merge conflict, for example. Without a text git would show no difference at all.
    terminal.reportFailure(document.problem());
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        terminal.output() << printable(line) << '\n';
    }
    return ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
