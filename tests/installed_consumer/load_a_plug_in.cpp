// Loads a plug-in, closes it at once, and loads a prefab with one of its components. Arguments: the plug-in, the folder
// of the samples.

#include <object_framework/entry_point.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/unknown_components.h>
#include <tessel_streaming/streaming.h>

#include <cstdio>

#include <dlfcn.h>

namespace Tessel = Kiln::Tessel;

namespace {

void loadLamp(int world) {
    auto& entryPoint = Tessel::EntryPoint::instance();
    const auto handle = Tessel::Streaming::load("harbour/props/lamp.prefab", world);
    while (!handle.isFinished()) {
        entryPoint.tick();
    }
    std::printf("%s, %zu types of components left out\n",
                handle.state() == Tessel::Streaming::LoadState::SUCCEEDED ? "loaded" : "failed",
                handle.result().skippedComponents.size());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    Kiln::FS::Utils::addResourceRoot(argv[2]);
    Tessel::setUnknownComponentHandler(
        [](const Tessel::UnknownComponents& components) { std::printf("%s\n", components.text().c_str()); });
    const int world = Tessel::EntryPoint::instance().createWorld();

    loadLamp(world);
    void* const plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!plugin) {
        std::printf("%s\n", dlerror());
        return 1;
    }
    dlclose(plugin);
    loadLamp(world);
    return 0;
}
