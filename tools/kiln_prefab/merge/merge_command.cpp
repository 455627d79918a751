#include "merge_command.h"

#include "conflict_list.h"
#include "merge_files.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <prefab_merging/check_validation.h>
#include <prefab_merging/merge.h>

#include <exception>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabMerging::MergeOptions;
using PrefabMerging::MergeResult;
using PrefabMerging::Preference;

namespace {

/// Git takes a status from 1 to 128 for conflicts, and a higher one for a driver that has failed.
constexpr int FAILURE_STATUS = 129;

} // namespace

const Command::Description& MergeCommand::description() const {
    static const Description DESCRIPTION{
        "merge",
        "Merge the changes that two files have made to a third one, by game object, component and property.",
        {"kiln-prefab merge base.prefab ours.prefab theirs.prefab -o merged.prefab",
         "kiln-prefab merge base.prefab ours.prefab theirs.prefab -o ours.prefab --prefer theirs",
         "git config merge.kiln-prefab.driver \"kiln-prefab merge %O %A %B -o %A --path %P\""}};
    return DESCRIPTION;
}

void MergeCommand::addOptions(CLI::App& app) {
    const auto add = [&app](const char* name, std::string& value, const char* description) {
        app.add_option(name, value, description)->required()->check(notEmpty())->type_name("");
    };
    add("BASE", m_base, "The file that both sides have changed; may be empty");
    add("OURS", m_ours, "The file whose text stays where theirs has no change");
    add("THEIRS", m_theirs, "The file whose changes are merged");
    app.add_option("-o,--output", m_output, "Write the result to FILE, which may be one of the three")
        ->required()
        ->check(notEmpty())
        ->type_name("FILE");
    app.add_option("--path", m_path,
                   "Name of the merged file in messages and in the check of the result "
                   "(default: the FILE of --output)")
        ->check(notEmpty())
        ->type_name("FILE");
    addChoice(app, "--prefer", m_prefer, {"ours", "theirs"},
              "Decide every conflict for this side, instead of keeping the conflicts in the result");
    app.add_flag("--no-check", m_isUnchecked, "Do not look for problems that only both sides' changes together bring");
    addChoice(app, "--format", m_format, {"text", "json"}, "Print the conflicts as text or JSON");
    m_common.addTo(app);
}

int MergeCommand::failureStatus() const {
    return FAILURE_STATUS;
}

int MergeCommand::run(Terminal& terminal) {
    try {
        return m_common.apply(terminal) ? merge(terminal) : FAILURE_STATUS;
    } catch (const std::exception& error) {
        terminal.reportFailure(error.what());
        return FAILURE_STATUS;
    }
}

int MergeCommand::merge(Terminal& terminal) const {
    const std::string& path = m_path.empty() ? m_output : m_path;
    const std::vector<std::string> texts = readFiles({m_base, m_ours, m_theirs});
    MergeOptions options;
    options.preference = m_prefer == "ours"     ? Preference::OURS
                         : m_prefer == "theirs" ? Preference::THEIRS
                                                : Preference::NONE;
    if (!m_isUnchecked) {
        options.findProblems = PrefabMerging::checkingProblems(checkedPath(path, m_common.roots));
    }
    MergeResult result = PrefabMerging::mergePrefabs(texts[0], texts[1], texts[2], options);
    writeFile(m_output, result.text);
    ConflictList list;
    list.file = path;
    addConflicts(result.text, list);
    list.takenCount = result.takenCount;
    list.decidedCount = result.decidedCount;
    if (m_format == "json") {
        writeConflictsJson(terminal, list);
    } else {
        writeConflicts(terminal, list);
    }
    if (result.decidedCount != 0) {
        terminal.note(counted(result.decidedCount, "conflict") + " of " + path + " decided for " + m_prefer);
    }
    if (!list.isEmpty()) { // Also those that the sides held before.
        terminal.note(path + " holds " + counted(list.conflicts.size() + list.unreadableLines.size(), "conflict") +
                      "; 'kiln-prefab resolve' lists and decides them");
    }
    return list.isEmpty() && result.conflicts.empty() ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
}

} // namespace Kiln::PrefabTool
