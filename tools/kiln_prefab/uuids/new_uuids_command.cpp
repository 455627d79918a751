#include "new_uuids_command.h"

#include "uuid_argument.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_editing/text_file.h>
#include <prefab_editing/unified_diff.h>
#include <resource/resource_text.h>

#include <ostream>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::Place;

/// Throws CommandError if a file is not as it was read.
void requireUnchanged(const UuidRenaming& renaming) {
    for (const UuidRenaming::File& file : renaming.files) {
        const FS::Utils::ResourceText present = FS::Utils::readResource(file.path);
        if (present.status != FS::Utils::ResourceText::Status::READ || present.content.text() != file.text.original()) {
            throw CommandError("Cannot change '" + file.path + "': another program has changed it meanwhile");
        }
    }
}

void write(const std::string& fileName, const std::string& text) {
    if (const std::string problem = PrefabEditing::replaceTextFile(fileName, text); !problem.empty()) {
        throw CommandError(problem);
    }
}

[[nodiscard]] UuidTable::MakeUuid uuidMaker(const std::string& seedText) {
    const std::optional<Uuid> seed = Uuid::fromString(seedText);
    if (!seed) {
        return [](const Uuid& /*old*/) { return Uuid::generate(); };
    }
    std::uint64_t unnamedCount = 0;
    return [seed = *seed, unnamedCount](const Uuid& old) mutable {
        // The high half of a UUID that some program has generated is never zero.
        return Uuid::combine(seed, old == Uuid::ZERO ? Uuid(0, ++unnamedCount) : old);
    };
}

} // namespace

const Command::Description& NewUuidsCommand::description() const {
    static const Description DESCRIPTION{"new-uuids",
                                         "Give every object of a prefab a new UUID, and rewrite what refers to it.",
                                         {"kiln-prefab new-uuids copy_of_lamp.prefab",
                                          "kiln-prefab new-uuids --folder content --dry-run content/lamp.prefab"}};
    return DESCRIPTION;
}

void NewUuidsCommand::addOptions(CLI::App& app) {
    app.add_option("FILE", m_file, "The prefab: a resource path, or a file beneath a root")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--folder", m_folder,
                   "Also rewrite what refers to the objects in the prefabs beneath DIR: overrides, links, parents")
        ->check(notEmpty())
        ->type_name("DIR");
    app.add_option("--seed", m_seed,
                   "Make each new UUID as combine(UUID, old UUID), so that the result is always the same (default: "
                   "random UUIDs)")
        ->check(isUuid())
        ->type_name("UUID");
    app.add_flag("--dry-run", m_isDryRun, "Print the changes as a patch, and change nothing");
    m_common.addTo(app);
}

int NewUuidsCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() {
        const ResourceRoots roots(m_common.roots);
        const UuidRenaming renaming = rename(terminal, roots);
        requireUnchanged(renaming);
        for (const UuidRenaming::File& file : renaming.files) {
            if (m_isDryRun) {
                terminal.output() << PrefabEditing::unifiedDiff(file.path, file.text);
            } else {
                write(roots.fileName(file.path), file.text.text());
            }
        }
        report(terminal, renaming);
        return renaming.problems.empty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
    });
}

UuidRenaming NewUuidsCommand::rename(Terminal& terminal, const ResourceRoots& roots) const {
    std::vector<std::string> others;
    if (!m_folder.empty()) {
        TargetFinder finder(roots);
        finder.add(m_folder);
        const Targets targets = finder.take();
        if (!targets.problems.empty()) {
            throw CommandError(targets.problems.front());
        }
        others.assign(targets.paths.begin(), targets.paths.end());
        terminal.showProgress(0, others.size(), m_folder);
    }
    PrefabInspection::PrefabFiles files;
    return renameUuids(files, TargetFinder(roots).resourcePath(m_file), others, uuidMaker(m_seed));
}

void NewUuidsCommand::report(Terminal& terminal, const UuidRenaming& renaming) const {
    for (const Place& problem : renaming.problems) {
        terminal.reportFailure(placeText(problem) + ": " + problem.text);
    }
    for (const Place& value : renaming.otherValues) {
        terminal.note(placeText(value) + ": " + value.text +
                      " has the UUID of an object, but is no link and was not changed");
    }
    for (const auto& [type, count] : renaming.unknownComponents) {
        terminal.note("changed " + counted(count, "value") + " of components of the unknown type '" + type +
                      "' that had UUIDs of the objects");
    }
    if (!m_isDryRun) {
        terminal.output() << counted(renaming.objectsCount, "new UUID") << " and "
                          << counted(renaming.linksCount, "changed reference") << " in "
                          << counted(renaming.files.size(), "file") << '\n';
    }
}

} // namespace Kiln::PrefabTool
