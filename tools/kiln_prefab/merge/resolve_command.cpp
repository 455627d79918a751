#include "resolve_command.h"

#include "conflict_list.h"
#include "merge_files.h"

#include <common/uuid.h>
#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <prefab_merging/resolution.h>
#include <resource/file_content.h>
#include <resource/resource_text.h>

#include <optional>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabMerging::Conflict;
using PrefabMerging::Preference;
using PrefabMerging::Resolution;
using PrefabMerging::ResolvedText;

const Command::Description& ResolveCommand::description() const {
    static const Description DESCRIPTION{
        "resolve",
        "List the conflicts that a file holds after a merge, or decide them.",
        {"kiln-prefab resolve harbour.prefab", "kiln-prefab resolve harbour.prefab --prefer theirs",
         "kiln-prefab resolve harbour.prefab --prefer ours --object 5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001"}};
    return DESCRIPTION;
}

void ResolveCommand::addOptions(CLI::App& app) {
    app.add_option("FILE", m_file, "The file, which is changed in place")->required()->check(notEmpty())->type_name("");
    addChoice(app, "--prefer", m_prefer, {"ours", "theirs"},
              "Decide the conflicts: keep what the file has, or take the other side's values (default: list them)");
    const auto problem = [](std::string& value) {
        return Uuid::fromString(value) ? std::string()
                                       : "'" + value + "' is not a UUID (8-4-4-4-12 hexadecimal digits)";
    };
    app.add_option("--object", m_object, "Only conflicts about the game object with this UUID")
        ->check(CLI::Validator(problem, "", "UUID"))
        ->type_name("UUID");
    addChoice(app, "--format", m_format, {"text", "json"}, "Print the conflicts that are left as text or JSON");
    m_common.addTo(app);
}

int ResolveCommand::run(Terminal& terminal) {
    m_common.setUp(terminal);
    return runReporting(terminal, [this, &terminal]() { return resolve(terminal); });
}

int ResolveCommand::resolve(Terminal& terminal) const {
    std::string text = readFiles({m_file}).front();
    ConflictList list;
    list.file = m_file;
    const std::optional<Uuid> object = Uuid::fromString(m_object);
    if (!m_prefer.empty()) {
        decide(terminal, text, list);
    }
    addConflicts(text, list);
    if (list.isEmpty()) {
        requireDocument(text);
    }
    if (object) {
        std::erase_if(list.conflicts,
                      [&object](const ListedConflict& listed) { return listed.conflict.place.object != object; });
    }
    if (m_format == "json") {
        writeConflictsJson(terminal, list);
    } else {
        writeConflicts(terminal, list);
    }
    return list.isEmpty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

/// Decides the conflicts of a file's text and writes the file.
void ResolveCommand::decide(Terminal& terminal, std::string& text, ConflictList& list) const {
    Resolution resolution;
    resolution.object = Uuid::fromString(m_object);
    resolution.preference = m_prefer == "ours" ? Preference::OURS : Preference::THEIRS;
    try {
        ResolvedText resolved = PrefabMerging::resolveConflicts(text, resolution);
        list.decidedCount = resolved.resolvedCount;
        for (const Conflict& conflict : resolved.failed) {
            terminal.reportFailure(m_file + ": the file has no place any more for " +
                                   PrefabMerging::describe(conflict.place));
        }
        if (resolved.text != text) {
            text = std::move(resolved.text);
            writeFile(m_file, text);
        }
    } catch (const PrefabMerging::IrregularText& irregular) {
        throw CommandError("Cannot change '" + m_file + "': it " + irregular.what());
    }
    terminal.note(counted(list.decidedCount, "conflict") + " decided for " + m_prefer);
}

/// A file without conflicts may have been merged by another program.
void ResolveCommand::requireDocument(const std::string& text) const {
    XmlProblem problem;
    if (parseXml(FileContent::copyOf(text), m_file, problem)) {
        return;
    }
    const bool hasGitConflict = text.starts_with("<<<<<<< ") || text.find("\n<<<<<<< ") != std::string::npos;
    throw CommandError(
        problem.message(m_file) +
        (hasGitConflict ? "; the file has conflicts that git has written: merge it with kiln-prefab" : ""));
}

} // namespace Kiln::PrefabTool
