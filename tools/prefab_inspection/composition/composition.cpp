#include <prefab_inspection/composition/composition.h>

#include <common/white_space.h>
#include <prefab_inspection/composition/object_trees.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::PrefabComponent;

constexpr std::string_view OVERRIDES_PROPERTY = "overridesData";
constexpr std::string_view PARENT_PROPERTY = "parent";

/// The last child of that name, which is the one that wins; null if there is none.
[[nodiscard]] DataNode lastChild(DataNode properties, std::string_view name) {
    DataNode found;
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        found = child.isNamed(name) ? child : found;
    }
    return found;
}

/// The parent that the properties of a HierarchyComponent name; none if they have no readable one.
[[nodiscard]] std::optional<Uuid> readParent(DataNode properties) {
    std::optional<Uuid> parent;
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(PARENT_PROPERTY)) {
            const std::string text = child.text();
            const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(text));
            parent = uuid ? uuid : parent;
        }
    }
    return parent;
}

} // namespace

Composition::Composition(PrefabFiles& files, const std::string& path, const Options& options)
    : m_files(files), m_options(options) {
    const PrefabFile& file = m_files.get(path);
    m_instances.push_back({&file, options.instanceUuid, NONE, NONE, NONE, {}, {}, true});
    if (!file.document) {
        fail("The file " + file.problem, {{path, file.problemRange, "the file"}});
    } else if (!file.isLoadable()) {
        fail(file.document->gameObjectsElement ? "The document has another format version"
                                               : "The document has no list of game objects");
    } else if (file.document->objects.empty()) {
        fail("The prefab has no game objects");
    } else if (visitInstance(0, 0)) {
        finish();
    }
}

Composition::~Composition() = default;

void Composition::fail(std::string message, std::vector<Place> places) {
    m_failure = Failure{std::move(message), std::move(places)};
}

Place Composition::placeOf(const PrefabFile& file, std::size_t node) const {
    const StoredObject& object = file.document->objects[node];
    return {file.path, file.originOf(object.element).elementRange(), object.nameElement.text()};
}

bool Composition::visitInstance(std::size_t instance, std::size_t depth) {
    const PrefabFile& file = *m_instances[instance].file;
    const bool isWhole = instance == 0;
    const NestingTypes& types = NestingTypes::get();
    for (std::size_t node = 0; node < file.document->objects.size(); ++node) {
        const bool isRoot = file.isRoot(node);
        if (isRoot && !isWhole) {
            continue;
        }
        const PrefabFile::Component* const component = isRoot ? nullptr : file.findComponent(node, types.prefab);
        const bool isContinued =
            component ? visitPoint(instance, node, *component, depth) : addObject(instance, node, false);
        if (!isContinued) {
            return false;
        }
    }
    return true;
}

bool Composition::addObject(std::size_t instance, std::size_t node, bool isPoint) {
    if (m_objects.size() == m_options.objectsLimit) {
        fail("The instance has more than " + std::to_string(m_options.objectsLimit) + " objects");
        return false;
    }
    const Instance& owner = m_instances[instance];
    const StoredObject& stored = owner.file->document->objects[node];
    std::uint32_t flags = stored.flags.value;
    if (isPoint) {
        flags |= m_instances[owner.enclosing].file->document->objects[owner.point].flags.value;
    }
    const bool usesZero = m_objects.empty() && !PrefabInspection::hasRecordsOf(owner.overrides, stored.uuid);
    m_objects.push_back({instance, node, Uuid::combine(owner.uuid, stored.uuid), NONE, flags, isPoint, usesZero});
    return true;
}

Composition::Nested Composition::readPoint(std::size_t instance, std::size_t node,
                                           const PrefabFile::Component& component) {
    const Instance& owner = m_instances[instance];
    const PrefabFile& file = *owner.file;
    Nested nested;
    findSections(owner.overrides, file.document->objects[node].uuid, NestingTypes::get().prefabName,
                 nested.pointOverrides);
    const DataNode ownResource = lastChild(component.item->properties, PrefabComponent::RESOURCE_PROPERTY);
    const DataNode ownOverrides = lastChild(component.item->properties, OVERRIDES_PROPERTY);
    nested.resourceOrigin = file.originOf(ownResource ? ownResource : component.item->element);
    nested.resource = ownResource.text();
    std::vector<OuterText> outerTexts;
    for (const OverrideSection& section : nested.pointOverrides) {
        const OverrideSource& source = *section.source;
        const DataNode resource = lastChild(section.properties, PrefabComponent::RESOURCE_PROPERTY);
        if (resource && !section.isReplaced) {
            nested.resourceOrigin = {source.file, source.text.get(), resource};
            nested.resource = resource.text();
        }
        if (const DataNode data = lastChild(section.properties, OVERRIDES_PROPERTY)) {
            outerTexts.push_back({&section, data});
        }
    }
    nested.overrides = readOverrides(file, ownOverrides, outerTexts);
    return nested;
}

/// The prefab's own override data applies first. Of the outer ones only the last one applies, and only if its text is
/// another one.
OverrideList Composition::readOverrides(const PrefabFile& file, DataNode own, const std::vector<OuterText>& outer) {
    OverrideList overrides;
    const auto add = [this, &overrides](const OverrideSource* source, bool isReplaced) {
        if (source && !source->problem.empty()) {
            reportIgnored(*source);
        } else if (source) {
            overrides.push_back({source, isReplaced});
        }
    };
    if (own) {
        add(m_overrideSources.get(file.path, file.text, own), false);
    }
    const auto last =
        std::find_if(outer.rbegin(), outer.rend(), [](const OuterText& text) { return !text.section->isReplaced; });
    for (const OuterText& text : outer) {
        const bool isLast = last != outer.rend() && &text == &*last;
        if (!isLast || text.element.text() != own.text()) {
            const OverrideSource& source = *text.section->source;
            add(m_overrideSources.get(*source.file, source.text, text.element), !isLast);
        }
    }
    return overrides;
}

void Composition::reportIgnored(const OverrideSource& source) {
    const auto position = std::lower_bound(m_reported.begin(), m_reported.end(), &source, std::less<>());
    if (position == m_reported.end() || *position != &source) {
        m_reported.insert(position, &source);
        const Origin origin{source.file, source.outerText.get(), source.element};
        m_problems.push_back({*source.file, origin.valueRange(), source.problem});
    }
}

bool Composition::visitPoint(std::size_t instance, std::size_t node, const PrefabFile::Component& component,
                             std::size_t depth) {
    Nested nested = readPoint(instance, node, component);
    const PrefabFile& file = m_files.get(nested.resource);
    const std::optional<std::size_t> root = file.isLoadable() ? file.findRoot() : std::nullopt;
    const StoredObject& point = m_instances[instance].file->document->objects[node];
    if (!root) {
        const std::string reason = file.document ? "has no root" : file.problem;
        m_problems.push_back({*nested.resourceOrigin.file, nested.resourceOrigin.valueRange(),
                              "'" + point.nameElement.text() + "' is left out, because the nested prefab '" +
                                  nested.resource + "' " + reason});
        return true;
    }
    const Uuid uuid = Uuid::combine(m_instances[instance].uuid, point.uuid);
    const std::size_t added = m_instances.size();
    // In the instance of a nested file, the overrides of that file are its own.
    const bool isVisited =
        !m_options.onlyOverridden || !nested.pointOverrides.empty() || (instance == 0 && !nested.overrides.empty());
    m_instances.push_back({&file, uuid, instance, node, m_objects.size(), std::move(nested.overrides),
                           std::move(nested.pointOverrides), isVisited});
    if (!addObject(added, *root, true)) {
        return false;
    }
    if (!isVisited) {
        return true;
    }
    if (depth == Tessel::GameObjectPrefab::MAX_NESTING_DEPTH) {
        reportDepth(nested, added);
        return false;
    }
    return visitInstance(added, depth + 1);
}

/// Fails because of an instance that lies too deep. `nested` is what its integration point names.
void Composition::reportDepth(const Nested& nested, std::size_t instance) {
    std::vector<Place> places;
    std::vector<const PrefabFile*> chain{m_instances[instance].file};
    for (std::size_t i = instance; m_instances[i].enclosing != NONE; i = m_instances[i].enclosing) {
        const PrefabFile& enclosing = *m_instances[m_instances[i].enclosing].file;
        Place place = placeOf(enclosing, m_instances[i].point);
        place.text = "'" + place.text + "' nests '" + m_instances[i].file->path + "'";
        places.insert(places.begin(), std::move(place));
        chain.push_back(&enclosing);
    }
    std::sort(chain.begin(), chain.end());
    const bool isCycle = std::adjacent_find(chain.begin(), chain.end()) != chain.end();
    const std::string limit = std::to_string(Tessel::GameObjectPrefab::MAX_NESTING_DEPTH);
    fail(isCycle ? "The prefab nests itself: '" + nested.resource + "' is nested deeper than the limit of " + limit
                 : "'" + nested.resource + "' is nested deeper than the limit of " + limit,
         std::move(places));
}

void Composition::finish() {
    indexUuids();
    findParents();
    if (!m_failure) {
        checkRoots();
    }
}

void Composition::checkRoots() {
    std::vector<std::size_t> roots;
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        const Object& object = m_objects[i];
        if (!object.isPoint && m_instances[object.instance].file->isRoot(object.node)) {
            roots.push_back(i);
        }
    }
    if (roots.size() != 1) {
        std::vector<Place> places;
        for (const std::size_t root : roots) {
            places.push_back(placeOf(*m_instances.front().file, m_objects[root].node));
            places.back().text = "'" + places.back().text + "' is a root";
        }
        fail(roots.empty() ? "The prefab has no root" : "The prefab has more than one root", std::move(places));
        return;
    }
    // The root comes first.
    const std::size_t root = roots.front();
    const auto first = m_objects.begin();
    std::rotate(first, first + static_cast<std::ptrdiff_t>(root), first + static_cast<std::ptrdiff_t>(root) + 1);
    const auto moved = [root](std::size_t index) {
        return index == NONE || index > root ? index : (index == root ? 0 : index + 1);
    };
    for (Object& object : m_objects) {
        object.parent = moved(object.parent);
    }
    for (Instance& instance : m_instances) {
        instance.root = moved(instance.root);
    }
    for (auto* const map : {&m_byUuid, &m_nestedRoots}) {
        for (auto& [uuid, index] : *map) {
            index = moved(index);
        }
    }
}

void Composition::indexUuids() {
    m_byUuid.reserve(m_objects.size());
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        const auto [entry, isNew] = m_byUuid.try_emplace(m_objects[i].uuid, i);
        if (!isNew && !m_failure) {
            const auto place = [this](std::size_t index) {
                const Origin element = origin(index);
                return Place{*element.file, element.elementRange(), "'" + name(index) + "'"};
            };
            fail("Two objects of the instance have the UUID " + m_objects[i].uuid.toString(),
                 {place(entry->second), place(i)});
        }
        if (m_objects[i].isPoint) {
            m_nestedRoots.try_emplace(m_instances[m_objects[i].instance].uuid, i);
        }
    }
}

/// Attaches the objects in the order of their creation. As in the loader, a link that would close a cycle is refused.
void Composition::findParents() {
    ObjectTrees trees(m_objects.size());
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        const std::size_t parent = findParent(i);
        if (parent != NONE && trees.attach(i, parent)) {
            m_objects[i].parent = parent;
        }
    }
}

std::size_t Composition::findParent(std::size_t object) const {
    const Object& child = m_objects[object];
    const Instance& owner = m_instances[child.instance];
    const std::size_t enclosing = child.isPoint ? owner.enclosing : child.instance;
    const PrefabFile& file = *m_instances[enclosing].file;
    const NestingTypes& types = NestingTypes::get();
    const PrefabFile::Component* const hierarchy =
        file.findComponent(child.isPoint ? owner.point : child.node, types.hierarchy);
    if (!hierarchy) {
        return NONE;
    }
    // The parent of an integration point is one of the enclosing instance. The loader therefore stores the UUID of the
    // live parent, so that an override of the link has to be the UUID of a live object, too.
    Uuid link = readParent(hierarchy->item->properties).value_or(Uuid::ZERO);
    if (child.isPoint) {
        link = Uuid::combine(m_instances[enclosing].uuid, link);
    }
    std::vector<OverrideSection> sections;
    findSections(owner.overrides, child.usesZeroOverrides ? Uuid::ZERO : fileUuid(object), types.hierarchyName,
                 sections);
    for (const OverrideSection& section : sections) {
        if (!section.isReplaced) {
            link = readParent(section.properties).value_or(link);
        }
    }
    return resolve(child.isPoint ? link : Uuid::combine(owner.uuid, link), link);
}

std::size_t Composition::resolve(const Uuid& key, const Uuid& link) const {
    const auto object = m_byUuid.find(key);
    if (object != m_byUuid.end()) {
        return object->second;
    }
    const auto nested = link == Uuid::ZERO ? m_nestedRoots.end() : m_nestedRoots.find(key);
    return nested != m_nestedRoots.end() ? nested->second : NONE;
}

std::size_t Composition::resolveLink(std::size_t object, const Uuid& link) const {
    return resolve(Uuid::combine(m_instances[m_objects[object].instance].uuid, link), link);
}

std::size_t Composition::resolveLink(const Uuid& link) const {
    return resolve(Uuid::combine(m_instances.front().uuid, link), link);
}

std::size_t Composition::findLiveUuid(const Uuid& uuid) const {
    const auto found = m_byUuid.find(uuid);
    return found != m_byUuid.end() ? found->second : NONE;
}

std::string Composition::name(std::size_t object) const {
    const Object& described = m_objects[object];
    const Instance& owner = m_instances[described.instance];
    const PrefabFile& file = described.isPoint ? *m_instances[owner.enclosing].file : *owner.file;
    return file.document->objects[described.isPoint ? owner.point : described.node].nameElement.text();
}

std::string Composition::path(std::size_t object) const {
    std::vector<std::size_t> line;
    for (; object != NONE; object = m_objects[object].parent) {
        line.push_back(object);
    }
    std::string text;
    for (auto step = line.rbegin(); step != line.rend(); ++step) {
        text += (step == line.rbegin() ? "" : "/") + name(*step);
    }
    return text;
}

Origin Composition::origin(std::size_t object) const {
    const Object& described = m_objects[object];
    const Instance& owner = m_instances[described.instance];
    const PrefabFile& file = described.isPoint ? *m_instances[owner.enclosing].file : *owner.file;
    return file.originOf(file.document->objects[described.isPoint ? owner.point : described.node].element);
}

Origin Composition::rootOrigin(std::size_t object) const {
    const Object& described = m_objects[object];
    const PrefabFile& file = *m_instances[described.instance].file;
    return described.isPoint ? file.originOf(file.document->objects[described.node].element) : Origin();
}

const Uuid& Composition::fileUuid(std::size_t object) const {
    const Object& described = m_objects[object];
    return m_instances[described.instance].file->document->objects[described.node].uuid;
}

const Uuid& Composition::pointUuid(std::size_t object) const {
    const Object& described = m_objects[object];
    const Instance& owner = m_instances[described.instance];
    return described.isPoint ? m_instances[owner.enclosing].file->document->objects[owner.point].uuid
                             : fileUuid(object);
}

std::vector<Composition::Component> Composition::components(std::size_t object) const {
    const Object& described = m_objects[object];
    const Instance& owner = m_instances[described.instance];
    const NestingTypes& types = NestingTypes::get();
    std::vector<Component> found;
    const auto add = [&found](const PrefabFile& file, std::size_t node, const auto& isWanted) {
        for (const PrefabFile::Component& component : file.components(node)) {
            const std::size_t type = component.pool->typeId;
            const bool isKnown = std::any_of(found.begin(), found.end(),
                                             [type](const Component& known) { return known.typeId == type; });
            if (component.isRead && !isKnown && isWanted(type)) {
                found.push_back({&file, &component, type});
            }
        }
    };
    const auto isAny = [](std::size_t /*type*/) { return true; };
    if (described.isPoint) {
        add(*m_instances[owner.enclosing].file, owner.point, isAny);
        add(*owner.file, described.node,
            [&types](std::size_t type) { return type != types.transform && type != types.hierarchy; });
    } else {
        add(*owner.file, described.node, isAny);
    }
    const bool isTopRoot = described.instance == 0 && owner.file->findRoot() == described.node;
    if (isTopRoot && !owner.file->findComponent(described.node, types.prefab)) {
        found.push_back({owner.file, nullptr, types.prefab});
    }
    return found;
}

std::vector<ComposedValue> Composition::values(std::size_t object, const Component& component) const {
    const Object& described = m_objects[object];
    const Instance& owner = m_instances[described.instance];
    const NestingTypes& types = NestingTypes::get();
    ValueComposer composer(component.typeId);
    if (component.stored) {
        composer.apply(ValueLayer::Kind::FILE, component.file->originOf(component.stored->item->properties));
    }
    const bool isPrefab = component.typeId == types.prefab;
    if (isPrefab && described.instance == 0 && owner.file->findRoot() == described.node) {
        composer.setByLoader(PrefabComponent::RESOURCE_PROPERTY, owner.file->path);
    }
    std::vector<OverrideSection> sections;
    if (isPrefab && described.isPoint) {
        sections = owner.pointOverrides;
    }
    const std::string type = component.stored ? component.stored->pool->type : types.prefabName;
    findSections(owner.overrides, described.usesZeroOverrides ? Uuid::ZERO : fileUuid(object), type, sections);
    for (const OverrideSection& section : sections) {
        const Origin origin{section.source->file, section.source->text.get(), section.properties};
        if (section.isReplaced) {
            composer.addReplaced(origin);
        } else {
            composer.apply(ValueLayer::Kind::OVERRIDE, origin);
        }
    }
    return composer.take();
}

std::vector<Composition::UuidStep> Composition::uuidSteps(std::size_t object) const {
    const Object& described = m_objects[object];
    std::vector<UuidStep> steps;
    const Instance& owner = m_instances[described.instance];
    steps.push_back({owner.uuid, fileUuid(object), described.uuid, placeOf(*owner.file, described.node)});
    for (std::size_t i = described.instance; m_instances[i].enclosing != NONE; i = m_instances[i].enclosing) {
        const Instance& enclosing = m_instances[m_instances[i].enclosing];
        steps.push_back({enclosing.uuid, enclosing.file->document->objects[m_instances[i].point].uuid,
                         m_instances[i].uuid, placeOf(*enclosing.file, m_instances[i].point)});
    }
    std::reverse(steps.begin(), steps.end());
    return steps;
}

std::vector<Place> Composition::chain(std::size_t object) const {
    std::vector<Place> places;
    for (std::size_t i = m_objects[object].instance; m_instances[i].enclosing != NONE; i = m_instances[i].enclosing) {
        places.push_back(placeOf(*m_instances[m_instances[i].enclosing].file, m_instances[i].point));
    }
    std::reverse(places.begin(), places.end());
    return places;
}

} // namespace Kiln::PrefabInspection
