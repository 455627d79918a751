// Loads the first prefab of a bundle from files, on the worker threads: by path, as a section, and through the
// functions that load recursively.

#include "bundle_folder.h"
#include "fuzz_target.h"
#include "service_support.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/file_system_utils.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/loading.h>

#include <chrono>

namespace Kiln::Fuzz {

namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
namespace Loading = Tessel::Loading;

void finishLoads() {
    require(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)), "background loads end");
    EntryPoint::instance().tick();
}

/// Loads by path and from a section at once; what fails once fails always.
void load(const std::string& path, const SmartPointer<DataSection>& section, const TemporaryWorld& world,
          const SmartPointer<OverrideRecords>& overrides) {
    const auto byPath = makeSmart<CountingCallback>(true);
    const auto bySection = makeSmart<CountingCallback>(false);
    service().loadGameObject(path, world.id(), Uuid(0, 100), byPath, overrides);
    service().loadGameObject(section, world.id(), Uuid(0, 200), bySection, overrides);
    finishLoads();
    const std::size_t waiting = service().loadingQueue().size();
    const std::size_t complete = (byPath->isComplete() ? 1U : 0U) + (bySection->isComplete() ? 1U : 0U);
    require(waiting + complete == (section ? 2U : 1U), "a load either waits or completes");
    const std::size_t objects = world.objectsCount();
    finishLoads();
    require(service().loadingQueue().size() == waiting, "a load that waits keeps waiting");
    require(world.objectsCount() == objects, "a load that waits leaves no object");
}

} // namespace

} // namespace Kiln::Fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kiln;
    using namespace Kiln::Fuzz;
    static Environment environment("service_files");
    setSmallLimits();
    static BundleFolder folder;
    const std::vector<BundleFile> files = parseBundle(asText(data, size));
    const BundleFile* const main = mainFile(files);
    if (!main) {
        environment.countInput(false);
        return 0;
    }
    folder.write(files);
    const SmartPointer<DataSection> section = FS::Utils::openXmlSection(main->name, true);
    environment.countInput(static_cast<bool>(section));
    const TemporaryWorld world;
    load(main->name, section, world, overridesOf(files));
    static_cast<void>(Loading::loadDescriptorsRecursively(main->name, true));
    static_cast<void>(Tessel::GameObjectPrefab::hasNestedPrefabs(main->name));
    return 0;
}
