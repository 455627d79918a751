#include <prefab_inspection/composition/prefab_view.h>

#include <common/white_space.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/composition/object_trees.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

[[nodiscard]] PrefabView::Component describe(const PrefabFile& file, const PrefabFile::Component& component) {
    const StoredPool& pool = *component.pool;
    return {pool.type,
            pool.version.value,
            component.item->options.value,
            pool.typeId != ComponentLibrary::INVALID_ID,
            component.isRead,
            file.originOf(component.item->element)};
}

/// The text of the last element of that name, which is the one that wins.
[[nodiscard]] std::string lastText(DataNode properties, std::string_view name) {
    std::string text;
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(name)) {
            text = child.text();
        }
    }
    return text;
}

} // namespace

AuthoredView::AuthoredView(PrefabFiles& files, const PrefabFile& file)
    : m_file(file), m_placements(file.document->objects.size()) {
    placeObjects(files);
}

AuthoredView::~AuthoredView() = default;

void AuthoredView::placeObjects(PrefabFiles& files) {
    const std::vector<StoredObject>& objects = m_file.document->objects;
    std::unordered_map<Uuid, std::size_t> byUuid;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        byUuid.try_emplace(objects[i].uuid, i);
    }
    ObjectTrees trees(objects.size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const PrefabFile::Component* const hierarchy = m_file.findComponent(i, NestingTypes::get().hierarchy);
        if (!hierarchy) {
            continue;
        }
        const std::string text = lastText(hierarchy->item->properties, "parent");
        const Uuid parent = Uuid::fromString(trimWhiteSpace(text)).value_or(Uuid::ZERO);
        const auto found = byUuid.find(parent);
        Placement& placement = m_placements[i];
        placement =
            found != byUuid.end() ? Placement{found->second, Position::CHILD, {}} : placeBelowNested(files, parent);
        if (placement.parent != NONE && !trees.attach(i, placement.parent)) {
            placement = {NONE, Position::CYCLE, objects[placement.parent].nameElement.text()};
        }
    }
}

AuthoredView::Placement AuthoredView::placeBelowNested(PrefabFiles& files, const Uuid& parent) {
    if (!m_composition && m_file.isLoadable()) {
        m_composition = std::make_unique<Composition>(files, m_file.path, Composition::Options());
    }
    const std::size_t found = m_composition ? m_composition->resolveLink(parent) : Composition::NONE;
    if (found == Composition::NONE) {
        return {NONE, Position::NO_PARENT, parent.toString()};
    }
    const std::vector<Composition::Instance>& instances = m_composition->instances();
    std::size_t instance = m_composition->objects()[found].instance;
    if (instance == 0) { // The object exists in the instance alone, with a UUID that the file does not have.
        return {NONE, Position::NO_PARENT, parent.toString()};
    }
    while (instances[instance].enclosing != 0) {
        instance = instances[instance].enclosing;
    }
    const std::string pointPath = m_composition->path(instances[instance].root);
    const std::string path = m_composition->path(found);
    const bool isBelow = path.starts_with(pointPath + "/");
    return {instances[instance].point, Position::BELOW_NESTED, isBelow ? path.substr(pointPath.size() + 1) : path};
}

std::size_t AuthoredView::size() const {
    return m_placements.size();
}

PrefabView::Object AuthoredView::object(std::size_t index) const {
    const StoredObject& stored = m_file.document->objects[index];
    const Placement& placement = m_placements[index];
    Object object;
    object.name = stored.nameElement.text();
    object.uuid = object.fileUuid = stored.uuid;
    object.parent = placement.parent;
    object.position = placement.position;
    object.remark = placement.remark;
    object.flags = stored.flags.value;
    object.origin = m_file.originOf(stored.element);
    const PrefabFile::Component* const prefab = m_file.findComponent(index, NestingTypes::get().prefab);
    if (prefab && !m_file.isRoot(index)) {
        object.nested = lastText(prefab->item->properties, Tessel::PrefabComponent::RESOURCE_PROPERTY);
    }
    return object;
}

std::vector<PrefabView::Component> AuthoredView::components(std::size_t index) const {
    std::vector<Component> described;
    for (const PrefabFile::Component& component : m_file.components(index)) {
        described.push_back(describe(m_file, component));
    }
    return described;
}

std::vector<ComposedValue> AuthoredView::values(std::size_t index, std::size_t component) const {
    const PrefabFile::Component& stored = m_file.components(index)[component];
    return storedValues(stored.pool->typeId, m_file.originOf(stored.item->properties));
}

std::size_t ComposedView::size() const {
    return m_composition.objects().size();
}

PrefabView::Object ComposedView::object(std::size_t index) const {
    const Composition::Object& composed = m_composition.objects()[index];
    const Composition::Instance& instance = m_composition.instances()[composed.instance];
    Object object;
    object.name = m_composition.name(index);
    object.uuid = composed.uuid;
    object.fileUuid = m_composition.pointUuid(index);
    object.parent = composed.parent;
    if (composed.parent != NONE) {
        object.position = Position::CHILD;
    } else if (index != 0) {
        object.position = Position::NO_PARENT;
    }
    object.flags = composed.flags;
    if (composed.isPoint) {
        object.nested = instance.file->path;
    }
    object.origin = m_composition.origin(index);
    object.rootOrigin = m_composition.rootOrigin(index);
    return object;
}

std::vector<PrefabView::Component> ComposedView::components(std::size_t index) const {
    std::vector<Component> described;
    for (const Composition::Component& component : m_composition.components(index)) {
        if (component.stored) {
            described.push_back(describe(*component.file, *component.stored));
        } else {
            described.emplace_back();
            described.back().type = NestingTypes::get().prefabName;
            described.back().options = Tessel::ALL_ROLES.bits();
        }
    }
    return described;
}

std::vector<ComposedValue> ComposedView::values(std::size_t index, std::size_t component) const {
    return m_composition.values(index, m_composition.components(index)[component]);
}

} // namespace Kiln::PrefabInspection
