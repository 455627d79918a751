#include <tessel_asset_loading/prefab_service.h>

#include <object_framework/entry_point.h>
#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>
#include <tessel_asset_loading/prefab_component/service/prefab_load_task.h>
#include <tessel_asset_loading/prefab_component/service/service_locks.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <utility>

namespace Kiln::Tessel {

void PrefabService::loadDescriptor(const std::string& path, const std::function<void(GameObjectPrefab*)>& callback,
                                   bool backgroundLoad) {
    const detail::PrefabServiceScope<"loadDescriptor"> scope;
    const SmartPointer<DescriptorCacheData> descriptor = makeSmart<DescriptorCacheData>();
    m_descriptorRequests.push_back({descriptor, callback});
    if (!m_prefabCache->find(path)) {
        PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(path, descriptor, backgroundLoad));
    }
}

void PrefabService::loadGameObject(const SmartPointer<DataSection>& section, int worldId, const Uuid& uuid,
                                   const SmartPointer<IObjectLoadedCallback>& callback,
                                   SmartPointer<OverrideRecords> overrides) {
    const detail::PrefabServiceScope<"loadGameObject"> scope;
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
    const detail::PrefabServiceScope<"loadGameObject"> scope;
    if (!EntryPoint::instance().isWorldValid(worldId)) {
        return;
    }
    // Take the queue's lock first, as tick does, so that the two locks have one order. queueLoader takes it again under
    // the cache's lock.
    const detail::QueueLock queueLock(m_loadingQueueMutex);
    const detail::CacheLock lock(m_cacheMutex);
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
    const detail::QueueLock lock(m_loadingQueueMutex);
    m_loadingQueue.push_back(std::move(loader));
}

} // namespace Kiln::Tessel
