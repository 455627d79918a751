#include <tessel_asset_loading/prefab_service.h>

#include <core/non_copyable.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>
#include <tessel_asset_loading/prefab_component/service/prefab_load_task.h>
#include <tessel_asset_loading/prefab_component/service/room_for_one.h>
#include <tessel_asset_loading/prefab_component/service/service_locks.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <utility>

namespace Kiln::Tessel {

namespace {

/// Brackets the start of a load. Unless it is released, the next request of the path starts one again: a new entry is
/// removed from the cache, and another one keeps its mark.
class LoadStart : NonCopyable {
public:
    LoadStart(detail::PrefabCache& cache, const std::string& path, DescriptorCacheData& entry, bool isNew)
        : m_cache(cache), m_path(path), m_entry(entry), m_isNew(isNew) {}
    ~LoadStart() {
        if (m_isReleased) {
            return;
        }
        m_entry.isLoadAborted = true;
        if (m_isNew) {
            m_cache.erase(m_path, m_entry);
        }
    }

    void release() { m_isReleased = true; }

private:
    detail::PrefabCache& m_cache;
    const std::string& m_path;
    DescriptorCacheData& m_entry;
    bool m_isNew;
    bool m_isReleased = false;
};

} // namespace

// In each of these functions, the task is submitted by the last operation that can fail.

void PrefabService::loadDescriptor(const std::string& path, const std::function<void(GameObjectPrefab*)>& callback,
                                   bool backgroundLoad) {
    const detail::PrefabServiceScope<"loadDescriptor"> scope;
    DescriptorRequest request{makeSmart<DescriptorCacheData>(), callback};
    detail::makeRoomForOne(m_descriptorRequests);
    if (!m_prefabCache->find(path)) {
        PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(path, request.descriptor, backgroundLoad));
    }
    m_descriptorRequests.push_back(std::move(request));
}

void PrefabService::loadGameObject(const SmartPointer<DataSection>& section, int worldId, const Uuid& uuid,
                                   const SmartPointer<IObjectLoadedCallback>& callback,
                                   SmartPointer<OverrideRecords> overrides) {
    const detail::PrefabServiceScope<"loadGameObject"> scope;
    if (!section) {
        return;
    }
    const detail::QueueLock lock(m_loadingQueueMutex);
    detail::makeRoomForOne(m_loadingQueue);
    const SmartPointer<DescriptorCacheData> descriptor = makeSmart<DescriptorCacheData>();
    PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(section, descriptor, true));
    m_loadingQueue.push_back({callback, descriptor, worldId, uuid, std::move(overrides)});
}

void PrefabService::loadGameObject(const std::string& path, int worldId, const Uuid& uuid,
                                   const SmartPointer<IObjectLoadedCallback>& callback,
                                   SmartPointer<OverrideRecords> overrides) {
    const detail::PrefabServiceScope<"loadGameObject"> scope;
    if (!EntryPoint::instance().isWorldValid(worldId)) {
        return;
    }
    // Take the queue's lock first, as tick does, so that the two locks have one order.
    const detail::QueueLock queueLock(m_loadingQueueMutex);
    const detail::CacheLock lock(m_cacheMutex);
    detail::makeRoomForOne(m_loadingQueue);
    const auto [entry, isNew] = m_prefabCache->insert(path, makeSmart<DescriptorCacheData>());
    if (isNew || (!entry->prefab && entry->isLoadAborted.exchange(false))) {
        LoadStart guard(*m_prefabCache, path, *entry, isNew);
        entry->pendingWorlds.insert(worldId);
        PrefabLoadTask::submit(makeSmart<PrefabLoadTask>(path, entry, true));
        guard.release();
    } else if (!entry->pendingWorlds.empty()) {
        entry->pendingWorlds.insert(worldId);
    }
    entry->isClaimed.store(true, std::memory_order_relaxed);
    m_loadingQueue.push_back({callback, entry, worldId, uuid, std::move(overrides)});
}

} // namespace Kiln::Tessel
