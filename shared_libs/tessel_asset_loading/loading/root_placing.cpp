#include <tessel_asset_loading/loading/root_placing.h>

#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <stdexcept>
#include <utility>

namespace Kiln::Tessel::detail {

namespace {

/// A new component in the manager's world; empty, with an error in the log, when the world is not valid.
[[nodiscard]] ComponentPointer makeHierarchyComponent(GameObject parent, const GameObjectManager& manager) {
    World* const world = EntryPoint::instance().findValidWorld(manager.worldId());
    if (!world) {
        Report::error("Failed to find valid world");
        return nullptr;
    }
    return world->getStorage<HierarchyComponent>().create(parent);
}

} // namespace

void attachRoot(GameObject root, GameObject parent, GameObjectManager& manager) {
    if (root == parent) {
        throw std::runtime_error("Impossible: prefab's root is equal to prefab's parent!");
    }
    ComponentPointer hierarchy = makeHierarchyComponent(parent, manager);
    if (hierarchy) {
        const ComponentTypeId type = hierarchy->type();
        manager.addComponent(root, std::move(hierarchy), type);
    }
}

void placeRoot(GameObject root, const Matrix& transform, const GameObjectManager& manager) {
    auto* const component = manager.findComponent<TransformComponent>(root);
    if (!component) {
        Report::error("Transform component not found\n");
        return;
    }
    component->state |= TransformComponent::SETTING;
    component->local = transform;
    component->world = transform;
    component->state = TransformComponent::CHANGED;
}

} // namespace Kiln::Tessel::detail
