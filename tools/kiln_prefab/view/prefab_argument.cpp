#include "prefab_argument.h"

#include "object_text.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/command.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <object_serialization/component_library.h>

#include <cstddef>
#include <map>
#include <set>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabInspection::Composition;
using PrefabInspection::Place;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;

void PrefabArgument::addFile(CLI::App& app) {
    app.add_option("FILE", file, "The prefab: a resource path, or a file beneath a root")
        ->required()
        ->check(notEmpty())
        ->type_name("");
}

void PrefabArgument::addInstanceUuid(CLI::App& app) {
    const auto problem = [](std::string& value) {
        return Uuid::fromString(value) ? std::string()
                                       : "'" + value + "' is not a UUID (8-4-4-4-12 hexadecimal digits)";
    };
    app.add_option("--instance-uuid", instanceUuid, "Instance UUID of the composed instance (default: the zero UUID)")
        ->check(CLI::Validator(problem, "", "UUID"))
        ->type_name("UUID");
}

int PrefabArgument::run(Terminal& terminal, const std::function<int(PrefabFiles&, const PrefabFile&)>& show) const {
    if (!common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal, &show]() {
        const ResourceRoots roots(common.roots);
        PrefabFiles files;
        const PrefabFile& prefab = files.get(TargetFinder(roots).resourcePath(file));
        if (!prefab.document) {
            terminal.reportFailure(placeText(prefab.path, prefab.problemRange) + ": the file " + prefab.problem);
            return ExitStatus::USAGE;
        }
        return show(files, prefab);
    });
}

int runReporting(Terminal& terminal, const std::function<int()>& action) {
    try {
        return action();
    } catch (const CommandError& error) {
        terminal.reportFailure(error.what());
        return ExitStatus::USAGE;
    }
}

namespace {

/// Loading skips components of unknown types without a message. Each file counts once.
void noteUnknownComponents(Terminal& terminal, const Composition& composition) {
    std::set<const PrefabFile*> files;
    for (const Composition::Instance& instance : composition.instances()) {
        files.insert(instance.file);
    }
    std::map<std::string, std::size_t> counts;
    for (const PrefabFile* const file : files) {
        for (std::size_t object = 0; file->document && object < file->document->objects.size(); ++object) {
            for (const PrefabFile::Component& component : file->components(object)) {
                if (component.pool->typeId == ComponentLibrary::INVALID_ID) {
                    ++counts[component.pool->type];
                }
            }
        }
    }
    for (const auto& [type, count] : counts) {
        terminal.note("skipped " + counted(count, "component") + " of unknown type '" + type + "'");
    }
}

} // namespace

bool reportProblems(Terminal& terminal, const Composition& composition) {
    noteUnknownComponents(terminal, composition);
    for (const Place& problem : composition.problems()) {
        terminal.reportFailure(placeText(problem) + ": " + problem.text);
    }
    if (composition.failure()) {
        const std::string& file = composition.instances().front().file->path;
        terminal.reportFailure(file + ": the prefab cannot be created: " + composition.failure()->message);
        for (const Place& place : composition.failure()->places) {
            terminal.note(placeText(place) + ": " + place.text);
        }
    }
    return composition.problems().empty() && !composition.failure();
}

} // namespace Kiln::PrefabTool
