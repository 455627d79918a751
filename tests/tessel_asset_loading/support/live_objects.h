#pragma once

#include <object_framework/game_object_manager.h>

#include <string>
#include <vector>

/// Functions to look up a world's objects.
namespace Kiln::TestSupport {

/// Names in the given order; "<invalid>" for the null handle.
[[nodiscard]] inline std::vector<std::string> namesOf(const Tessel::GameObjectManager& manager,
                                                      const std::vector<Tessel::GameObject>& objects) {
    std::vector<std::string> names;
    for (const Tessel::GameObject object : objects) {
        names.push_back(object.isInvalid() ? "<invalid>" : manager.getGameObjectName(object));
    }
    return names;
}

/// The live object of that name (the first in order of creation), or the invalid object.
[[nodiscard]] inline Tessel::GameObject findByName(const Tessel::GameObjectManager& manager, const std::string& name) {
    for (const Tessel::GameObject object : manager.gameObjects()) {
        if (manager.getGameObjectName(object) == name) {
            return object;
        }
    }
    return Tessel::GameObject::INVALID_GAME_OBJECT;
}

/// Name of the parent; empty when there is none.
[[nodiscard]] inline std::string parentNameOf(const Tessel::GameObjectManager& manager, Tessel::GameObject object) {
    return manager.getGameObjectName(manager.getParent(object));
}

} // namespace Kiln::TestSupport
