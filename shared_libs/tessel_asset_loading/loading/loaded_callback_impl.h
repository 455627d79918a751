#pragma once

#include <common/matrix.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/object_loaded_callback.h>

#include <optional>

namespace Kiln::Tessel::Loading {

/// Passes a caller's functions, parent and transform to the service.
class KILN_TESSEL_ASSET_LOADING_EXPORT LoadedCallbackImpl final : public IObjectLoadedCallback {
public:
    /// The functions may be empty, and `parent` may be invalid.
    LoadedCallbackImpl(LoadedFunction callback, HierarchyLoadedFunction hierarchyCallback, GameObject parent,
                       const std::optional<Matrix>& transform);
    ~LoadedCallbackImpl() override;

    /// Attaches the root to the parent, applies the transform, and allows activation unless the parent is inactive.
    /// Removes the root when the parent or the root itself is gone. Throws std::runtime_error when both are the same.
    bool onPreactivate(GameObject root, GameObjectManager& manager) override;

    void onObjectLoaded(GameObject root, GameObjectManager& manager) override;
    void onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& manager) override;
    void releaseCallback() override;

private:
    LoadedFunction m_callback;
    HierarchyLoadedFunction m_hierarchyCallback;
    GameObject m_parent;
    std::optional<Matrix> m_transform;
};

} // namespace Kiln::Tessel::Loading
