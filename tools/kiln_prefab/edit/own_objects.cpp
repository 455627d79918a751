#include "own_objects.h"

#include <common/white_space.h>
#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/explain/object_search.h>

#include <optional>
#include <unordered_map>
#include <vector>

namespace Kiln::PrefabTool {

using PrefabInspection::Composition;
using PrefabInspection::NestingTypes;
using PrefabInspection::PrefabFile;

namespace {

constexpr std::size_t NONE = Composition::NONE;

} // namespace

OwnObjects::OwnObjects(const PrefabFile& file, const Composition& composition)
    : m_file(file), m_composition(composition) {}

std::size_t OwnObjects::own(std::size_t composedObject) const {
    const Composition::Object& object = m_composition.objects()[composedObject];
    const Composition::Instance& instance = m_composition.instances()[object.instance];
    if (object.isPoint) {
        return instance.enclosing == 0 ? instance.point : NONE;
    }
    return object.instance == 0 ? object.node : NONE;
}

std::size_t OwnObjects::composed(std::size_t object) const {
    for (std::size_t i = 0; i < m_composition.objects().size(); ++i) {
        if (own(i) == object) {
            return i;
        }
    }
    return NONE;
}

std::size_t OwnObjects::find(Terminal& terminal, const std::string& text) const {
    if (findObjects(m_composition, text).empty()) {
        if (const std::size_t object = findLeftOut(text); object != NONE) {
            return object;
        }
    }
    const std::size_t found = findSingleObject(terminal, m_composition, text);
    if (found == NONE) {
        return NONE;
    }
    const std::size_t object = own(found);
    if (object == NONE) {
        throw CommandError("'" + m_composition.path(found) + "' is an object of '" + *m_composition.origin(found).file +
                           "'; change that file");
    }
    return object;
}

Uuid OwnObjects::findLink(Terminal& terminal, const std::string& text) const {
    if (findObjects(m_composition, text).empty()) {
        if (const std::size_t object = findLeftOut(text); object != NONE) {
            return m_file.document->objects[object].uuid;
        }
    }
    const std::size_t found = findSingleObject(terminal, m_composition, text);
    if (found == NONE) {
        return Uuid::ZERO;
    }
    if (const std::size_t object = own(found); object != NONE) {
        return m_file.document->objects[object].uuid;
    }
    // What an instance combines with its own UUID.
    std::optional<Uuid> link;
    for (const Composition::UuidStep& step : m_composition.uuidSteps(found)) {
        link = link ? Uuid::combine(*link, step.second) : step.second;
    }
    return link.value_or(Uuid::ZERO);
}

/// The only object with that name or UUID that the composition does not have.
std::size_t OwnObjects::findLeftOut(const std::string& text) const {
    const std::optional<Uuid> uuid = Uuid::fromString(text);
    std::size_t found = NONE;
    for (std::size_t object = 0; object < m_file.document->objects.size(); ++object) {
        const bool isMeant = uuid ? m_file.document->objects[object].uuid == *uuid : name(object) == text;
        if (isMeant && composed(object) == NONE) {
            if (found != NONE) {
                return NONE;
            }
            found = object;
        }
    }
    return found;
}

std::string OwnObjects::name(std::size_t object) const {
    const DataNode element = m_file.document->objects[object].nameElement;
    return element ? element.text() : std::string();
}

/// The UUID of the parent that the file itself names; zero for none.
Uuid OwnObjects::parentUuid(std::size_t object) const {
    const PrefabFile::Component* const hierarchy = m_file.findComponent(object, NestingTypes::get().hierarchy);
    if (!hierarchy || !hierarchy->item->properties) {
        return Uuid::ZERO;
    }
    const std::string text = hierarchy->item->properties.child("parent").text();
    return Uuid::fromString(trimWhiteSpace(text)).value_or(Uuid::ZERO);
}

std::set<std::size_t> OwnObjects::withDescendants(std::size_t object) const {
    std::set<std::size_t> result{object};
    const std::vector<Composition::Object>& objects = m_composition.objects();
    // In an instance an object may also be below an object of a nested prefab.
    const std::size_t top = composed(object);
    for (std::size_t i = 0; top != NONE && i < objects.size(); ++i) {
        std::size_t above = i;
        while (above != NONE && above != top) {
            above = objects[above].parent;
        }
        if (above == top && own(i) != NONE) {
            result.insert(own(i));
        }
    }
    // The loader leaves out objects whose descendants the file has nevertheless.
    std::unordered_multimap<Uuid, std::size_t> children;
    for (std::size_t other = 0; other < m_file.document->objects.size(); ++other) {
        children.emplace(parentUuid(other), other);
    }
    std::vector<std::size_t> pending(result.begin(), result.end());
    while (!pending.empty()) {
        const Uuid uuid = m_file.document->objects[pending.back()].uuid;
        pending.pop_back();
        const auto [begin, end] = children.equal_range(uuid);
        for (auto child = begin; child != end && uuid != Uuid::ZERO; ++child) {
            if (result.insert(child->second).second) {
                pending.push_back(child->second);
            }
        }
    }
    return result;
}

} // namespace Kiln::PrefabTool
