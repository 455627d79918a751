#include <core/log.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_registration.h>
#include <object_serialization/override_records.h>
#include <object_serialization/prefab_format.h>
#include <variant/variant_converter.h>

#include <cstdlib>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace Kiln {

namespace {

void logProblem(int severity, const std::string& text) {
    DebugMessageHelper(0, severity, "", "").message("%s", text.c_str());
}

[[nodiscard]] std::uint64_t readNumber(DataSection& section, std::string_view name, std::uint64_t defaultValue) {
    const std::string text = section.readString(name);
    return text.empty() ? defaultValue : std::strtoull(text.c_str(), nullptr, 10);
}

/// Sets the property of that name. An error in the log when there is none or the text does not parse.
void setProperty(const mirra::ReflectedObject& object, const std::string& name, const std::string& text) {
    for (std::size_t i = 0; i < object.properties(); ++i) {
        const mirra::BoundProperty property = object.propertyAt(i);
        if (property.property().name == name && property.property().parse(text, property.value())) {
            return;
        }
    }
    logProblem(LogSeverity::ERROR, "Property '" + name + "' can't be set to '" + text + "'");
}

} // namespace

// Override records.

OverrideRecords::~OverrideRecords() = default;

SmartPointer<OverrideRecords> OverrideRecords::create(const std::string& text) {
    const OverrideText parsed(text);
    parsed.reportProblems();
    return parsed.records();
}

OverrideText::OverrideText(const std::string& text) {
    if (text.empty()) {
        return;
    }
    SmartPointer<OverrideRecords> records = makeSmart<OverrideRecords>();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string uuidText, component, property, value;
        words >> uuidText >> component >> property >> std::ws;
        std::getline(words, value);
        const std::optional<Uuid> uuid = Uuid::fromString(uuidText);
        if (!uuid || property.empty()) {
            m_problem = "Not an override record: " + line;
            return;
        }
        const SmartPointer<DataSection> properties = makeSmart<DataSection>("properties");
        properties->writeString(property, value);
        records->m_objects[*uuid].get(component).add(properties);
    }
    m_records = std::move(records);
}

void OverrideText::reportProblems() const {
    if (!m_problem.empty()) {
        logProblem(LogSeverity::ERROR, m_problem);
    }
}

void OverrideRecords::merge(const OverrideRecords& after) {
    for (const auto& [uuid, object] : after.m_objects) {
        for (const auto& [name, component] : object.components()) {
            m_objects[uuid].get(name).merge(component);
        }
    }
}

void OverrideRecords::addBefore(const Uuid& objectUuid, const ComponentOverrideRecords& before) {
    m_objects[objectUuid].get(before.componentName()).addBefore(before);
}

const GameObjectOverrideRecords* OverrideRecords::getRecord(const Uuid& objectUuid) const {
    const auto found = m_objects.find(objectUuid);
    return found == m_objects.end() ? nullptr : &found->second;
}

const ComponentOverrideRecords* OverrideRecords::getComponentRecord(const Uuid& objectUuid,
                                                                    std::string_view componentName) const {
    const GameObjectOverrideRecords* const object = getRecord(objectUuid);
    return object ? object->find(componentName) : nullptr;
}

// Links.

Tessel::GameObject ObjectCreation::findTarget(const Uuid& uuid, bool isLiveUuid) const {
    const Uuid key = isLiveUuid ? uuid : Uuid::combine(m_instanceUuid, uuid);
    if (const auto found = m_uuidMap.find(key); found != m_uuidMap.end()) {
        return found->second;
    }
    const Tessel::GameObject nestedRoot =
        m_nestedRoots && uuid != Uuid::ZERO ? m_nestedRoots->findNestedRoot(key) : Tessel::GameObject();
    if (nestedRoot.isInvalid() && uuid != Uuid::ZERO) {
        logProblem(LogSeverity::WARNING, "The link to " + uuid.toString() + " resolves to nothing");
    }
    return nestedRoot;
}

// Component descriptors.

const char* const IComponentDescriptor::DEFAULT_CATEGORY = "General";

IComponentDescriptor::~IComponentDescriptor() = default;

bool IComponentDescriptor::hasLinks() {
    const mirra::ReflectedObject object = viewConfiguration();
    for (std::size_t i = 0; i < object.properties(); ++i) {
        if (object.propertyAt(i).type().containsLinks()) {
            return true;
        }
    }
    return false;
}

void IComponentDescriptor::resolveLinks(const ObjectCreation& creation, const mirra::ReflectedObject& configuration) {
    for (std::size_t i = 0; i < configuration.properties(); ++i) {
        const mirra::BoundProperty property = configuration.propertyAt(i);
        if (auto* const link = vessa::VariantConverter::convertTo<Tessel::GameObjectLink>(property.get())) {
            link->setTarget(creation.findTarget(link->uuid(), link->isLiveUuid()));
        }
    }
}

void IComponentDescriptor::applyOverrides(const ComponentOverrideRecords& overrides,
                                          const mirra::ReflectedObject& configuration) {
    for (const SmartPointer<DataSection>& properties : overrides.properties()) {
        for (const SmartPointer<DataSection>& property : *properties) {
            setProperty(configuration, property->sectionName(), property->asString());
        }
    }
}

// The component library.

namespace {

template <class T>
void registerComponent(const std::string& name) {
    ComponentLibrary::instance().append(makeComponentRecord<T>(name));
}

const bool s_areOwnComponentsRegistered = [] {
    mirra::StaticMetaObjectBuilder<Tessel::HierarchyComponent::Config> hierarchy("HierarchyComponent::Config");
    hierarchy.addProperty<&Tessel::HierarchyComponent::Config::parent>("parent");
    hierarchy.finish();
    registerComponent<Tessel::HierarchyComponent>("HierarchyComponent");

    mirra::StaticMetaObjectBuilder<Tessel::TransformComponent::Config> transform("TransformComponent::Config");
    transform.addProperty<&Tessel::TransformComponent::Config::local>("local");
    transform.finish();
    registerComponent<Tessel::TransformComponent>("TransformComponent");
    return true;
}();

} // namespace

ComponentLibrary& ComponentLibrary::instance() {
    Tessel::EntryPoint& entryPoint = Tessel::EntryPoint::instance();
    static const bool isRegistered = [&entryPoint] {
        entryPoint.registerService(typeid(ComponentLibrary), std::make_unique<ComponentLibrary>());
        return true;
    }();
    static_cast<void>(isRegistered);
    return *entryPoint.getService<ComponentLibrary>();
}

void ComponentLibrary::append(ComponentRecord record) {
    const std::scoped_lock lock(m_mutex);
    m_records.try_emplace(record.typeId, std::move(record));
}

std::size_t ComponentLibrary::componentsCount() const {
    const std::scoped_lock lock(m_mutex);
    return m_records.empty() ? 0 : m_records.rbegin()->first + 1;
}

std::string ComponentLibrary::componentName(std::size_t id) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_records.find(id);
    return found == m_records.end() ? std::string() : found->second.name;
}

std::size_t ComponentLibrary::findComponent(std::string_view name) const {
    const std::scoped_lock lock(m_mutex);
    for (const auto& [id, record] : m_records) {
        if (record.name == name) {
            return id;
        }
    }
    return INVALID_ID;
}

std::size_t ComponentLibrary::findComponent(const std::type_info& type) const {
    const std::scoped_lock lock(m_mutex);
    for (const auto& [id, record] : m_records) {
        if (record.type == type) {
            return id;
        }
    }
    return INVALID_ID;
}

const ComponentRecord& ComponentLibrary::componentMeta(std::size_t id) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_records.find(id);
    if (found == m_records.end()) {
        throw std::runtime_error("unknown component type");
    }
    return found->second;
}

SmartPointer<IComponentDescriptor> ComponentLibrary::createDescriptor(std::size_t id) const {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_records.find(id);
    return found == m_records.end() ? nullptr : found->second.factory();
}

// Game object descriptors.

GameObjectDescriptor::~GameObjectDescriptor() = default;

IComponentDescriptor* GameObjectDescriptor::findComponent(Tessel::ComponentTypeId type) const {
    for (const SmartPointer<IComponentDescriptor>& component : m_components) {
        if (component->type() == type) {
            return component.get();
        }
    }
    return nullptr;
}

IComponentDescriptor* GameObjectDescriptor::findComponent(std::string_view name) const {
    for (const SmartPointer<IComponentDescriptor>& component : m_components) {
        if (component->name() == name) {
            return component.get();
        }
    }
    return nullptr;
}

void GameObjectDescriptor::addComponent(SmartPointer<IComponentDescriptor> component) {
    if (component) {
        m_components.push_back(std::move(component));
    }
}

const Tessel::GameObjectLink* GameObjectDescriptor::parentLink() const {
    using Hierarchy = Tessel::HierarchyComponent;
    const auto* const component = static_cast<const ComponentDescriptor<Hierarchy>*>(
        findComponent(Tessel::NativeComponent<Hierarchy>::getType()));
    return component ? &component->config().parent : nullptr;
}

Tessel::GameObject GameObjectDescriptor::createGameObject(int worldId) const {
    Tessel::GameObjectManager* const manager = Tessel::getGameObjectManager(worldId);
    return manager ? manager->createGameObject() : Tessel::GameObject();
}

Tessel::GameObject GameObjectDescriptor::createGameObject(Tessel::World& world) const {
    return world.manager().createGameObject();
}

void GameObjectDescriptor::createComponents(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap,
                                            const GameObjectOverrideRecords* overrides) const {
    if (Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId())) {
        ObjectCreation creation(*world, uuidMap, instanceUuid, nullptr);
        createComponents(creation, object, Uuid::combine(instanceUuid, m_uuid), overrides);
    }
}

void GameObjectDescriptor::createComponents(ObjectCreation& creation, Tessel::GameObject object, const Uuid& objectUuid,
                                            const GameObjectOverrideRecords* overrides) const {
    if (Tessel::GameObjectRecord* const record =
            creation.world().manager().describeGameObject(object, objectUuid, m_name)) {
        creation.enterObject(object, *record);
        for (const SmartPointer<IComponentDescriptor>& component : m_components) {
            component->instantiate(creation, overrides ? overrides->find(component->name()) : nullptr);
        }
    }
}

void GameObjectDescriptor::updateStateFlags(Tessel::GameObject object) const {
    if (Tessel::GameObjectManager* const manager = Tessel::getGameObjectManager(object)) {
        manager->setGameObjectFlags(object, m_flags);
    }
}

void GameObjectDescriptor::updateStateFlags(Tessel::World& world, Tessel::GameObject object) const {
    world.manager().setGameObjectFlags(object, m_flags);
}

} // namespace Kiln

namespace Kiln::Tessel {

// The element layout of documents.

PrefabFormat::PrefabFormat(SmartPointer<DataSection> section) : m_section(std::move(section)) {
    if (SmartPointer<DataSection> gameObjects = m_section->openSection("gameObjects", false)) {
        m_gameObjects.emplace(std::move(gameObjects));
    }
    if (SmartPointer<DataSection> components = m_section->openSection("components", false)) {
        m_components.emplace(std::move(components));
    }
}

std::uint32_t PrefabFormat::getFormatVersion() const {
    return static_cast<std::uint32_t>(readNumber(*m_section, "formatVersion", 0));
}

void PrefabFormat::setFormatVersion(std::uint32_t version) {
    m_section->writeString("formatVersion", std::to_string(version));
}

SmartPointer<GameObjectDescriptor> GameObjectData::getDescriptor() const {
    SmartPointer<GameObjectDescriptor> descriptor = makeSmart<GameObjectDescriptor>();
    if (const std::optional<Uuid> uuid = Uuid::fromString(m_section->readString("uuid"))) {
        descriptor->setUuid(*uuid);
    } else {
        logProblem(LogSeverity::ERROR, "A game object has no UUID");
    }
    descriptor->setName(m_section->readString("name"));
    descriptor->setFlags(readNumber(*m_section, "flags", 0));
    return descriptor;
}

void GameObjectPool::addGameObject(const SmartPointer<GameObjectDescriptor>& descriptor) {
    const SmartPointer<DataSection> section = m_section->newSection("gameObject");
    section->writeString("uuid", descriptor->uuid().toString());
    section->writeString("name", descriptor->sharedName());
    section->writeString("flags", std::to_string(descriptor->flags().to_ulong()));
}

ComponentPoolStorage::ComponentPoolStorage(SmartPointer<DataSection> section) : m_section(std::move(section)) {
    for (const SmartPointer<DataSection>& pool : *m_section) {
        m_pools.push_back(std::make_unique<ComponentPool>(pool));
    }
}

ComponentPool* ComponentPoolStorage::findComponentPool(std::string_view name) {
    for (const std::unique_ptr<ComponentPool>& pool : m_pools) {
        if (pool->getComponentType() == name) {
            return pool.get();
        }
    }
    return nullptr;
}

ComponentPool& ComponentPoolStorage::createComponentPool(std::string_view name) {
    const SmartPointer<DataSection> pool = m_section->newSection("pool");
    pool->writeString("type", name);
    return *m_pools.emplace_back(std::make_unique<ComponentPool>(pool));
}

ComponentPool::ComponentPool(SmartPointer<DataSection> section)
    : m_section(std::move(section)), m_type(m_section->readString("type")) {
    for (const SmartPointer<DataSection>& item : *m_section) {
        if (item->sectionName() == "item") {
            m_items.push_back(item);
        }
    }
}

std::uint32_t ComponentPool::getComponentVersion() const {
    return static_cast<std::uint32_t>(readNumber(*m_section, "version", PrefabFormat::DEFAULT_COMPONENT_VERSION));
}

void ComponentPool::setComponentVersion(std::uint32_t version) {
    m_section->writeString("version", std::to_string(version));
}

ComponentItem ComponentPool::addComponent(std::uint64_t gameObjectIndex) {
    m_items.push_back(m_section->newSection("item"));
    m_items.back()->writeString("gameObject", std::to_string(gameObjectIndex));
    return ComponentItem(m_items.back());
}

std::uint64_t ComponentItem::getGameObjectIndex() const {
    return readNumber(*m_section, "gameObject", std::numeric_limits<std::uint64_t>::max());
}

ComponentOptions ComponentItem::getInstanceOptions() const {
    return ComponentOptions(static_cast<std::uint32_t>(readNumber(*m_section, "options", ALL_ROLES.bits())));
}

void ComponentItem::setInstanceOptions(ComponentOptions options) {
    m_section->writeString("options", std::to_string(options.bits()));
}

void ComponentItem::constructConfig(const mirra::ReflectedObject& configuration,
                                    const DeseriralizeErrorHandler* /*handler*/) const {
    if (const SmartPointer<DataSection> properties = m_section->openSection("properties", false)) {
        for (const SmartPointer<DataSection>& property : *properties) {
            setProperty(configuration, property->sectionName(), property->asString());
        }
    }
}

void ComponentItem::storeConfig(const mirra::ReflectedObject& configuration) {
    const SmartPointer<DataSection> properties = m_section->openSection("properties", true);
    for (std::size_t i = 0; i < configuration.properties(); ++i) {
        const mirra::BoundProperty property = configuration.propertyAt(i);
        properties->writeString(property.property().name, property.property().format(property.value()));
    }
}

std::optional<PropertyItem> ComponentItem::findProperty(std::string_view name) const {
    const SmartPointer<DataSection> properties = m_section->openSection("properties", false);
    const SmartPointer<DataSection> property = properties ? properties->openSection(name, false) : nullptr;
    return property ? std::optional(PropertyItem(property->asString())) : std::nullopt;
}

} // namespace Kiln::Tessel
