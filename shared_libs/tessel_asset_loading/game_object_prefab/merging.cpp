#include <tessel_asset_loading/game_object_prefab.h>

#include <generic_components/transform_component.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/reporting/messages.h>

namespace Kiln::Tessel {

namespace {

using HierarchyDescriptor = ComponentDescriptor<HierarchyComponent>;

/// The id of the hierarchy component in the component library. A component that is registered stays registered, so an
/// id that was found once is not looked up again.
[[nodiscard]] std::size_t findHierarchyComponent() {
    const auto find = [] { return ComponentLibrary::instance().findComponent(typeid(HierarchyComponent)); };
    static const std::size_t s_found = find();
    return s_found != ComponentLibrary::INVALID_ID ? s_found : find();
}

/// A new hierarchy component descriptor with the same parent; null, with an error in the log, when the component
/// library has no such type.
[[nodiscard]] SmartPointer<IComponentDescriptor> copyHierarchy(const IComponentDescriptor& original) {
    const std::size_t id = findHierarchyComponent();
    if (id == ComponentLibrary::INVALID_ID) {
        detail::Report::componentTypeNotRegistered();
        return nullptr;
    }
    SmartPointer<IComponentDescriptor> copy = ComponentLibrary::instance().createDescriptor(id);
    if (copy) {
        static_cast<HierarchyDescriptor&>(*copy).config().parent.setUuid(
            static_cast<const HierarchyDescriptor&>(original).config().parent.uuid());
    }
    return copy;
}

} // namespace

SmartPointer<GameObjectDescriptor>
GameObjectPrefab::mergePrefabIntoIntegrationPoint(const GameObjectPrefab* nested,
                                                  SmartPointer<GameObjectDescriptor> integrationPoint) const {
    const SmartPointer<GameObjectDescriptor>* const firstRoot = nested->findRoot();
    if (!firstRoot) {
        return nullptr;
    }
    const GameObjectDescriptor* const root = firstRoot->get();
    const ComponentTypeId hierarchyType = NativeComponent<HierarchyComponent>::getType();
    const ComponentTypeId transformType = NativeComponent<TransformComponent>::getType();
    SmartPointer<GameObjectDescriptor> merged = makeSmart<GameObjectDescriptor>();
    for (const SmartPointer<IComponentDescriptor>& component : integrationPoint->components()) {
        merged->addComponent(component->type() == hierarchyType ? copyHierarchy(*component) : component);
    }
    merged->setName(integrationPoint->sharedName());
    merged->setUuid(root->uuid());
    merged->setFlags(integrationPoint->flags() | root->flags());
    for (const SmartPointer<IComponentDescriptor>& component : root->components()) {
        const ComponentTypeId type = component->type();
        if (type != transformType && type != hierarchyType && !merged->hasComponent(type)) {
            merged->addComponent(component);
        }
    }
    return merged;
}

} // namespace Kiln::Tessel
