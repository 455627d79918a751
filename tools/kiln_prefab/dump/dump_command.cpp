#include "dump_command.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>

#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabInspection::AuthoredView;
using PrefabInspection::ComposedView;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;
using PrefabInspection::PrefabView;

namespace {

[[nodiscard]] std::string componentLine(const PrefabView::Component& component) {
    std::string text = component.type;
    text += !component.isKnown ? " (unknown)" : component.isRead ? "" : " (not read)";
    const std::string place = elementPlace(component.origin);
    return place.empty() ? text : text + " from " + place;
}

void writeObject(std::ostream& stream, const PrefabView& view, std::size_t index) {
    const PrefabView::Object object = view.object(index);
    stream << index << ' ' << printable(object.name + flagsSuffix(object.flags)) << "\n    UUID "
           << object.uuid.toString() << '\n';
    if (object.parent != PrefabView::NONE) {
        stream << "    parent " << object.parent << ' ' << printable(view.object(object.parent).name) << '\n';
    } else if (object.position != PrefabView::Position::ROOT) {
        stream << "    parent " << printable(object.remark.empty() ? "not found" : object.remark + ", not usable")
               << '\n';
    }
    const std::vector<PrefabView::Component> components = view.components(index);
    for (std::size_t i = 0; i < components.size(); ++i) {
        stream << "    " << printable(componentLine(components[i])) << '\n';
        forEachText(view.values(index, i), [&stream](const std::string& path, const std::string& text) {
            stream << "        " << printable(path) << " = " << printable(text) << '\n';
        });
    }
}

} // namespace

const Command::Description& DumpCommand::description() const {
    static const Description DESCRIPTION{
        "dump",
        "Show the objects of a prefab with their components and property values.",
        {"kiln-prefab dump --root content harbour.prefab",
         "kiln-prefab dump --load ./libgame_components.so --composed --format json harbour.prefab"}};
    return DESCRIPTION;
}

void DumpCommand::addOptions(CLI::App& app) {
    m_argument.addFile(app);
    app.add_flag("--composed", m_isComposed,
                 "Show the objects of an instance and all of their values, instead of what the file contains");
    m_argument.addInstanceUuid(app);
    addChoice(app, "--format", m_format, {"text", "json"}, "Print text, or one JSON document");
    m_argument.common.addTo(app);
}

int DumpCommand::run(Terminal& terminal) {
    return m_argument.run(terminal, [this, &terminal](PrefabFiles& files, const PrefabFile& file) {
        if (!m_isComposed) {
            show(terminal, AuthoredView(files, file), file);
            return ExitStatus::SUCCESS;
        }
        const Composition composition(files, file.path, {m_argument.instance()});
        const bool isSound = reportProblems(terminal, composition);
        if (!composition.failure()) {
            show(terminal, ComposedView(composition), file);
        }
        return isSound ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
    });
}

void DumpCommand::show(Terminal& terminal, const PrefabView& view, const PrefabFile& file) const {
    std::ostream& stream = terminal.output();
    if (m_format != "json") {
        stream << printable(file.path) << '\n';
        for (std::size_t i = 0; i < view.size(); ++i) {
            writeObject(stream, view, i);
        }
        return;
    }
    stream << R"({"file":)" << jsonText(file.path) << R"(,"formatVersion":)" << file.document->formatVersion.value
           << R"(,"composed":)" << jsonText(m_isComposed);
    if (m_isComposed) {
        stream << R"(,"instanceUuid":)" << jsonText(m_argument.instance().toString());
    }
    stream << R"(,"objects":[)";
    const char* separator = "\n";
    for (std::size_t i = 0; i < view.size(); ++i) {
        stream << separator << jsonText(objectJson(view, i, m_isComposed, Detail::VALUES));
        separator = ",\n";
    }
    stream << "\n]}\n";
}

} // namespace Kiln::PrefabTool
