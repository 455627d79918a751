#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// A live instance that is updated when its files change: what it was created from, and its objects.
struct FollowedInstance {
    std::uint64_t request = 0; ///< Number of its request.
    std::string path;
    Uuid instanceUuid;
    SmartPointer<OverrideRecords> overrides; ///< Of the request; may be null.
    std::optional<Matrix> placement;

    /// LiveUpdates::documentsVersion() when its creation began. An instance that was created from older documents is
    /// updated as soon as it is followed.
    std::uint64_t documentsVersion = 0;

    // Updates read the following members of each instance.
    int worldId = -1;
    GameObject root;

    /// What the objects were created from, and the object of each, by index. An object may have been removed since.
    std::vector<GameObjectPrefab::GameObjectCreationItem> items;
    std::vector<GameObject> objects;
    std::vector<Uuid> uuids;
};

} // namespace Kiln::Tessel::Streaming::detail
