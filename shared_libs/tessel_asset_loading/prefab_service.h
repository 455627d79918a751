#pragma once

#include <object_framework/service.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/prefab_service_records.h>

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

namespace detail {
class PrefabCache;
}

/// The framework service that owns every loaded prefab of the process: a cache of documents by path, background
/// loading, and the queue of game objects that wait for their prefab. Most callers use the functions of Loading.
///
/// Paths are used exactly as passed: no normalisation, no lower-casing.
///
/// Owner: EntryPoint. Threads: the main thread, except where an operation says "any thread". Locks: the loading-queue
/// mutex, recursive and held through a whole tick, and the cache mutex, held through a whole parse. The main thread
/// takes the queue's mutex before the cache's; workers take the cache mutex alone.
/// Failure: a prefab that can't be loaded leaves a null document, which the parser reports; loaders that wait for it
/// keep waiting. When an allocation fails, an operation throws std::bad_alloc and leaves everything as it was; tick
/// tries again in the next frame.
class KILN_TESSEL_ASSET_LOADING_EXPORT PrefabService final : public IService {
public:
    PrefabService();
    ~PrefabService() override;

    void init() override;

    /// Empties the cache.
    void fini() override;

    /// Creates the objects of every loader whose prefab has been parsed, answers descriptor requests, and calls
    /// onObjectLoaded of the callbacks. There is no time budget: everything that is ready is done in this frame.
    ///
    /// An exception that a component or the creation listener throws fails the creation, and is logged once for each
    /// loader. The first exception of an onPreactivate leaves tick at its end; other callbacks' leave it at once.
    void tick() override;

    /// Calls onObjectLoadedIntoHierarchy of the callbacks and releases them.
    void postTick() override;

    /// Drops the cache entries that only this world was waiting for. Its loaders stay in the queue.
    void onWorldDestroyed(int worldId) override;

    /// The cached document of a path, parsed now unless it is cached; null when it can't be loaded, and the next call
    /// tries again. It belongs to the cache, which keeps it until it is cleared. Any thread; one parse at a time.
    GameObjectPrefab* loadPrefabData(const std::string& path);

    /// Like loadPrefabData, but for callers that use the document while others may clear the cache: returns the cache
    /// entry, which is never null and keeps its document alive. Does not claim the entry.
    SmartPointer<DescriptorCacheData> loadSharedPrefab(const std::string& path);

    /// Puts a document into the cache; if the path already has an entry, the entry is kept and the document is
    /// destroyed.
    void cachePrefabData(const std::string& path, std::unique_ptr<GameObjectPrefab> prefab);

    /// Loads a path and its nested prefabs into the cache; if `backgroundLoad` is set, also runs
    /// GameObjectPrefab::backgroundLoad on each. Any thread.
    void cachePrefabData(const std::string& path, bool backgroundLoad);

    /// @{
    /// Empties the cache, or removes single paths from it. Loads that are in progress keep the documents that they use.
    void clearCache();
    void clearCached(const std::string& path);
    void clearCached(const std::vector<std::string>& paths);
    /// @}

    // For code that loads documents itself and shares them with the service. None of these operations parses. Any
    // thread.
    //
    // loadPrefabData, cachePrefabData and loadGameObject by path claim the entry that they find or make, since their
    // callers rely on its document until the cache is cleared. Such an entry is neither dropped nor destroyed by the
    // operations below, and none of these claims an entry.

    /// The cache entry of a path; null when it has none. Does not wait for a parse that is in progress.
    [[nodiscard]] SmartPointer<DescriptorCacheData> findSharedPrefab(const std::string& path);
    /// Puts a document into the cache. Unlike cachePrefabData, it also fills an entry without a document, so that the
    /// loaders that wait for the entry are served in the next tick. If the entry has a document, that one stays and the
    /// new one is destroyed. Returns the path's entry and whether it is new. Waits for the cache mutex, and so for a
    /// parse that is in progress. A null document and an empty path are refused: the result is then null and false.
    std::pair<SmartPointer<DescriptorCacheData>, bool> sharePrefabData(const std::string& path,
                                                                       std::unique_ptr<GameObjectPrefab> prefab);
    /// Makes `entry` the cache entry of a path. Those who hold the previous entry keep it: a loader that waits for an
    /// entry without a document continues to wait for it. The service itself keeps a claimed entry that is replaced
    /// until the cache or its path is cleared. Does not wait for a parse that is in progress. Null is ignored.
    void replaceSharedPrefab(const std::string& path, SmartPointer<DescriptorCacheData> entry);
    /// Drops the cache entry of a path if it is `entry` and is not claimed, and returns whether it did. Does not wait
    /// for a parse that is in progress.
    bool dropSharedPrefab(const std::string& path, const DescriptorCacheData& entry);

    /// Queues a request for a document, answered by tick. If the path is not in the cache, a background load is
    /// started; it fills the cache entry but not the request, which therefore stays queued.
    void loadDescriptor(const std::string& path, const std::function<void(GameObjectPrefab*)>& callback,
                        bool backgroundLoad);

    /// Queues the creation of a prefab's objects in a world and has the section parsed in the background; nobody may
    /// change the section until then. Ignores a null section.
    void loadGameObject(const SmartPointer<DataSection>& section, int worldId, const Uuid& uuid,
                        const SmartPointer<IObjectLoadedCallback>& callback, SmartPointer<OverrideRecords> overrides);

    /// Queues the creation of a prefab's objects in a world; a path without a cache entry is parsed in the background.
    /// Ignores an invalid world.
    void loadGameObject(const std::string& path, int worldId, const Uuid& uuid,
                        const SmartPointer<IObjectLoadedCallback>& callback, SmartPointer<OverrideRecords> overrides);

    /// The loaders that wait for their prefab.
    [[nodiscard]] const std::vector<GameObjectLoader>& loadingQueue() const { return m_loadingQueue; }

    /// Number of requests that loadDescriptor has queued and tick has not answered.
    [[nodiscard]] std::size_t descriptorRequestsCount() const { return m_descriptorRequests.size(); }

private:
    [[nodiscard]] SmartPointer<DescriptorCacheData> loadEntry(const std::string& path, bool isClaiming);
    void cachePrefabDataInternal(const std::string& path, bool backgroundLoad, int depth);

    [[nodiscard]] std::exception_ptr createLoadedObjects();
    void answerDescriptorRequests();
    void notifyLoaded();

    std::recursive_mutex m_loadingQueueMutex; ///< Guards the queue and the loaded objects.
    std::vector<GameObjectLoader> m_loadingQueue;
    std::vector<DescriptorRequest> m_descriptorRequests; ///< Main thread.
    std::unique_ptr<detail::PrefabCache> m_prefabCache;

    /// Objects created by the current tick, for their callbacks.
    std::vector<std::pair<SmartPointer<IObjectLoadedCallback>, GameObject>> m_loadedObjects;

    bool m_isTicking = false; ///< In tick or postTick. Main thread.

    std::mutex m_cacheMutex; ///< Makes finding, parsing and storing a cached document one step.
};

} // namespace Kiln::Tessel
