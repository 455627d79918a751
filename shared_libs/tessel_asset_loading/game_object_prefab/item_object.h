#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>

namespace Kiln::Tessel::detail {

/// The object of one creation item.
struct ItemObject {
    Uuid uuid;
    GameObject object;           ///< Invalid until it is created or taken.
    GameObject* entry = nullptr; ///< The value of `uuid` in the map of UUIDs; set for large instances only.
    bool isRoot = false;         ///< Its descriptor has no parent.
    bool isExternal = false;     ///< It was taken from the caller's map.
};

} // namespace Kiln::Tessel::detail
