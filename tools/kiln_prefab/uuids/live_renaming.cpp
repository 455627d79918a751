#include "live_renaming.h"

#include <common/uuid_division.h>

namespace Kiln::PrefabTool {

using PrefabInspection::Composition;
using PrefabInspection::NestingTypes;
using PrefabInspection::PrefabFile;

LiveRenaming::LiveRenaming(PrefabInspection::PrefabFiles& files, const std::string& path, const UuidTable& table)
    : m_table(table), m_composition(files, path, {}) {
    const std::vector<Composition::Instance>& instances = m_composition.instances();
    m_newInstanceUuids.push_back(instances.front().uuid);
    for (std::size_t i = 1; i < instances.size(); ++i) { // Enclosing instances come first.
        const Composition::Instance& instance = instances[i];
        m_nested.emplace(std::pair(instance.enclosing, instance.point), i);
        m_newInstanceUuids.push_back(Uuid::combine(m_newInstanceUuids[instance.enclosing],
                                                   newFileUuid(*instances[instance.enclosing].file, instance.point)));
    }
    const std::vector<Composition::Object>& objects = m_composition.objects();
    const bool isIndexed = !objects.empty() && m_composition.findLiveUuid(objects.front().uuid) != NONE;
    if (m_composition.failure() && !isIndexed) {
        m_problem = m_composition.failure()->message;
    }
}

std::size_t LiveRenaming::nestedInstance(std::size_t instance, std::size_t point) const {
    const auto found = m_nested.find({instance, point});
    return found != m_nested.end() ? found->second : NONE;
}

std::size_t LiveRenaming::nestedInstance(std::size_t instance, const Uuid& point) {
    const PrefabFile& file = *m_composition.instances()[instance].file;
    const auto [points, isNew] = m_points.try_emplace(&file);
    if (isNew) {
        for (std::size_t node = 0; node < file.document->objects.size(); ++node) {
            if (!file.isRoot(node) && file.findComponent(node, NestingTypes::get().prefab)) {
                points->second.try_emplace(file.document->objects[node].uuid, node);
            }
        }
    }
    const auto found = points->second.find(point);
    return found != points->second.end() ? nestedInstance(instance, found->second) : NONE;
}

const Uuid* LiveRenaming::newKey(std::size_t instance, const Uuid& old) const {
    return isRenamed(instance) ? m_table.find(old) : nullptr;
}

bool LiveRenaming::isRenamed(std::size_t instance) const {
    return m_composition.instances()[instance].file->path == m_table.path();
}

bool LiveRenaming::isRoot(std::size_t instance, const Uuid& uuid) const {
    const PrefabFile& file = *m_composition.instances()[instance].file;
    const std::optional<std::size_t> root = file.findRoot();
    return root && file.document->objects[*root].uuid == uuid;
}

std::optional<Uuid> LiveRenaming::newLink(std::size_t instance, const Uuid& link) const {
    if (const Uuid* const uuid = newKey(instance, link)) {
        return *uuid;
    }
    const Composition::Instance& context = m_composition.instances()[instance];
    if (!m_problem.empty()) {
        return std::nullopt;
    }
    const std::size_t object =
        instance == WHOLE ? m_composition.resolveLink(link) : m_composition.resolveLink(context.root, link);
    if (object == NONE) {
        return std::nullopt;
    }
    const Composition::Object& target = m_composition.objects()[object];
    // A link to an integration point resolves to the merged object, whose UUID is another one.
    const bool isPoint = target.uuid != Uuid::combine(context.uuid, link);
    const Uuid uuid = isPoint ? m_newInstanceUuids[target.instance] : newObjectUuid(object);
    return UuidDivider(m_newInstanceUuids[instance])(uuid);
}

Uuid LiveRenaming::newObjectUuid(std::size_t object) const {
    const Composition::Object& target = m_composition.objects()[object];
    return Uuid::combine(m_newInstanceUuids[target.instance],
                         newFileUuid(*m_composition.instances()[target.instance].file, target.node));
}

const Uuid& LiveRenaming::newFileUuid(const PrefabFile& file, std::size_t node) const {
    return file.path == m_table.path() ? m_table.ofObject(node) : file.document->objects[node].uuid;
}

} // namespace Kiln::PrefabTool
