#include <tessel_asset_loading/game_object_prefab.h>

#include <core/formatter.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/game_object_prefab/document_name.h>
#include <tessel_asset_loading/game_object_prefab/unknown_component_report.h>
#include <tessel_asset_loading/prefab_limits.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace Kiln::Tessel {

namespace {

/// The options that are kept in files.
constexpr ComponentOptions STORED_OPTIONS = ALL_ROLES;

/// The parts of a component type's record that reading needs.
struct RecordValues {
    std::uint32_t version;
    ComponentOptions options;
};

/// The result of `fetch`; empty, with an error in the log, when the component type has no record.
template <class Fetch>
[[nodiscard]] auto fetchFromRecord(Fetch fetch) -> std::optional<decltype(fetch())> {
    try {
        return fetch();
    } catch (const std::runtime_error& error) {
        detail::Report::error("GameObjectPrefab: %s", error.what());
        return std::nullopt;
    }
}

/// Reports a problem to the handler, prefixed with its context, or to the log, prefixed with `logPrefix`, if there is
/// none.
void report(const DeseriralizeErrorHandler* handler, const char* logPrefix, const std::string& text) {
    if (handler) {
        handler->callback(formatText("%s. %s", handler->context.c_str(), text.c_str()));
    } else {
        detail::Report::error("%s%s", logPrefix, text.c_str());
    }
}

/// Prefix of fatal problems in the log.
constexpr const char* FATAL = "Failed to deserialize prefab. ";

[[nodiscard]] bool isVersionRight(const PrefabFormat& format, const DeseriralizeErrorHandler* handler) {
    const std::uint32_t version = format.getFormatVersion();
    if (version == PrefabFormat::FORMAT_VERSION) {
        return true;
    }
    report(handler, FATAL,
           formatText("Format version mismatch. Current version: %d. Prefab version: %d. Content conversion is "
                      "required.",
                      static_cast<int>(PrefabFormat::FORMAT_VERSION), static_cast<int>(version)));
    return false;
}

void checkComponentVersion(const ComponentPool& pool, std::uint32_t recordVersion,
                           const DeseriralizeErrorHandler* handler) {
    const std::uint32_t version = pool.getComponentVersion();
    if (version != recordVersion) {
        report(handler, "",
               formatText("Component version mismatch. Component: '%s' Current version: %d. Version in prefab: %d. "
                          "Content conversion is required. Correct deserialization isn't guaranteed.",
                          pool.getComponentType().c_str(), static_cast<int>(recordVersion), static_cast<int>(version)));
    }
}

void readItem(const ComponentItem& item, std::size_t id, const RecordValues& record, const std::string& typeName,
              const std::vector<SmartPointer<GameObjectDescriptor>>& nodes) {
    const std::uint64_t index = item.getGameObjectIndex();
    if (index >= nodes.size()) {
        detail::Report::error("Error deserializing component '%s'. Game Object index out of range.", typeName.c_str());
        return;
    }
    const ComponentOptions stored = item.getInstanceOptions();
    const ComponentOptions options =
        record.options.has(ComponentOption::USE_RECORD_OPTIONS) ? record.options : stored & record.options;
    if (!record.options.has(ComponentOption::SKIP_ROLE_CHECK) && !IComponentDescriptor::needToDeserialize(options)) {
        return;
    }
    SmartPointer<IComponentDescriptor> component = ComponentLibrary::instance().createDescriptor(id);
    if (!component) {
        detail::Report::error("Failed to create a component of type '%s'.", typeName.c_str());
        return;
    }
    component->setInstanceOptions(options);
    item.constructConfig(component->configuration(), nullptr);
    component->storePrefabProperties();
    nodes[index]->addComponent(std::move(component));
}

/// The limit that a document exceeds, for a message; empty if it is within all limits. Its game objects are `nodes`
/// from index `first` on.
[[nodiscard]] std::string exceededLimit(const std::vector<SmartPointer<GameObjectDescriptor>>& nodes,
                                        std::size_t first) {
    const PrefabLimits limits = prefabLimits();
    const ComponentTypeId prefabType = NativeComponent<PrefabComponent>::getType();
    for (std::size_t i = first; i < nodes.size(); ++i) {
        if (!nodes[i]) {
            continue;
        }
        const std::size_t components = nodes[i]->components().size();
        if (components > limits.componentsPerObject) {
            return formatText("The game object with index %zu has %zu components; the limit is %zu.", i - first,
                              components, limits.componentsPerObject);
        }
        const auto* const prefab =
            static_cast<const ComponentDescriptor<PrefabComponent>*>(nodes[i]->findComponent(prefabType));
        const std::size_t nameBytes =
            std::max(nodes[i]->name().size(), prefab ? prefab->prefabProperties().resource.size() : 0);
        if (nameBytes > limits.nameBytes) {
            return formatText("The game object with index %zu has a name or a path of %zu bytes; the limit is %zu.",
                              i - first, nameBytes, limits.nameBytes);
        }
        const std::size_t bytes = prefab ? prefab->prefabProperties().overridesData.size() : 0;
        if (bytes > limits.overrideTextBytes) {
            return formatText("The override data of the game object with index %zu has %zu bytes; the limit is %zu.",
                              i - first, bytes, limits.overrideTextBytes);
        }
    }
    return {};
}

/// Reports a document that is refused as a whole. Its name may be empty.
void reportRefused(const DeseriralizeErrorHandler* handler, const std::string& documentName, const std::string& limit) {
    report(handler, FATAL, documentName.empty() ? limit : formatText("'%s': %s", documentName.c_str(), limit.c_str()));
}

void readPool(const ComponentPool& pool, const std::vector<SmartPointer<GameObjectDescriptor>>& nodes,
              const std::string& source, const DeseriralizeErrorHandler* handler) {
    const std::string& typeName = pool.getComponentType();
    const std::size_t id = ComponentLibrary::instance().findComponent(typeName);
    if (id == ComponentLibrary::INVALID_ID) {
        if (handler) {
            report(handler, "", formatText("Cannot found component: %s", typeName.c_str()));
        }
        detail::reportUnknownComponents(typeName, source);
        return;
    }
    const std::optional<RecordValues> record = fetchFromRecord([id] {
        const ComponentLibrary& library = ComponentLibrary::instance();
        return RecordValues{library.componentMeta(id).version, library.componentMeta(id).options};
    });
    if (!record) {
        return;
    }
    checkComponentVersion(pool, record->version, handler);
    for (std::size_t i = 0; i < pool.itemsCount(); ++i) {
        readItem(pool.getComponentItem(i), id, *record, typeName, nodes);
    }
}

void writeComponents(ComponentPoolStorage& storage, std::size_t id,
                     const std::vector<SmartPointer<GameObjectDescriptor>>& nodes) {
    const std::string name = ComponentLibrary::instance().componentName(id);
    const std::optional<std::uint32_t> version =
        fetchFromRecord([id] { return ComponentLibrary::instance().componentMeta(id).version; });
    if (!version) {
        return;
    }
    ComponentPool* pool = storage.findComponentPool(name);
    for (std::size_t nodeId = 0; nodeId < nodes.size(); ++nodeId) {
        IComponentDescriptor* const component = nodes[nodeId]->findComponent(name);
        if (!component) {
            continue;
        }
        if (!pool) {
            pool = &storage.createComponentPool(name);
            pool->setComponentVersion(*version);
        }
        ComponentItem item = pool->addComponent(nodeId);
        item.setInstanceOptions(component->getInstanceOptions() & STORED_OPTIONS);
        item.storeConfig(component->viewConfiguration());
        component->storePrefabProperties();
    }
}

} // namespace

void GameObjectPrefab::deserialize(const SmartPointer<DataSection>& section, DeseriralizeErrorHandler* handler) {
    PrefabFormat format(section);
    if (!isVersionRight(format, handler)) {
        return;
    }
    const GameObjectPool* const gameObjects = format.getGameObjects();
    if (!gameObjects) {
        report(handler, FATAL, "Prefab doesn't contain game objects.");
        return;
    }
    const std::size_t objectsCount = gameObjects->gameObjectsCount();
    if (const std::size_t limit = prefabLimits().objects; objectsCount > limit) {
        reportRefused(handler, section->source(),
                      formatText("It has %zu game objects; the limit is %zu.", objectsCount, limit));
        return;
    }
    const std::size_t previousCount = m_nodes.size();
    m_nodes.reserve(objectsCount);
    for (std::size_t i = 0; i < objectsCount; ++i) {
        m_nodes.push_back(gameObjects->gameObjectData(i).getDescriptor());
    }
    if (ComponentPoolStorage* const components = format.getComponents()) {
        for (std::size_t i = 0; i < components->poolsCount(); ++i) {
            readPool(components->getComponentPool(i), m_nodes, section->source(), handler);
        }
    }
    if (const std::string limit = exceededLimit(m_nodes, previousCount); !limit.empty()) {
        reportRefused(handler, section->source(), limit);
        m_nodes.resize(previousCount);
    }
}

void GameObjectPrefab::serialize(SmartPointer<DataSection> section) const {
    if (!section) {
        detail::Report::error("Failed to serialize prefab. There is no section to write to.");
        return;
    }
    PrefabFormat format(std::move(section));
    format.setFormatVersion(PrefabFormat::FORMAT_VERSION);
    GameObjectPool& gameObjects = format.getGameObjects() ? *format.getGameObjects() : format.createGameObjectPool();
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        gameObjects.addGameObject(node);
    }
    ComponentPoolStorage& components =
        format.getComponents() ? *format.getComponents() : format.createComponentPoolStorage();
    for (std::size_t id = 0; id < ComponentLibrary::instance().componentsCount(); ++id) {
        writeComponents(components, id, m_nodes);
    }
}

std::unique_ptr<GameObjectPrefab> GameObjectPrefab::loadHierarchy(SmartPointer<DataSection> section,
                                                                  DeseriralizeErrorHandler* handler) {
    auto prefab = std::make_unique<GameObjectPrefab>();
    prefab->deserialize(section, handler);
    return prefab;
}

std::unique_ptr<GameObjectPrefab> GameObjectPrefab::loadHierarchy(const std::string& path,
                                                                  DeseriralizeErrorHandler* handler) {
    SmartPointer<DataSection> section = FS::Utils::openXmlSection(path, true);
    if (!section) {
        if (handler) {
            handler->callback(formatText("%s. Prefab not found: %s", handler->context.c_str(), path.c_str()));
        }
        detail::Report::error("Prefab not found %s", path.c_str());
        return nullptr;
    }
    std::unique_ptr<GameObjectPrefab> prefab = loadHierarchy(std::move(section), handler);
    if (const SmartPointer<GameObjectDescriptor> root = prefab->findRootGameObject()) {
        detail::setDocumentName(*root, path);
    }
    return prefab;
}

} // namespace Kiln::Tessel
