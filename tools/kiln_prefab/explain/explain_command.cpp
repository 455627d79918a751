#include "explain_command.h"

#include "object_search.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/line_text.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/object_text.h>

#include <ostream>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;

namespace {

[[nodiscard]] std::string noSuchValue(const std::string& type, const std::string& path) {
    std::string text = "'";
    return text.append(type).append("' has no value '").append(path).append("'");
}

[[nodiscard]] std::vector<std::string> namesOf(const std::vector<ComposedValue>& values) {
    std::vector<std::string> names;
    names.reserve(values.size());
    for (const ComposedValue& value : values) {
        names.push_back(value.name);
    }
    return names;
}

[[nodiscard]] std::string typeName(const Composition::Component& component) {
    return component.stored ? component.stored->pool->type : PrefabInspection::NestingTypes::get().prefabName;
}

/// Whether the text is the name or begins with it and a '.'; component names may contain dots, too.
[[nodiscard]] bool isOrBelow(const std::string& text, const std::string& name) {
    return text == name || text.starts_with(name + ".");
}

} // namespace

const Command::Description& ExplainCommand::description() const {
    static const Description DESCRIPTION{
        "explain",
        "Show where an object of an instance comes from, how its UUID is derived, and what sets its values.",
        {"kiln-prefab explain --root content harbour.prefab Harbour/Lamp/Bulb",
         "kiln-prefab explain --load ./libgame_components.so harbour.prefab Bulb LampComponent.brightness"}};
    return DESCRIPTION;
}

void ExplainCommand::addOptions(CLI::App& app) {
    m_argument.addFile(app);
    app.add_option("OBJECT", m_object,
                   "The object: names separated by '/', the UUID in its file, or the UUID of the live object")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("VALUE", m_value, "COMPONENT, or COMPONENT.PROPERTY: show what sets these values")
        ->check(notEmpty())
        ->type_name("");
    m_argument.addInstanceUuid(app);
    addChoice(app, "--format", m_format, {"text", "json"}, "Print text, or one JSON document");
    m_argument.common.addTo(app);
}

int ExplainCommand::run(Terminal& terminal) {
    return m_argument.run(terminal, [this, &terminal](PrefabFiles& files, const PrefabFile& file) {
        const Composition composition(files, file.path, {m_argument.instance()});
        const bool isSound = reportProblems(terminal, composition);
        if (composition.objects().empty()) {
            return ExitStatus::FINDINGS;
        }
        const std::size_t object = findSingleObject(terminal, composition, m_object);
        if (object == Composition::NONE) {
            return ExitStatus::USAGE;
        }
        const std::vector<ExplainedComponent> components = findValues(composition, object);
        std::ostream& stream = terminal.output();
        if (m_format == "json") {
            OrderedJson json{{"file", file.path}};
            json.update(objectExplanationJson(composition, object));
            json["values"] = OrderedJson::array();
            for (const ExplainedComponent& component : components) {
                for (OrderedJson& value : valuesJson(composition, object, component)) {
                    json["values"].push_back(std::move(value));
                }
            }
            stream << jsonText(json) << '\n';
        } else {
            writeObjectText(stream, composition, object);
            for (const ExplainedComponent& component : components) {
                writeValuesText(stream, composition, object, component);
            }
        }
        return isSound ? ExitStatus::SUCCESS : ExitStatus::FINDINGS;
    });
}

std::vector<ExplainedComponent> ExplainCommand::findValues(const Composition& composition, std::size_t object) const {
    std::vector<ExplainedComponent> explained;
    if (m_value.empty()) {
        return explained;
    }
    std::vector<std::string> types;
    for (const Composition::Component& component : composition.components(object)) {
        const std::string type = typeName(component);
        types.push_back(type);
        if (!isOrBelow(m_value, type)) {
            continue;
        }
        std::vector<ComposedValue> values = composition.values(object, component);
        if (m_value == type) {
            return {{type, component, {}, std::move(values)}};
        }
        const std::string path = m_value.substr(type.size() + 1);
        if (const ComposedValue* const value = PrefabInspection::findValue(values, path)) {
            return {{type, component, path, {*value}}};
        }
        throw CommandError(noSuchValue(type, path) + suggestion(similarNames(path, namesOf(values))));
    }
    const std::string wanted = m_value.substr(0, m_value.find('.'));
    std::string problem = "'";
    problem.append(composition.path(object))
        .append("' has no component '")
        .append(wanted)
        .append("'")
        .append(suggestion(similarNames(wanted, types)));
    throw CommandError(problem);
}

} // namespace Kiln::PrefabTool
