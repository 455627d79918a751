#include <tessel_asset_loading/prefab_service.h>

#include <core/stack_tracker.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/detail/prefab_cache.h>
#include <tessel_asset_loading/detail/reporting.h>
#include <tessel_asset_loading/detail/service_locks.h>
#include <tessel_asset_loading/prefab_component/prefab_load_task.h>

#include <utility>

namespace Kiln::Tessel {

namespace {
constexpr const char* LOAD_GAME_OBJECT = "Kiln::Tessel::PrefabService::loadGameObject";
} // namespace

void PrefabService::loadDescriptor(const std::string& path, const std::function<void(GameObjectPrefab*)>& callback,
                                   bool backgroundLoad) {
    const StackTrackerScope tracker("Kiln::Tessel::PrefabService::loadDescriptor", Report::PREFAB_COMPONENT_SOURCE,
                                    __LINE__);
    const SmartPointer<DescriptorCacheData> descriptor = makeSmart<DescriptorCacheData>();
    m_descriptorRequests.push_back({descriptor, callback});
    if (!m_prefabCache->find(path)) {
        PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(path, descriptor, backgroundLoad));
    }
}

void PrefabService::loadGameObject(const SmartPointer<DataSection>& section, int worldId, const Uuid& uuid,
                                   const SmartPointer<IObjectLoadedCallback>& callback,
                                   SmartPointer<OverrideRecords> overrides) {
    const StackTrackerScope tracker(LOAD_GAME_OBJECT, Report::PREFAB_COMPONENT_SOURCE, __LINE__);
    if (!section) {
        return;
    }
    const SmartPointer<DescriptorCacheData> descriptor = makeSmart<DescriptorCacheData>();
    PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(section, descriptor, true));
    queueLoader({callback, descriptor, worldId, uuid, std::move(overrides)});
}

void PrefabService::loadGameObject(const std::string& path, int worldId, const Uuid& uuid,
                                   const SmartPointer<IObjectLoadedCallback>& callback,
                                   SmartPointer<OverrideRecords> overrides) {
    const StackTrackerScope tracker(LOAD_GAME_OBJECT, Report::PREFAB_COMPONENT_SOURCE, __LINE__);
    if (!EntryPoint::instance().isWorldValid(worldId)) {
        return;
    }
    // The queue's lock, which queueLoader takes again under the cache's, comes first here as it does in tick: so there
    // is one order of the two.
    const QueueLock queueLock(m_loadingQueueMutex);
    const CacheLock lock(m_cacheMutex);
    const auto [entry, isNew] = m_prefabCache->insert(path, makeSmart<DescriptorCacheData>());
    if (isNew) {
        entry->pendingWorlds.insert(worldId);
        PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(path, entry, true));
    } else if (!entry->pendingWorlds.empty()) {
        entry->pendingWorlds.insert(worldId);
    }
    queueLoader({callback, entry, worldId, uuid, std::move(overrides)});
}

void PrefabService::queueLoader(GameObjectLoader loader) {
    const QueueLock lock(m_loadingQueueMutex);
    m_loadingQueue.push_back(std::move(loader));
}

} // namespace Kiln::Tessel
