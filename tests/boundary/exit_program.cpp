// Ends a process while prefabs are being loaded. Arguments: the directory of the libraries, a resource root with the
// files lantern0.prefab to lantern<FILES - 1>.prefab and endless.prefab, and a mode. Errors are reported on stderr with
// exit status 3; otherwise the last line on stdout is "finished".

#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_limits.h>

#include "plugin_loading.h"

#include <chrono>
#include <limits>
#include <string_view>
#include <utility>

namespace {

using namespace Kiln;
using namespace Kiln::BoundaryTests;
using Tessel::EntryPoint;
namespace Loading = Tessel::Loading;

constexpr int FILES = 20;

[[nodiscard]] std::string file(int number) {
    return "lantern" + std::to_string(number) + ".prefab";
}

/// The first static object of the program and hence the last to be destroyed.
struct LastWord {
    ~LastWord() {
        std::puts("finished");
        std::fflush(stdout);
    }
} lastWord;

/// Queues a load of every file and returns when a worker preloads.
void loadAll(const PluginApi& plugin, int worldId) {
    for (int number = 0; number < FILES; ++number) {
        plugin.load(file(number), worldId);
    }
    plugin.awaitPreload();
}

int leaveWhilePreloading(const PluginApi& plugin) {
    loadAll(plugin, EntryPoint::instance().createWorld());
    return 0;
}

int exitWhilePreloading(const PluginApi& plugin) {
    loadAll(plugin, EntryPoint::instance().createWorld());
    std::exit(0); // NOLINT(concurrency-mt-unsafe): this is under test
}

int leaveAtOnce(const PluginApi& plugin) {
    const int worldId = EntryPoint::instance().createWorld();
    for (int number = 0; number < FILES; ++number) {
        plugin.load(file(number), worldId);
    }
    return 0;
}

/// Exits while objects and their world are alive and further loads are pending.
int leaveWithLiveObjects(const PluginApi& plugin) {
    const int worldId = EntryPoint::instance().createWorld();
    loadAll(plugin, worldId);
    const Tessel::GameObjectManager& manager = EntryPoint::instance().findValidWorld(worldId)->manager();
    while (manager.gameObjectsCount() == 0) {
        EntryPoint::instance().tick();
    }
    return 0;
}

int leaveWithDestroyedWorld(const PluginApi& plugin) {
    const int worldId = EntryPoint::instance().createWorld();
    loadAll(plugin, worldId);
    EntryPoint::instance().destroyWorld(worldId);
    EntryPoint::instance().tick();
    return 0;
}

int leaveWithClearedCache(const PluginApi& plugin) {
    loadAll(plugin, EntryPoint::instance().createWorld());
    Loading::fullyClearCache();
    return 0;
}

void loadSections(int worldId) {
    for (int number = 0; number < FILES; ++number) {
        Loading::loadGameObjectSection(FS::Utils::openXmlSection(file(number), false), worldId, std::nullopt, nullptr,
                                       [](auto, auto&) { return true; });
    }
}

void requestDescriptors() {
    for (int number = 0; number < FILES; ++number) {
        Loading::loadDescriptorAsync(file(number), [](Tessel::GameObjectPrefab*) {});
    }
}

int leaveWithSections(const PluginApi& plugin) {
    loadSections(EntryPoint::instance().createWorld());
    plugin.awaitPreload();
    return 0;
}

int leaveWithDescriptorRequests(const PluginApi& /*plugin*/) {
    requestDescriptors();
    return 0;
}

int leaveAmidEverything(const PluginApi& plugin) {
    const int destroyedWorld = EntryPoint::instance().createWorld();
    const int remainingWorld = EntryPoint::instance().createWorld();
    loadAll(plugin, destroyedWorld);
    loadSections(remainingWorld);
    requestDescriptors();
    EntryPoint::instance().tick();
    EntryPoint::instance().destroyWorld(destroyedWorld);
    Loading::clearGameObjectsCache({file(0), file(1)});
    loadAll(plugin, remainingWorld);
    EntryPoint::instance().tick();
    Loading::fullyClearCache();
    loadAll(plugin, remainingWorld);
    return 0;
}

/// Exits during a tick, while the service's lock is held.
int exitFromCallback(const PluginApi& plugin) {
    const int worldId = EntryPoint::instance().createWorld();
    Loading::loadGameObject(file(0), worldId, std::nullopt, [](auto, auto&) -> bool {
        std::exit(0); // NOLINT(concurrency-mt-unsafe): this is under test
    });
    loadAll(plugin, worldId);
    while (true) {
        EntryPoint::instance().tick();
    }
}

/// Exits during a walk through nested prefabs that would last for hours: endless.prefab nests itself 20 times. Each
/// visit preloads for 5 ms.
int leaveDuringALongWalk(const PluginApi& plugin) {
    Tessel::setPrefabLimits({.walkVisits = std::numeric_limits<std::size_t>::max()});
    plugin.load("endless.prefab", EntryPoint::instance().createWorld());
    plugin.awaitPreload();
    return 0;
}

int leaveWithoutLoads(const PluginApi& /*plugin*/) {
    return 0;
}

} // namespace

int main(int argumentsCount, char** arguments) {
    require(argumentsCount == 4, "usage: boundary_exit_program <libraries> <resource root> <mode>");
    Log::instance().addSink([](const LogMessage&) {}); // Discards the log.
    FS::Utils::addResourceRoot(arguments[2]);
    const PluginApi& plugin = openPlugin(arguments[1], "libboundary_lantern.so");

    constexpr std::pair<std::string_view, int (*)(const PluginApi&)> MODES[] = {
        {"leave-while-preloading", leaveWhilePreloading},
        {"exit-while-preloading", exitWhilePreloading},
        {"leave-at-once", leaveAtOnce},
        {"leave-with-live-objects", leaveWithLiveObjects},
        {"leave-with-destroyed-world", leaveWithDestroyedWorld},
        {"leave-with-cleared-cache", leaveWithClearedCache},
        {"leave-with-sections", leaveWithSections},
        {"leave-with-descriptor-requests", leaveWithDescriptorRequests},
        {"leave-amid-everything", leaveAmidEverything},
        {"exit-from-callback", exitFromCallback},
        {"leave-during-a-long-walk", leaveDuringALongWalk},
        {"leave-without-loads", leaveWithoutLoads},
    };
    for (const auto& [name, run] : MODES) {
        if (name == arguments[3]) {
            return run(plugin);
        }
    }
    fail("unknown mode");
}
