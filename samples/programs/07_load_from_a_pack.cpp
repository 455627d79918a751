// Loads a crane from the pack "game.kilnpack" in the current directory, and prints the tree of its objects.
// kiln-prefab makes the pack:
//
//     kiln-prefab pack samples/harbour --root samples --output game.kilnpack

#include "sample_support.h"

#include <tessel_asset_loading/loading.h>

using namespace Kiln::Tessel;

int main() {
    // There are no resource roots, so that nothing outside of the pack is read.
    if (!Kiln::FS::Utils::addResourcePack("game.kilnpack")) {
        return 1;
    }
    bool isLoaded = false;
    Loading::loadGameObject("harbour/crane.prefab", EntryPoint::instance().createWorld(), {},
                            [&](GameObject root, GameObjectManager& manager) {
                                Samples::printTree(manager, root);
                                return isLoaded = true;
                            });
    const bool isFound = Samples::runFramesUntil(isLoaded);
    Kiln::FileIOTaskManager::instance().shutdown();
    return isFound ? 0 : 1;
}
