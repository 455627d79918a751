#pragma once

#include <common/matrix.h>
#include <object_framework/game_object.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/export.h>

/// Attaches the root of a new instance to a parent and places it. Main thread.
namespace Kiln::Tessel::detail {

/// Gives the root a HierarchyComponent with that parent. Reported if the manager's world is not valid. Throws
/// std::runtime_error if both objects are the same.
KILN_TESSEL_ASSET_LOADING_EXPORT void attachRoot(GameObject root, GameObject parent, GameObjectManager& manager);

/// Sets both transforms of the root's TransformComponent. A root without one is reported.
KILN_TESSEL_ASSET_LOADING_EXPORT void placeRoot(GameObject root, const Matrix& transform,
                                                const GameObjectManager& manager);

} // namespace Kiln::Tessel::detail
