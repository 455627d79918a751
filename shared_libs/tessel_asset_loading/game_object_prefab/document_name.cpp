#include <tessel_asset_loading/game_object_prefab/document_name.h>

#include <object_framework/entry_point.h>
#include <object_serialization/component_library.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <utility>

namespace Kiln::Tessel::detail {

namespace {

/// Adds an empty PrefabComponent.
void addPrefabComponent(GameObjectDescriptor& root) {
    const auto* const library = EntryPoint::instance().getService<ComponentLibrary>();
    const std::size_t id = library->findComponent(typeid(PrefabComponent));
    SmartPointer<IComponentDescriptor> component;
    if (id == ComponentLibrary::INVALID_ID) {
        Report::componentTypeNotRegistered();
    } else {
        component = library->createDescriptor(id);
    }
    root.addComponent(std::move(component));
}

} // namespace

void setDocumentName(GameObjectDescriptor& root, const std::string& path) {
    if (!findPrefabDescriptor(root)) {
        addPrefabComponent(root);
    }
    if (ComponentDescriptor<PrefabComponent>* const component = findPrefabDescriptor(root)) {
        component->config().resource = path;
        component->storePrefabProperties();
    }
}

} // namespace Kiln::Tessel::detail
