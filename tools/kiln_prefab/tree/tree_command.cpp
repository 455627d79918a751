#include "tree_command.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>

#include <limits>
#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabInspection::AuthoredView;
using PrefabInspection::ComposedView;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;
using PrefabInspection::PrefabView;

const Command::Description& TreeCommand::description() const {
    static const Description DESCRIPTION{
        "tree",
        "Show the hierarchy of a prefab: as its file has it, or as an instance of it.",
        {"kiln-prefab tree --root content harbour.prefab",
         "kiln-prefab tree --load ./libgame_components.so --composed --values --find lamp harbour.prefab"}};
    return DESCRIPTION;
}

void TreeCommand::addOptions(CLI::App& app) {
    m_argument.addFile(app);
    app.add_flag("--composed", m_isComposed,
                 "Show the objects of an instance, with those of nested prefabs and the lines that they come from");
    app.add_flag("--components", m_showsComponents, "Show the components of each object");
    app.add_flag("--values", m_showsValues,
                 "Show the components of each object and the property values that files set");
    app.add_flag("--uuids", m_showsUuids, "Show the UUID of each object");
    app.add_option("--depth", m_depth, "Show only N levels below the top objects")
        ->check(CLI::Range(std::int64_t{0}, std::numeric_limits<std::int64_t>::max()))
        ->type_name("N");
    app.add_option("--find", m_text, "Show only objects whose name or UUID contains TEXT, and the objects above them")
        ->check(notEmpty())
        ->type_name("TEXT");
    m_argument.addInstanceUuid(app);
    addChoice(app, "--format", m_format, {"text", "json"}, "Print a tree, or a list of the objects as JSON");
    m_argument.common.addTo(app);
}

TreeOptions TreeCommand::treeOptions() const {
    TreeOptions options;
    options.isComposed = m_isComposed;
    options.showsUuids = m_showsUuids;
    options.detail = m_showsValues ? Detail::VALUES : m_showsComponents ? Detail::COMPONENTS : Detail::OBJECTS;
    if (m_depth >= 0) {
        options.depth = static_cast<std::size_t>(m_depth);
    }
    return options;
}

int TreeCommand::run(Terminal& terminal) {
    return m_argument.run(terminal, [this, &terminal](PrefabFiles& files, const PrefabFile& file) {
        if (!m_isComposed) {
            return show(terminal, AuthoredView(files, file), file);
        }
        const Composition composition(files, file.path, {m_argument.instance()});
        const bool isSound = reportProblems(terminal, composition);
        if (composition.failure()) {
            return ExitStatus::FINDINGS;
        }
        const int exitStatus = show(terminal, ComposedView(composition), file);
        return isSound ? exitStatus : ExitStatus::FINDINGS;
    });
}

int TreeCommand::show(Terminal& terminal, const PrefabView& view, const PrefabFile& file) const {
    const TreeOptions options = treeOptions();
    ObjectTree tree(view);
    const std::size_t found = m_text.empty() ? view.size() : tree.keepMatches(view, m_text);
    std::ostream& stream = terminal.output();
    if (m_format == "json") {
        stream << R"({"file":)" << jsonText(file.path) << R"(,"composed":)" << jsonText(m_isComposed);
        if (m_isComposed) {
            stream << R"(,"instanceUuid":)" << jsonText(m_argument.instance().toString());
        }
        stream << R"(,"found":)" << found << R"(,"objects":[)";
        writeTreeJson(stream, view, tree, options);
        stream << "\n]}\n";
    } else {
        stream << printable(file.path);
        if (m_isComposed) {
            stream << ", instance " << m_argument.instance().toString();
        }
        stream << '\n';
        writeTree(stream, view, tree, options);
        if (!m_text.empty()) {
            stream << found << " of ";
        }
        stream << counted(view.size(), "object") << '\n';
    }
    return found == 0 && !m_text.empty() ? ExitStatus::FINDINGS : ExitStatus::SUCCESS;
}

} // namespace Kiln::PrefabTool
