#include "deps_command.h"

#include "dependency_text.h"
#include "graph_formats.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_roots.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/json_text.h>
#include <kiln_prefab/view/object_text.h>
#include <kiln_prefab/view/prefab_argument.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <system_error>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabInspection::DependencyGraph;
using PrefabInspection::PrefabFile;

namespace {

/// Reports the files that could not be read. Returns whether there are none.
[[nodiscard]] bool reportFiles(Terminal& terminal, const DependencyGraph& graph) {
    bool isSound = true;
    for (const DependencyGraph::File& file : graph.files()) {
        if (file.status == PrefabFile::Status::READ) {
            continue;
        }
        isSound = false;
        std::string text = placeText(file.path, file.problemRange) + ": the file " + file.problem;
        if (!file.usedBy.empty()) {
            const DependencyGraph::Edge& edge = graph.edges()[file.usedBy.front()];
            text += "; '" + edge.place.text + "' at " + placeText(edge.place) + " nests it";
        }
        terminal.reportFailure(text);
    }
    return isSound;
}

} // namespace

const Command::Description& DepsCommand::description() const {
    static const Description DESCRIPTION{"deps",
                                         "Show which prefab files nest which others.",
                                         {"kiln-prefab deps --root content harbour.prefab",
                                          "kiln-prefab deps content --reverse content/lamp.prefab",
                                          "kiln-prefab deps --format make harbour.prefab > harbour.d"}};
    return DESCRIPTION;
}

void DepsCommand::addOptions(CLI::App& app) {
    app.add_option("PATH", m_paths,
                   "Prefabs, or folders with prefabs: resource paths, or paths beneath a root (default: all roots)")
        ->check(notEmpty())
        ->type_name("");
    CLI::Option* const reverse = app.add_option("--reverse", m_reverse, "Show the files that nest FILE, at any depth")
                                     ->check(notEmpty())
                                     ->type_name("FILE");
    CLI::Option* const cycles =
        app.add_flag("--cycles", m_showsCycles, "Show only files that nest each other; exit status 1 if there are any")
            ->excludes(reverse);
    CLI::Option* const tops = app.add_flag("--roots", m_showsRoots, "Show only the files that no other file nests")
                                  ->excludes(reverse)
                                  ->excludes(cycles);
    app.add_flag("--unused", m_showsUnused,
                 "Show only files of the named folders that the named files do not need; without named files, those "
                 "that no other file nests")
        ->excludes(reverse)
        ->excludes(cycles)
        ->excludes(tops);
    addChoice(app, "--format", m_format, {"text", "json", "dot", "mermaid", "make"},
              "Print trees, JSON, a graph for Graphviz or Mermaid, or rules for make and ninja. The last three show "
              "the whole graph");
    m_common.addTo(app);
}

int DepsCommand::run(Terminal& terminal) {
    if (!m_common.apply(terminal)) {
        return ExitStatus::USAGE;
    }
    return runReporting(terminal, [this, &terminal]() {
        const bool isPart = !m_reverse.empty() || m_showsCycles || m_showsRoots || m_showsUnused;
        if (isPart && m_format != "text" && m_format != "json") {
            throw CommandError("--format " + m_format + " shows the whole graph; use text or json for a part of it");
        }
        const ResourceRoots roots(m_common.roots);
        return show(terminal, roots, select(terminal, roots));
    });
}

DepsCommand::Selection DepsCommand::select(Terminal& terminal, const ResourceRoots& roots) const {
    TargetFinder finder(roots);
    Selection selection;
    std::vector<std::string> names = m_paths;
    for (std::size_t root = 0; m_paths.empty() && root < roots.size(); ++root) {
        names.push_back(roots.name(root));
    }
    for (const std::string& name : names) {
        finder.add(name);
        TargetFinder single(roots);
        single.add(name);
        const Targets targets = single.take();
        std::error_code error;
        const bool isFile = targets.paths.size() == 1 && targets.paths.contains(single.resourcePath(name));
        if (isFile && !std::filesystem::is_directory(name, error)) {
            selection.entries.push_back(*targets.paths.begin());
        }
    }
    const Targets targets = finder.take();
    for (const std::string& problem : targets.problems) {
        terminal.reportFailure(problem);
    }
    selection.all.assign(targets.paths.begin(), targets.paths.end());
    if (!m_reverse.empty()) {
        selection.reverse = TargetFinder(roots).resourcePath(m_reverse);
    }
    return selection;
}

int DepsCommand::show(Terminal& terminal, const ResourceRoots& roots, const Selection& selection) const {
    const DependencyGraph graph(selection.all, [&terminal](std::size_t count, const std::string& file) {
        terminal.showProgress(count, 0, file);
    });
    terminal.clearProgress();
    const bool isSound = reportFiles(terminal, graph);
    int exitStatus = ExitStatus::SUCCESS;
    if (!selection.reverse.empty()) {
        exitStatus = showReverse(terminal, graph, selection.reverse);
    } else if (m_showsCycles) {
        exitStatus = showCycles(terminal, graph);
    } else if (m_showsRoots) {
        showFiles(terminal, graph, graph.roots());
    } else if (m_showsUnused) {
        showUnused(terminal, graph, selection);
    } else {
        showGraph(terminal, roots, graph);
    }
    return isSound ? exitStatus : ExitStatus::FINDINGS;
}

int DepsCommand::showReverse(Terminal& terminal, const DependencyGraph& graph, const std::string& path) const {
    const std::size_t file = graph.find(path);
    if (file == DependencyGraph::NONE) {
        throw CommandError("'" + path + "' is neither among the prefabs nor nested in one of them");
    }
    if (m_format == "json") {
        // All files that lead to the file, found by walking the edges backwards.
        std::vector<bool> isUser(graph.files().size());
        std::vector<std::size_t> pending{file};
        std::vector<std::size_t> users;
        while (!pending.empty()) {
            const std::size_t used = pending.back();
            pending.pop_back();
            for (const std::size_t edge : graph.files()[used].usedBy) {
                const std::size_t user = graph.edges()[edge].user;
                if (!isUser[user]) {
                    isUser[user] = true;
                    users.push_back(user);
                    pending.push_back(user);
                }
            }
        }
        std::sort(users.begin(), users.end());
        showFiles(terminal, graph, users);
    } else {
        writeUsers(terminal.output(), graph, file);
    }
    return ExitStatus::SUCCESS;
}

int DepsCommand::showCycles(Terminal& terminal, const DependencyGraph& graph) const {
    const std::vector<std::vector<std::size_t>> cycles = graph.cycles();
    if (m_format == "json") {
        OrderedJson json{{"cycles", OrderedJson::array()}};
        for (const std::vector<std::size_t>& cycle : cycles) {
            OrderedJson edges = OrderedJson::array();
            for (const std::size_t index : cycle) {
                const DependencyGraph::Edge& edge = graph.edges()[index];
                edges.push_back({{"file", edge.place.file},
                                 {"line", edge.place.range.line},
                                 {"object", edge.place.text},
                                 {"nested", graph.files()[edge.used].path},
                                 {"override", edge.isOverride}});
            }
            json["cycles"].push_back(edges);
        }
        terminal.output() << jsonText(json) << '\n';
    } else {
        writeCycles(terminal.output(), graph, cycles);
    }
    return cycles.empty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

void DepsCommand::showUnused(Terminal& terminal, const DependencyGraph& graph, const Selection& selection) const {
    std::vector<std::size_t> unused = graph.roots();
    if (!selection.entries.empty()) {
        std::vector<std::size_t> entries;
        for (const std::string& entry : selection.entries) {
            entries.push_back(graph.find(entry));
        }
        const std::vector<bool> isNeeded = graph.reachable(entries);
        unused.clear();
        for (std::size_t i = 0; i < graph.files().size(); ++i) {
            if (!isNeeded[i] && graph.files()[i].isTarget) {
                unused.push_back(i);
            }
        }
    }
    showFiles(terminal, graph, unused);
}

void DepsCommand::showFiles(Terminal& terminal, const DependencyGraph& graph,
                            const std::vector<std::size_t>& files) const {
    std::ostream& stream = terminal.output();
    OrderedJson json{{"files", OrderedJson::array()}};
    for (const std::size_t file : files) {
        if (m_format == "json") {
            json["files"].push_back(graph.files()[file].path);
        } else {
            stream << printable(graph.files()[file].path) << '\n';
        }
    }
    if (m_format == "json") {
        stream << jsonText(json) << '\n';
    }
}

void DepsCommand::showGraph(Terminal& terminal, const ResourceRoots& roots, const DependencyGraph& graph) const {
    std::ostream& stream = terminal.output();
    if (m_format == "json") {
        writeGraphJson(stream, graph);
    } else if (m_format == "dot") {
        writeDot(stream, graph);
    } else if (m_format == "mermaid") {
        writeMermaid(stream, graph);
    } else if (m_format == "make") {
        writeMakeRules(stream, graph, [&roots](const std::string& path) { return roots.fileName(path); });
    } else {
        writeUses(stream, graph);
    }
}

} // namespace Kiln::PrefabTool
