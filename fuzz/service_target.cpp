// Loads an instance of the first prefab of a bundle, checks it, loads a second one and removes both. The files are in
// memory, and everything runs on the main thread.

#include "fuzz_target.h"
#include "service_support.h"

#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <optional>

namespace Kiln::Fuzz {

namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
namespace Loading = Tessel::Loading;

std::vector<BundleFile> currentFiles;
std::size_t wellFormedFiles = 0; ///< Of those that the current input has opened.

const Uuid INSTANCE_UUID(0, 100);

/// Loads the prefab with the overrides of the bundle. Returns the root, or the invalid object if the load waits.
[[nodiscard]] GameObject load(const std::string& path, const TemporaryWorld& world, bool isActivationWanted) {
    const auto callback = makeSmart<CountingCallback>(isActivationWanted);
    service().loadGameObject(path, world.id(), INSTANCE_UUID, callback, overridesOf(currentFiles));
    EntryPoint::instance().tick();
    require(callback->isComplete() == service().loadingQueue().empty(), "a load either waits or completes");
    return callback->root();
}

/// Loads the prefab again, with the same instance UUID, under the first instance.
void loadSecond(const std::string& path, GameObject first) {
    bool isLoaded = false;
    Loading::loadGameObjectIntoHierarchy(
        path, first, Matrix(),
        [&isLoaded](GameObject, Tessel::GameObjectManager&) {
            isLoaded = true;
            return true;
        },
        INSTANCE_UUID);
    EntryPoint::instance().tick();
    require(isLoaded || !service().loadingQueue().empty(), "a second load either waits or completes");
}

void checkInstances(const std::string& path) {
    const TemporaryWorld world;
    const std::string before = cachedText(path);
    const GameObject root = load(path, world, path.size() % 2 == 0);
    require(cachedText(path) == before, "a creation leaves the cached document as it was");
    if (root.isInvalid()) {
        require(world.objectsCount() == 0, "a load that failed leaves no object");
        return;
    }
    require(world.manager().isGameObjectValid(root), "the root of a complete load is alive");
    loadSecond(path, root);
    require(cachedText(path) == before, "a second creation leaves the cached document as it was");
    completeWaitingLoads();
    for (const GameObject object : world.manager().gameObjects()) {
        removeGameObject(object);
    }
    EntryPoint::instance().tick();
    require(world.objectsCount() == 0, "nothing is left when every object has been removed");
}

} // namespace

} // namespace Kiln::Fuzz

// Replaces the operation of the resource library in this process.
Kiln::SmartPointer<Kiln::DataSection> Kiln::FS::Utils::openXmlSection(const std::string& resourcePath,
                                                                      bool /*callerReportsMissing*/) {
    for (const Fuzz::BundleFile& file : Fuzz::currentFiles) {
        if (file.name == resourcePath) {
            SmartPointer<DataSection> section = DataSection::fromText(file.text, file.name);
            Fuzz::wellFormedFiles += section ? 1U : 0U;
            return section;
        }
    }
    return nullptr;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("service");
    setSmallLimits();
    currentFiles = parseBundle(asText(data, size));
    const BundleFile* const main = mainFile(currentFiles);
    if (!main) {
        environment.countInput(false);
        return 0;
    }
    wellFormedFiles = 0;
    Loading::cacheGameObjects({main->name}, true);
    environment.countInput(wellFormedFiles > 0);
    checkInstances(main->name);
    return 0;
}
