#include "edit_command.h"

#include "change_review.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/resource_change.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/reports/text_report.h>
#include <kiln_prefab/terminal.h>
#include <prefab_editing/unified_diff.h>

#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabEditing::EditedText;
using PrefabEditing::EditError;
using PrefabEditing::PrefabEditor;
using PrefabInspection::Composition;
using PrefabInspection::Finding;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;

void EditCommand::addOptions(CLI::App& app) {
    m_argument.addFile(app);
    addArguments(app);
    app.add_option("--users", m_users,
                   "Also check this file or folder, whose prefabs may nest FILE, and refuse a change that harms them")
        ->check(notEmpty())
        ->type_name("PATH");
    app.add_flag("--dry-run", m_isDryRun, "Print the change as a patch, and change nothing");
    app.add_flag("--force", m_isForced, "Make the change even if it brings new warnings; new errors are still refused");
    m_argument.common.addTo(app);
}

void EditCommand::addObject(CLI::App& app) {
    app.add_option("OBJECT", m_object, "The object: its name, names separated by '/', or its UUID")
        ->required()
        ->check(notEmpty())
        ->type_name("");
}

int EditCommand::run(Terminal& terminal) {
    return m_argument.run(terminal, [this, &terminal](PrefabFiles& files, const PrefabFile& file) {
        const ResourceRoots roots(m_argument.common.roots);
        const Composition composition(files, file.path, {Uuid::ZERO});
        const OwnObjects objects(file, composition);
        PrefabEditor editor(file);
        try {
            if (!change({terminal, roots, file, composition, objects, editor})) {
                return ExitStatus::USAGE;
            }
            return finish(terminal, roots, file.path, editor.take());
        } catch (const EditError& error) {
            throw CommandError(error.what());
        }
    });
}

int EditCommand::finish(Terminal& terminal, const ResourceRoots& roots, const std::string& path,
                        const EditedText& text) const {
    if (!review(terminal, roots, path, text.text())) {
        return ExitStatus::FINDINGS;
    }
    if (m_isDryRun) {
        terminal.output() << PrefabEditing::unifiedDiff(path, text);
        return ExitStatus::SUCCESS;
    }
    if (text.text() != text.original()) {
        const std::string problem = replaceResource(roots, path, text.original(), text.text());
        if (!problem.empty()) {
            throw CommandError(problem);
        }
    }
    reportSuccess(terminal);
    return ExitStatus::SUCCESS;
}

bool EditCommand::review(Terminal& terminal, const ResourceRoots& roots, const std::string& path,
                         const std::string& newText) const {
    TargetFinder finder(roots);
    for (const std::string& name : m_users) {
        finder.add(name);
    }
    const Targets users = finder.take();
    const ChangeReview review = reviewChange(path, newText, {users.paths.begin(), users.paths.end()});
    if (review.findings.empty()) {
        return true;
    }
    const bool isMade = m_isForced && !review.hasErrors();
    if (isMade) {
        terminal.note("the change brings " + counted(review.findings.size(), "new warning"));
    } else {
        terminal.reportFailure("The change is refused, because check would report " +
                               counted(review.findings.size(), "new finding") + ":");
    }
    for (const Finding& finding : review.findings) {
        writeFinding(terminal.errors(), finding,
                     [&terminal](std::string_view text, Style style) { return terminal.styledForErrors(text, style); });
    }
    if (!isMade && !review.hasErrors()) {
        terminal.note("--force makes a change that brings only warnings");
    }
    return isMade;
}

} // namespace Kiln::PrefabTool
