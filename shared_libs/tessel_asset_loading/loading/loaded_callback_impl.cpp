#include <tessel_asset_loading/loading/loaded_callback_impl.h>

#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <stdexcept>
#include <utility>

namespace Kiln::Tessel::Loading {

namespace {

/// A new component in the manager's world; empty, with an error in the log, when the world is not valid.
[[nodiscard]] ComponentPointer makeHierarchyComponent(GameObject parent, const GameObjectManager& manager) {
    World* const world = EntryPoint::instance().findValidWorld(manager.worldId());
    if (!world) {
        detail::Report::error("Failed to find valid world");
        return nullptr;
    }
    return world->getStorage<HierarchyComponent>().create(parent);
}

void attach(GameObject root, GameObject parent, GameObjectManager& manager) {
    if (root == parent) {
        throw std::runtime_error("Impossible: prefab's root is equal to prefab's parent!");
    }
    ComponentPointer hierarchy = makeHierarchyComponent(parent, manager);
    if (hierarchy) {
        const ComponentTypeId type = hierarchy->type();
        manager.addComponent(root, std::move(hierarchy), type);
    }
}

void place(GameObject root, const Matrix& transform, const GameObjectManager& manager) {
    auto* const component = manager.findComponent<TransformComponent>(root);
    if (!component) {
        detail::Report::error("Transform component not found\n");
        return;
    }
    component->state |= TransformComponent::SETTING;
    component->local = transform;
    component->world = transform;
    component->state = TransformComponent::CHANGED;
}

} // namespace

LoadedCallbackImpl::LoadedCallbackImpl(LoadedFunction callback, HierarchyLoadedFunction hierarchyCallback,
                                       GameObject parent, const std::optional<Matrix>& transform)
    : m_callback(std::move(callback)),
      m_hierarchyCallback(std::move(hierarchyCallback)),
      m_parent(parent),
      m_transform(transform) {}

LoadedCallbackImpl::~LoadedCallbackImpl() = default;

bool LoadedCallbackImpl::onPreactivate(GameObject root, GameObjectManager& manager) {
    if (!m_parent.isInvalid()) {
        if (!isValid(m_parent) || !isValid(root)) {
            manager.removeGameObject(root);
            return false;
        }
        attach(root, m_parent, manager);
    }
    if (m_transform) {
        place(root, *m_transform, manager);
    }
    return m_parent.isInvalid() || manager.isActive(m_parent);
}

void LoadedCallbackImpl::onObjectLoaded(GameObject root, GameObjectManager& manager) {
    if (isValid(root) && m_callback && !m_callback(root, manager)) {
        manager.removeGameObject(root);
    }
}

void LoadedCallbackImpl::onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& manager) {
    if (isValid(root) && m_hierarchyCallback && !m_hierarchyCallback(root, manager, m_parent)) {
        manager.removeGameObject(root);
    }
}

void LoadedCallbackImpl::releaseCallback() {
    m_callback = nullptr;
}

} // namespace Kiln::Tessel::Loading
