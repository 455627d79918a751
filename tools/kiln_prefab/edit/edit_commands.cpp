#include "edit_commands.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/explain/object_search.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/terminal.h>

#include <filesystem>
#include <ostream>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

using mirra::ValueKind;
using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::PrefabFile;

namespace {

/// The component that an assignment begins with; the longest one, because names of types may contain dots.
[[nodiscard]] std::string componentOf(const PrefabFile& file, std::size_t object, const std::string& path) {
    std::string found;
    for (const PrefabFile::Component& component : file.components(object)) {
        if (path.starts_with(component.pool->type + ".") && component.pool->type.size() >= found.size()) {
            found = component.pool->type;
        }
    }
    return found.empty() ? path.substr(0, path.find('.')) : found;
}

/// Throws unless a component of that type has the property, and as one value.
void requireSingleValue(const std::vector<ComposedValue>& values, const std::string& type,
                        const std::string& property) {
    const ComposedValue* const value = PrefabInspection::findValue(values, property);
    if (!value) {
        std::vector<std::string> names;
        names.reserve(values.size());
        for (const ComposedValue& other : values) {
            names.push_back(other.name);
        }
        throw CommandError("'" + type + "' has no value '" + property + "'" +
                           suggestion(similarNames(property, names)));
    }
    if (value->kind == ValueKind::VECTOR || value->kind == ValueKind::STRUCTURE) {
        throw CommandError(
            "'" + type + "." + property + "' has several values; name one of them, such as '" + type + "." + property +
            (value->kind == ValueKind::VECTOR
                 ? "[0]'"
                 : "." + (value->children.empty() ? std::string("name") : value->children.front().name) + "'"));
    }
}

/// Throws if the component of the live object is that of a nested root, or has no such value. Values of types that are
/// not known can't be checked.
void checkValue(const Composition& composition, std::size_t composed, const PrefabFile& file, const std::string& type,
                const std::string& property) {
    for (const Composition::Component& component : composition.components(composed)) {
        if (!component.stored || component.stored->pool->type != type) {
            continue;
        }
        if (component.file != &file) {
            throw CommandError("'" + composition.path(composed) + "' has its '" + type + "' from '" +
                               component.file->path +
                               "'; change that file, or the overridesData of the integration point");
        }
        requireSingleValue(composition.values(composed, component), type, property);
    }
}

} // namespace

const Command::Description& SetValuesCommand::description() const {
    static const Description DESCRIPTION{
        "edit",
        "Set properties of an object's components in a prefab file.",
        {"kiln-prefab edit --load ./libgame_components.so lamp.prefab Bulb LampComponent.brightness=800",
         "kiln-prefab edit --dry-run harbour.prefab Harbour/Lamp 'SignComponent.text=No entry'"}};
    return DESCRIPTION;
}

void SetValuesCommand::addArguments(CLI::App& app) {
    addObject(app);
    const auto problem = [](std::string& value) {
        const std::size_t dot = value.find('.');
        const std::size_t equals = value.find('=');
        const bool isAssignment =
            dot != 0 && dot != std::string::npos && equals != std::string::npos && dot + 1 < equals;
        return isAssignment ? std::string() : "'" + value + "' is not of the form COMPONENT.PROPERTY=VALUE";
    };
    app.add_option("ASSIGNMENT", m_assignments,
                   "COMPONENT.PROPERTY=VALUE; the property is also NAME.MEMBER or NAME[INDEX]")
        ->required()
        ->check(CLI::Validator(problem, "", "ASSIGNMENT"))
        ->type_name("");
}

bool SetValuesCommand::change(const Session& session) {
    const std::size_t found = session.objects.find(session.terminal, object());
    if (found == Composition::NONE) {
        return false;
    }
    for (const std::string& assignment : m_assignments) {
        setValue(session, found, assignment);
    }
    return true;
}

void SetValuesCommand::setValue(const Session& session, std::size_t object, const std::string& assignment) const {
    const std::size_t equals = assignment.find('=');
    const std::string path = assignment.substr(0, equals);
    const std::string type = componentOf(session.file, object, path);
    const std::string property = path.substr(type.size() + 1);
    if (const std::size_t composed = session.objects.composed(object); composed != Composition::NONE) {
        checkValue(session.composition, composed, session.file, type, property);
    }
    session.editor.setValue(object, type, property, assignment.substr(equals + 1));
}

const Command::Description& RenameCommand::description() const {
    static const Description DESCRIPTION{
        "rename",
        "Rename an object in a prefab file.",
        {"kiln-prefab rename harbour.prefab Harbour/Lamp 'Lamp by the gate'",
         "kiln-prefab rename --dry-run lamp.prefab 5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c002 Bulb"}};
    return DESCRIPTION;
}

void RenameCommand::addArguments(CLI::App& app) {
    addObject(app);
    app.add_option("NAME", m_name, "The new name")->required()->type_name("");
}

bool RenameCommand::change(const Session& session) {
    const std::size_t found = session.objects.find(session.terminal, object());
    if (found == Composition::NONE) {
        return false;
    }
    session.editor.rename(found, m_name);
    return true;
}

const Command::Description& MoveCommand::description() const {
    static const Description DESCRIPTION{"move",
                                         "Give an object of a prefab file another parent.",
                                         {"kiln-prefab move harbour.prefab Harbour/Lamp Harbour/Quay",
                                          "kiln-prefab move --dry-run harbour.prefab Lamp Harbour/Quay/Crane/Jib"}};
    return DESCRIPTION;
}

void MoveCommand::addArguments(CLI::App& app) {
    addObject(app);
    app.add_option("PARENT", m_parent, "The new parent, named as the object; also an object of a nested prefab")
        ->required()
        ->check(notEmpty())
        ->type_name("");
}

bool MoveCommand::change(const Session& session) {
    const std::size_t found = session.objects.find(session.terminal, object());
    if (found == Composition::NONE) {
        return false;
    }
    if (session.file.isRoot(found)) {
        throw CommandError("'" + session.objects.name(found) + "' is a root, which has no parent");
    }
    const Uuid parent = session.objects.findLink(session.terminal, m_parent);
    if (parent == Uuid::ZERO) {
        return false;
    }
    const Composition& composition = session.composition;
    const std::size_t moved = session.objects.composed(found);
    for (std::size_t above = composition.resolveLink(parent); moved != Composition::NONE && above != Composition::NONE;
         above = composition.objects()[above].parent) {
        if (above == moved) {
            throw CommandError("'" + m_parent + "' is the object itself or below it");
        }
    }
    session.editor.setParent(found, parent);
    return true;
}

const Command::Description& RemoveCommand::description() const {
    static const Description DESCRIPTION{"remove",
                                         "Remove an object from a prefab file, with everything below it.",
                                         {"kiln-prefab remove harbour.prefab Harbour/Lamp",
                                          "kiln-prefab remove --users content content/props/lamp.prefab Bulb"}};
    return DESCRIPTION;
}

void RemoveCommand::addArguments(CLI::App& app) {
    addObject(app);
}

bool RemoveCommand::change(const Session& session) {
    const std::size_t found = session.objects.find(session.terminal, object());
    if (found == Composition::NONE) {
        return false;
    }
    if (session.file.findRoot() == found) {
        throw CommandError("'" + session.objects.name(found) + "' is the root, without which there is no prefab");
    }
    session.editor.remove(session.objects.withDescendants(found));
    return true;
}

const Command::Description& AddNestedCommand::description() const {
    static const Description DESCRIPTION{
        "add-nested",
        "Add an object to a prefab file that nests another prefab, and print its UUID.",
        {"kiln-prefab add-nested harbour.prefab Harbour/Quay props/lamp.prefab --name 'South lamp'",
         "kiln-prefab add-nested --dry-run harbour.prefab Harbour props/lamp.prefab"}};
    return DESCRIPTION;
}

void AddNestedCommand::addArguments(CLI::App& app) {
    app.add_option("PARENT", m_parent,
                   "The parent: its name, names separated by '/', or its UUID; also an object of a nested prefab")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("RESOURCE", m_resource, "The nested prefab: a resource path, or a file beneath a root")
        ->required()
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--name", m_name, "The name of the new object (default: that of the file, without '.prefab')")
        ->type_name("NAME");
    const auto problem = [](std::string& value) {
        return Uuid::fromString(value).value_or(Uuid::ZERO) != Uuid::ZERO
                   ? std::string()
                   : "'" + value + "' is not a UUID of an object";
    };
    app.add_option("--uuid", m_uuid, "The UUID of the new object (default: a random one)")
        ->check(CLI::Validator(problem, "", "UUID"))
        ->type_name("UUID");
}

bool AddNestedCommand::change(const Session& session) {
    const Uuid parent = session.objects.findLink(session.terminal, m_parent);
    if (parent == Uuid::ZERO) {
        return false;
    }
    const std::string resource = TargetFinder(session.roots).resourcePath(m_resource);
    const Uuid uuid = m_uuid.empty() ? Uuid::generate() : *Uuid::fromString(m_uuid);
    m_uuid = uuid.toString();
    const std::string name = m_name.empty() ? std::filesystem::path(resource).stem().string() : m_name;
    session.editor.addNested({uuid, name, parent, resource});
    return true;
}

void AddNestedCommand::reportSuccess(Terminal& terminal) const {
    terminal.output() << m_uuid << '\n';
}

} // namespace Kiln::PrefabTool
