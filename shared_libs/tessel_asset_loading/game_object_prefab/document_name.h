#pragma once

#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_component.h>

#include <string>

namespace Kiln::Tessel::detail {

/// What a document is called in messages: the path of the file that it was read from, or else the name of its root,
/// which may be empty.
[[nodiscard]] inline std::string documentName(const GameObjectPrefab& prefab) {
    const SmartPointer<GameObjectDescriptor> root = prefab.findRootGameObject();
    if (!root) {
        return {};
    }
    const auto* const component = findPrefabDescriptor(*root);
    if (component && !component->prefabProperties().resource.empty()) {
        return component->prefabProperties().resource;
    }
    return std::string(root->name());
}

/// Stores the path of a document's file in the PrefabComponent of its root, which is added if it is absent.
KILN_TESSEL_ASSET_LOADING_EXPORT void setDocumentName(GameObjectDescriptor& root, const std::string& path);

} // namespace Kiln::Tessel::detail
