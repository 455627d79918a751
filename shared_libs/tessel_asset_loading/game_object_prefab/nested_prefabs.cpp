#include <tessel_asset_loading/game_object_prefab.h>

#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/prefab_component.h>

namespace Kiln::Tessel {

namespace {

[[nodiscard]] std::string prefabComponentName() {
    return ComponentLibrary::instance().componentName(NativeComponent<PrefabComponent>::getType());
}

} // namespace

std::vector<std::string> GameObjectPrefab::getNestedPrefabs() const {
    std::vector<std::string> resources;
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        if (const auto* const component = findPrefabDescriptor(*node)) {
            resources.push_back(component->config().resource);
        }
    }
    return resources;
}

std::vector<std::string> GameObjectPrefab::getNestedPrefabs(SmartPointer<DataSection> document) {
    std::vector<std::string> resources;
    PrefabFormat format(std::move(document));
    ComponentPoolStorage* const components = format.getComponents();
    const ComponentPool* const pool = components ? components->findComponentPool(prefabComponentName()) : nullptr;
    if (!pool) {
        return resources;
    }
    for (std::size_t i = 0; i < pool->itemsCount(); ++i) {
        const std::optional<PropertyItem> property =
            pool->getComponentItem(i).findProperty(PrefabComponent::RESOURCE_PROPERTY);
        if (!property) {
            continue;
        }
        if (std::string resource = property->getSimpleValue(); !resource.empty()) {
            resources.push_back(std::move(resource));
        }
    }
    return resources;
}

bool GameObjectPrefab::hasNestedPrefabs(const std::string& path) {
    const SmartPointer<DataSection> section = FS::Utils::openXmlSection(path, true);
    const SmartPointer<DataSection> components = section ? section->openSection("components", false) : nullptr;
    if (!components) {
        return false;
    }
    const std::string name = prefabComponentName();
    for (const auto& pool : *components) {
        if (pool->readString("type") == name) {
            return true;
        }
    }
    return false;
}

} // namespace Kiln::Tessel
