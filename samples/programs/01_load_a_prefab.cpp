// Loads the harbour into a world and prints the tree of its objects.
//
// The harbour uses components of a plug-in (samples/harbour_components), which this program does not load. Loading
// skips unregistered components, but creates all objects and their hierarchy.

#include "sample_support.h"

#include <object_framework/entry_point.h>
#include <tessel_asset_loading/loading.h>

#include <chrono>
#include <cstdio>
#include <thread>

int main(int argc, char** argv) {
    const Samples::Environment environment(argc, argv);

    auto& entryPoint = Kiln::Tessel::EntryPoint::instance();
    const int worldId = entryPoint.createWorld();

    bool isLoaded = false;
    Kiln::Tessel::Loading::loadGameObject("harbour/harbour.prefab", worldId, {}, [&](auto root, auto& manager) {
        Samples::printTree(manager, root);
        std::printf("%zu objects\n", manager.gameObjectsCount());
        isLoaded = true;
        return true; // Returning false would remove the objects again.
    });

    // A worker reads the file. The first frame after that creates the objects and calls the function. A failed load is
    // reported in the log and never calls the function, so give up after ten seconds.
    for (int frame = 0; frame < 1000 && !isLoaded; ++frame) {
        entryPoint.tick();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    return isLoaded ? 0 : 1;
}
