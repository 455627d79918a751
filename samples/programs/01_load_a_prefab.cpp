// Loads the harbour into a world and prints what stands in it.
//
// The harbour uses components of a plug-in (samples/harbour_components), which this program does not load. Components
// that nobody has registered are left out; the objects and their hierarchy are there all the same.

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
        return true; // false would remove the objects again
    });

    // The file is read in the background; the frame that finds it read creates the objects and calls back. A load that
    // fails is reported in the log and never calls back, so give up after a while.
    for (int frame = 0; frame < 1000 && !isLoaded; ++frame) {
        entryPoint.tick();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    return isLoaded ? 0 : 1;
}
