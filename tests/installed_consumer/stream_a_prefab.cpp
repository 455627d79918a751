// Loads a prefab through the installed streaming layer. The argument is the folder of the samples.

#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/file_system_utils.h>
#include <tessel_streaming/streaming.h>

#include <cstdio>

namespace Streaming = Kiln::Tessel::Streaming;

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    Kiln::FS::Utils::addResourceRoot(argv[1]);
    auto& entryPoint = Kiln::Tessel::EntryPoint::instance();

    const Streaming::LoadHandle handle = Streaming::load("harbour/props/lamp.prefab", entryPoint.createWorld());
    while (!handle.isFinished()) {
        entryPoint.tick();
    }
    for (const Streaming::LoadFailure& failure : handle.result().failures) {
        std::printf("%s\n", failure.text().c_str());
    }
    if (handle.state() != Streaming::LoadState::SUCCEEDED) {
        return 1;
    }
    const auto* const manager = Kiln::Tessel::getGameObjectManager(handle.root());
    std::printf("%s is loaded\n", manager->getGameObjectName(handle.root()).c_str());
    return 0;
}
