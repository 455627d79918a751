#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/safe_reference_count.h>
#include <core/smart_pointer.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/object_loaded_callback.h>

#include <atomic>
#include <functional>
#include <memory>
#include <unordered_set>

namespace Kiln::Tessel {

/// Owns a document that one thread publishes to others.
///
/// publish() is a release and get() an acquire: a thread that sees the pointer sees the whole document. One publisher
/// at a time. A published document lives until this is destroyed or another one is published.
class PublishedPrefab : NonCopyable {
public:
    PublishedPrefab() = default;
    ~PublishedPrefab() { delete get(); }

    /// Null while there is none.
    [[nodiscard]] GameObjectPrefab* get() const noexcept { return m_prefab.load(std::memory_order_acquire); }
    /// @{
    /// Access to the document, and whether there is one.
    GameObjectPrefab* operator->() const noexcept { return get(); }
    explicit operator bool() const noexcept { return get() != nullptr; }
    /// @}

    /// Takes ownership of a document (null for none) and destroys the previous one.
    void publish(std::unique_ptr<GameObjectPrefab> prefab) noexcept {
        delete m_prefab.exchange(prefab.release(), std::memory_order_acq_rel);
    }

private:
    std::atomic<GameObjectPrefab*> m_prefab{nullptr};
};

/// One prefab load, shared by the cache, background tasks, waiting loaders and descriptor requests.
struct KILN_TESSEL_ASSET_LOADING_EXPORT DescriptorCacheData final : public SafeReferenceCount {
    DescriptorCacheData();
    ~DescriptorCacheData() override;

    PublishedPrefab prefab; ///< Null while the load is pending and after it failed.

    /// Whether an exception, such as a failed allocation, has ended the last load; the next request by path starts
    /// another one. A relaxed hint: the document itself is in `prefab`.
    std::atomic<bool> isLoadAborted{false};

    /// Whether the service itself has handed this entry out: it stays until the cache is cleared. Relaxed: the lock of
    /// the cache's map orders the marking of an entry before its pointer is handed out against dropping it.
    std::atomic<bool> isClaimed{false};

    /// Worlds that asked for this entry while its load was pending. Main thread.
    std::unordered_set<int> pendingWorlds;
};

/// A game object that waits for its prefab.
struct GameObjectLoader {
    SmartPointer<IObjectLoadedCallback> callback; ///< May be null.
    SmartPointer<DescriptorCacheData> descriptor; ///< Receives the document.
    int worldId;                                  ///< The world that gets the object.
    Uuid uuid;                                    ///< Instance UUID of the hierarchy.
    SmartPointer<OverrideRecords> overrides;      ///< May be null.
    bool isExceptionReported = false;             ///< Whether tick has logged an exception of the creation.
};

/// A caller that waits for a document.
struct DescriptorRequest {
    SmartPointer<DescriptorCacheData> descriptor;    ///< Receives the document.
    std::function<void(GameObjectPrefab*)> callback; ///< Receives the document once it is there.
};

} // namespace Kiln::Tessel
