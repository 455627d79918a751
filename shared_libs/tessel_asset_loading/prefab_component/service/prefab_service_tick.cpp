#include <tessel_asset_loading/prefab_service.h>

#include <core/non_copyable.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/prefab_component/service/loader_creation.h>
#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>
#include <tessel_asset_loading/prefab_component/service/room_for_one.h>
#include <tessel_asset_loading/prefab_component/service/service_locks.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <exception>
#include <new>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

namespace {

/// Sets the flag while tick or postTick runs; also clears it when an exception is thrown.
class TickingScope : NonCopyable {
public:
    explicit TickingScope(bool& isTicking) : m_isTicking(isTicking) { m_isTicking = true; }
    ~TickingScope() { m_isTicking = false; }

private:
    bool& m_isTicking;
};

/// Returns false if there is no memory; the loader then waits for the next tick.
template <class Element>
[[nodiscard]] bool tryMakeRoom(std::vector<Element>& elements) noexcept {
    try {
        detail::makeRoomForOne(elements);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Removes an element in constant time: the last element moves to its index.
template <class Element>
void removeBySwap(std::vector<Element>& elements, std::size_t index) {
    if (index + 1 != elements.size()) {
        elements[index] = std::move(elements.back());
    }
    elements.pop_back();
}

} // namespace

void PrefabService::tick() {
    const detail::PrefabServiceScope<"tick"> scope;
    const detail::QueueLock lock(m_loadingQueueMutex);
    if (m_isTicking) {
        return; // A callback runs a frame of its own while this frame works on the same lists.
    }
    const TickingScope tickingScope(m_isTicking);
    const std::exception_ptr callbackException = createLoadedObjects();
    answerDescriptorRequests();
    notifyLoaded();
    if (callbackException) {
        std::rethrow_exception(callbackException);
    }
}

/// Returns the first exception of a callback, for the caller of tick; null if there was none.
std::exception_ptr PrefabService::createLoadedObjects() {
    std::exception_ptr callbackException;
    // Backwards: the loader that is moved to the freed index has already been visited, or a callback has just queued
    // it.
    for (std::size_t index = m_loadingQueue.size(); index-- > 0;) {
        if (!detail::LoaderCreation::isReady(m_loadingQueue[index]) || !tryMakeRoom(m_loadedObjects)) {
            continue;
        }
        const GameObjectLoader loader = m_loadingQueue[index]; // A copy: a callback may reallocate the queue.
        detail::LoaderCreation creation(loader);
        const GameObject root = creation.run();
        if (creation.exception() && !std::exchange(m_loadingQueue[index].isExceptionReported, true)) {
            creation.reportException();
        }
        if (!callbackException) {
            callbackException = creation.callbackException();
        }
        if (root.isInvalid()) {
            continue;
        }
        if (loader.callback) {
            m_loadedObjects.emplace_back(loader.callback, root);
        }
        removeBySwap(m_loadingQueue, index);
    }
    return callbackException;
}

void PrefabService::answerDescriptorRequests() {
    for (std::size_t index = m_descriptorRequests.size(); index-- > 0;) {
        if (GameObjectPrefab* const prefab = m_descriptorRequests[index].descriptor->prefab.get()) {
            const DescriptorRequest request = m_descriptorRequests[index]; // A copy, for the same reason.
            request.callback(prefab);
            removeBySwap(m_descriptorRequests, index);
        }
    }
}

void PrefabService::notifyLoaded() {
    for (std::size_t index = 0; index < m_loadedObjects.size(); ++index) {
        const auto [callback, root] = m_loadedObjects[index];
        if (GameObjectManager* const manager = getGameObjectManager(root.getWorldId())) {
            callback->onObjectLoaded(root, *manager);
        }
    }
}

void PrefabService::postTick() {
    const detail::PrefabServiceScope<"postTick"> scope;
    if (m_isTicking) {
        return;
    }
    const TickingScope tickingScope(m_isTicking);
    for (std::size_t index = 0; index < m_loadedObjects.size(); ++index) {
        const auto [callback, root] = m_loadedObjects[index];
        if (GameObjectManager* const manager = getGameObjectManager(root)) {
            callback->onObjectLoadedIntoHierarchy(root, *manager);
        }
    }
    m_loadedObjects.clear();
}

} // namespace Kiln::Tessel
