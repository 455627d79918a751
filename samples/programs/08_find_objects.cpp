// Finds objects of an instance: by the UUID that they have in the file, by name, and through the hierarchy.

#include "sample_support.h"

#include <tessel_streaming/streaming.h>

#include <cstdio>
#include <string_view>

using namespace Kiln;
using namespace Kiln::Tessel;

namespace {

/// The object "Post" in samples/harbour/props/lamp.prefab.
const Uuid POST = Uuid::fromString("3519b41d-cf78-4ca0-8e8f-6fd334affdf2").value();

/// The first object of that name at or below `object`, parents first; the invalid object if there is none.
[[nodiscard]] GameObject findByName(const GameObjectManager& manager, GameObject object, std::string_view name) {
    if (manager.getGameObjectName(object) == name) {
        return object;
    }
    for (const GameObject child : manager.getChildren(object)) {
        if (const GameObject found = findByName(manager, child, name); isValid(found)) {
            return found;
        }
    }
    return GameObject::INVALID_GAME_OBJECT;
}

} // namespace

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);
    const int worldId = EntryPoint::instance().createWorld();

    const Streaming::LoadHandle lamp = Streaming::load("harbour/props/lamp.prefab", worldId);
    while (!lamp.isFinished()) { // Every request ends.
        EntryPoint::instance().tick();
    }
    if (lamp.state() != Streaming::LoadState::SUCCEEDED) {
        return 1;
    }
    GameObjectManager& manager = *getGameObjectManager(worldId);

    // The UUID of a live object is that of the instance combined with the one in the file.
    const Uuid instance = lamp.result().instanceUuids.front();
    const GameObject post = manager.findGameObject(Uuid::combine(instance, POST));
    std::printf("by UUID: %s\n", manager.getGameObjectName(post).c_str());

    const GameObject bulb = findByName(manager, lamp.root(), "Bulb");
    std::printf("by name: %s, below %s\n", manager.getGameObjectName(bulb).c_str(),
                manager.getGameObjectName(manager.getParent(bulb)).c_str());

    // A handle never dangles: after the object is removed, it is no longer valid.
    manager.removeGameObject(lamp.root());
    std::printf("after the lamp is removed: %zu objects, the bulb is %s\n", manager.gameObjectsCount(),
                isValid(bulb) ? "valid" : "not valid");
    return 0;
}
