#include "service_support.h"

#include "fuzz_target.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <resource/data_section.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_limits.h>

#include <algorithm>
#include <memory>

namespace Kiln::Fuzz {

namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
using Tessel::GameObjectPrefab;

[[nodiscard]] std::unique_ptr<GameObjectPrefab> makeSoundPrefab() {
    const SmartPointer<DataSection> section =
        DataSection::fromText("<prefab><formatVersion>1</formatVersion><gameObjects><gameObject>"
                              "<uuid>00000000-0000-0000-0000-000000000001</uuid></gameObject></gameObjects></prefab>",
                              "sound prefab");
    return GameObjectPrefab::loadHierarchy(section, nullptr);
}

} // namespace

Tessel::PrefabService& service() {
    prefab_component(); // Loads the module, which registers the service.
    return *EntryPoint::instance().getService<Tessel::PrefabService>();
}

void setSmallLimits() {
    Tessel::PrefabLimits limits;
    limits.objects = 500;
    limits.componentsPerObject = 16;
    limits.overrideTextBytes = 4096;
    limits.instanceObjects = 500;
    limits.walkVisits = 100;
    Tessel::setPrefabLimits(limits);
}

SmartPointer<OverrideRecords> overridesOf(const std::vector<BundleFile>& files) {
    const auto found =
        std::find_if(files.begin(), files.end(), [](const BundleFile& file) { return file.name == OVERRIDES_FILE; });
    return found == files.end() ? nullptr : OverrideRecords::create(found->text);
}

const BundleFile* mainFile(const std::vector<BundleFile>& files) {
    const auto found =
        std::find_if(files.begin(), files.end(), [](const BundleFile& file) { return file.name != OVERRIDES_FILE; });
    return found == files.end() ? nullptr : &*found;
}

bool CountingCallback::onPreactivate(GameObject root, GameObjectManager& manager) {
    require(++m_preactivated == 1 && m_loaded == 0, "onPreactivate is called once, and first");
    require(!manager.isActive(root), "a new root is inactive");
    return m_isActivationWanted;
}

void CountingCallback::onObjectLoaded(GameObject root, GameObjectManager& /*manager*/) {
    require(++m_loaded == 1 && m_loadedIntoHierarchy == 0, "onObjectLoaded is called once");
    m_root = root;
}

void CountingCallback::onObjectLoadedIntoHierarchy(GameObject root, GameObjectManager& /*manager*/) {
    require(++m_loadedIntoHierarchy == 1 && m_loaded == 1, "onObjectLoadedIntoHierarchy is called once, and last");
    require(root == m_root, "the calls for one load have one root");
}

void CountingCallback::releaseCallback() {
    require(false, "the service never calls releaseCallback");
}

TemporaryWorld::TemporaryWorld() : m_id(EntryPoint::instance().createWorld()) {}

TemporaryWorld::~TemporaryWorld() {
    completeWaitingLoads();
    EntryPoint::instance().destroyWorld(m_id); // The destructors of its pools assert that they are empty.
    Tessel::Loading::fullyClearCache();
    require(EntryPoint::instance().worldIds().empty(), "no world is left");
    require(service().descriptorRequestsCount() == 0, "no request for a document is left");
}

GameObjectManager& TemporaryWorld::manager() const {
    return *Tessel::getGameObjectManager(m_id);
}

void completeWaitingLoads() {
    require(FileIOTaskManager::instance().unfinishedTasks() == 0, "no background task is unfinished");
    if (service().loadingQueue().empty()) {
        return;
    }
    for (const Tessel::GameObjectLoader& loader : service().loadingQueue()) {
        loader.descriptor->prefab.publish(makeSoundPrefab());
    }
    EntryPoint::instance().tick();
    require(service().loadingQueue().empty(), "a sound prefab completes every load that waits for it");
}

std::string cachedText(const std::string& path) {
    const GameObjectPrefab* const prefab = service().loadPrefabData(path);
    if (!prefab) {
        return {};
    }
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    prefab->serialize(section);
    return section->toText();
}

} // namespace Kiln::Fuzz
