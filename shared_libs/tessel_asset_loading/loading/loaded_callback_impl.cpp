#include <tessel_asset_loading/loading/loaded_callback_impl.h>

#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/loading/root_placing.h>

#include <utility>

namespace Kiln::Tessel::Loading {

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
        detail::attachRoot(root, m_parent, manager);
    }
    if (m_transform) {
        detail::placeRoot(root, *m_transform, manager);
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
