// Loads a crane as a child of an existing object, with a transform of its own.

#include "sample_support.h"

#include <object_framework/world.h>
#include <tessel_asset_loading/loading.h>

#include <cstdio>

using namespace Kiln;
using namespace Kiln::Tessel;

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);

    const int worldId = EntryPoint::instance().createWorld();
    GameObjectManager& worldManager = *getGameObjectManager(worldId);
    const GameObject pontoon = worldManager.createGameObject();
    worldManager.setGameObjectName(pontoon, "Pontoon");
    worldManager.activateGameObject(pontoon); // Under an inactive parent the crane would stay inactive.

    bool isAttached = false;
    Loading::loadGameObjectIntoHierarchy(
        "harbour/crane.prefab", pontoon, Matrix::translation(4, 0.5F, -2),
        [](GameObject root, GameObjectManager& manager) {
            Samples::printPosition(manager, root);
            return true;
        },
        std::nullopt, // No instance UUID, so a new one is generated.
        [&](GameObject root, GameObjectManager& manager, GameObject parent) {
            std::printf("%s stands on %s\n", manager.getGameObjectName(root).c_str(),
                        manager.getGameObjectName(parent).c_str());
            isAttached = true;
            return true;
        });

    if (!Samples::runFramesUntil(isAttached)) {
        return 1;
    }
    Samples::printTree(worldManager, pontoon);
    return 0;
}
