#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <object_framework/game_object_manager.h>
#include <object_serialization/object_creation.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>

namespace Kiln {
class ICreationListener;
}

/// What is done with the root of a new instance between its creation and its activation. Main thread.
namespace Kiln::Tessel::detail {

/// Passes a new instance to the listener if it accepts the prefab. Returns false if the listener refuses the instance.
/// `listener` may be null. The map is taken only if the listener accepts the prefab. Exceptions of the listener are
/// propagated.
[[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT bool offerToListener(ICreationListener* listener,
                                                                    const GameObjectPrefab& prefab, int worldId,
                                                                    const Uuid& instanceUuid, UuidMap&& uuidMap);

/// Stores the instance UUID in the root's PrefabComponent. A root without one is reported.
KILN_TESSEL_ASSET_LOADING_EXPORT void stampRoot(GameObjectManager& manager, GameObject root, const Uuid& instanceUuid);

} // namespace Kiln::Tessel::detail
