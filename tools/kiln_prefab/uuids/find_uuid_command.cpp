#include "find_uuid_command.h"

#include "uuid_argument.h"
#include "uuid_search.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <ostream>

namespace Kiln::PrefabTool {

namespace {

constexpr int JSON_VERSION = 1;
constexpr std::int64_t MAX_JOBS = 1024;

void writeText(std::ostream& stream, const UuidSearchResult& result) {
    for (const FoundUuid& found : result.found) {
        const std::string origin = placeText(found.origin);
        stream << printable(found.isLive ? found.file + ": live UUID of '" + found.object + "' from " + origin
                                         : origin + ": file UUID of '" + found.object + "'")
               << '\n';
    }
}

void writeJson(std::ostream& stream, const UuidSearch& search, const UuidSearchResult& result) {
    OrderedJson json{{"schemaVersion", JSON_VERSION},
                     {"uuid", search.uuid.toString()},
                     {"instanceUuid", search.instanceUuid.toString()},
                     {"found", OrderedJson::array()}};
    for (const FoundUuid& found : result.found) {
        json["found"].push_back({{"kind", found.isLive ? "live" : "file"},
                                 {"prefab", found.file},
                                 {"object", found.object},
                                 {"file", found.origin.file},
                                 {"line", found.origin.range.line}});
    }
    stream << jsonText(json) << '\n';
}

} // namespace

const Command::Description& FindUuidCommand::description() const {
    static const Description DESCRIPTION{
        "find-uuid",
        "Find the objects of files and of their instances that have a UUID.",
        {"kiln-prefab find-uuid 2af5c6f1-95b5-4a27-8f4c-6f1bbd8b8f01 content",
         "kiln-prefab find-uuid --root content --format json 2af5c6f1-95b5-4a27-8f4c-6f1bbd8b8f01 harbour.prefab"}};
    return DESCRIPTION;
}

void FindUuidCommand::addOptions(CLI::App& app) {
    app.add_option("UUID", m_uuid, "The UUID: of an object in its file, or of a live object")
        ->required()
        ->check(isUuid())
        ->type_name("");
    app.add_option("PATH", m_paths, "Prefabs, or folders with prefabs: resource paths, or paths beneath a root")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--instance-uuid", m_instanceUuid, "Instance UUID of the live objects (default: the zero UUID)")
        ->check(isUuid())
        ->type_name("UUID");
    app.add_option("--jobs", m_jobs, "Number of threads (default: 0, one for each processor)")
        ->check(CLI::Range(std::int64_t{0}, MAX_JOBS))
        ->type_name("N");
    addChoice(app, "--format", m_format, {"text", "json"}, "Print one line for each object, or one JSON document");
    m_common.addTo(app);
}

int FindUuidCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() { return search(terminal); });
}

int FindUuidCommand::search(Terminal& terminal) const {
    const ResourceRoots roots(m_common.roots);
    TargetFinder finder(roots);
    for (const std::string& path : m_paths) {
        finder.add(path);
    }
    const Targets targets = finder.take();
    const std::vector<std::string> paths(targets.paths.begin(), targets.paths.end());
    UuidSearch search;
    search.uuid = Uuid::fromString(m_uuid).value_or(Uuid::ZERO);
    search.instanceUuid = Uuid::fromString(m_instanceUuid).value_or(Uuid::ZERO);
    search.threads = static_cast<std::size_t>(m_jobs);
    search.onFile = [&terminal, &paths](std::size_t count, const std::string& file) {
        terminal.showProgress(count, paths.size(), file);
    };
    UuidSearchResult result = findUuid(paths, search);
    terminal.clearProgress();
    result.problems.insert(result.problems.begin(), targets.problems.begin(), targets.problems.end());
    if (m_format == "json") {
        writeJson(terminal.output(), search, result);
    } else {
        writeText(terminal.output(), result);
    }
    for (const std::string& problem : result.problems) {
        terminal.reportFailure(problem);
    }
    if (!result.problems.empty()) {
        return ExitStatus::USAGE;
    }
    return result.found.empty() ? ExitStatus::FINDINGS : ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
