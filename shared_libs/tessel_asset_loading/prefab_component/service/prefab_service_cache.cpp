#include <tessel_asset_loading/prefab_service.h>

#include <tessel_asset_loading/game_object_prefab/walk_ahead.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>
#include <tessel_asset_loading/prefab_component/service/service_locks.h>
#include <tessel_asset_loading/reporting/messages.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <memory>
#include <utility>

namespace Kiln::Tessel {

DescriptorCacheData::DescriptorCacheData() : pendingWorlds(8) {}
DescriptorCacheData::~DescriptorCacheData() = default;

PrefabService::PrefabService() : m_prefabCache(std::make_unique<detail::PrefabCache>()) {}
PrefabService::~PrefabService() = default;

void PrefabService::init() {
    prefab_component();
}

void PrefabService::fini() {
    const detail::PrefabServiceScope<"fini"> scope;
    m_prefabCache->clear();
}

GameObjectPrefab* PrefabService::loadPrefabData(const std::string& path) {
    return loadEntry(path, true)->prefab.get();
}

SmartPointer<DescriptorCacheData> PrefabService::loadSharedPrefab(const std::string& path) {
    return loadEntry(path, false);
}

SmartPointer<DescriptorCacheData> PrefabService::loadEntry(const std::string& path, bool isClaiming) {
    const detail::PrefabServiceScope<"loadPrefabData"> scope;
    const detail::CacheLock lock(m_cacheMutex);
    const auto purpose = isClaiming ? detail::PrefabCache::Purpose::CLAIM : detail::PrefabCache::Purpose::SHARE;
    SmartPointer<DescriptorCacheData> entry = m_prefabCache->find(path, purpose);
    if (!entry) {
        entry = m_prefabCache->insert(path, makeSmart<DescriptorCacheData>(), purpose).first;
    }
    if (entry->prefab) {
        return entry;
    }
    try {
        // A failure publishes nothing: a task for the empty path may have filled the entry in the meantime, without the
        // lock.
        if (std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy(path, nullptr)) {
            entry->prefab.publish(std::move(prefab));
        }
    } catch (...) {
        entry->isLoadAborted = true;
        throw;
    }
    return entry;
}

void PrefabService::cachePrefabData(const std::string& path, std::unique_ptr<GameObjectPrefab> prefab) {
    const detail::PrefabServiceScope<"cachePrefabData"> scope;
    const detail::CacheLock lock(m_cacheMutex);
    const SmartPointer<DescriptorCacheData> entry = makeSmart<DescriptorCacheData>();
    entry->prefab.publish(std::move(prefab));
    m_prefabCache->insert(path, entry, detail::PrefabCache::Purpose::CLAIM);
}

void PrefabService::cachePrefabData(const std::string& path, bool backgroundLoad) {
    const detail::PrefabServiceScope<"cachePrefabData"> scope;
    cachePrefabDataInternal(path, backgroundLoad, 0);
}

void PrefabService::cachePrefabDataInternal(const std::string& path, bool backgroundLoad, int depth) {
    const detail::PrefabServiceScope<"cachePrefabDataInternal"> scope;
    if (depth > GameObjectPrefab::MAX_NESTING_DEPTH) {
        detail::Report::nestingTooDeep();
        return;
    }
    detail::WalkAhead walk(path);
    const SmartPointer<DescriptorCacheData> entry = loadEntry(path, true);
    const GameObjectPrefab* const prefab = entry->prefab.get();
    if (!prefab) {
        return;
    }
    for (std::size_t i = 0; i < prefab->nodesCount() && !walk.isStopping(); ++i) {
        const SmartPointer<GameObjectDescriptor> node = prefab->getGameObject(i);
        const auto* const component = node ? findPrefabDescriptor(*node) : nullptr;
        if (!component) {
            continue;
        }
        // The root of a prefab that was loaded by path names that path, so this visits the prefab itself again.
        const std::string& resource = component->prefabProperties().resource;
        if (depth == GameObjectPrefab::MAX_NESTING_DEPTH ||
            walk.enter(detail::WalkAhead::Purpose::CACHING, resource, depth + 1, i == 0 && prefab->isRootNode(i))) {
            cachePrefabDataInternal(resource, backgroundLoad, depth + 1);
        }
    }
    if (backgroundLoad) {
        prefab->backgroundLoad(0);
    }
}

void PrefabService::clearCache() {
    const detail::PrefabServiceScope<"clearCache"> scope;
    const detail::CacheLock lock(m_cacheMutex);
    m_prefabCache->clear();
}

void PrefabService::clearCached(const std::string& path) {
    const detail::PrefabServiceScope<"clearCached"> scope;
    const detail::CacheLock lock(m_cacheMutex);
    m_prefabCache->erase(path);
}

void PrefabService::clearCached(const std::vector<std::string>& paths) {
    const detail::PrefabServiceScope<"clearCached"> scope;
    const detail::CacheLock lock(m_cacheMutex);
    for (const std::string& path : paths) {
        m_prefabCache->erase(path);
    }
}

SmartPointer<DescriptorCacheData> PrefabService::findSharedPrefab(const std::string& path) {
    const detail::PrefabServiceScope<"findSharedPrefab"> scope;
    return m_prefabCache->find(path);
}

std::pair<SmartPointer<DescriptorCacheData>, bool>
PrefabService::sharePrefabData(const std::string& path, std::unique_ptr<GameObjectPrefab> prefab) {
    const detail::PrefabServiceScope<"sharePrefabData"> scope;
    // A task for the empty path publishes without the lock, and would destroy the document while it is in use.
    if (!prefab || path.empty()) {
        return {nullptr, false};
    }
    SmartPointer<DescriptorCacheData> newEntry = makeSmart<DescriptorCacheData>();
    const detail::CacheLock lock(m_cacheMutex);
    const auto [entry, isNew] = m_prefabCache->insert(path, std::move(newEntry));
    if (!entry->prefab) {
        entry->prefab.publish(std::move(prefab));
    }
    return {entry, isNew};
}

void PrefabService::replaceSharedPrefab(const std::string& path, SmartPointer<DescriptorCacheData> entry) {
    const detail::PrefabServiceScope<"replaceSharedPrefab"> scope;
    if (entry) {
        m_prefabCache->replace(path, std::move(entry));
    }
}

bool PrefabService::dropSharedPrefab(const std::string& path, const DescriptorCacheData& entry) {
    const detail::PrefabServiceScope<"dropSharedPrefab"> scope;
    return m_prefabCache->erase(path, entry);
}

void PrefabService::onWorldDestroyed(int worldId) {
    const detail::PrefabServiceScope<"onWorldDestroyed"> scope;
    std::vector<std::string> abandoned;
    for (const auto& [path, entry] : m_prefabCache->entries()) {
        if (entry->pendingWorlds.size() == 1 && entry->pendingWorlds.contains(worldId)) {
            abandoned.push_back(path);
        }
    }
    clearCached(abandoned);
}

} // namespace Kiln::Tessel
