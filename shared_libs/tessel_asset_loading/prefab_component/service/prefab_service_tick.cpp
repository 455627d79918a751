#include <tessel_asset_loading/prefab_service.h>

#include <core/non_copyable.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <object_serialization/component_library.h>
#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_component/service/prefab_cache.h>
#include <tessel_asset_loading/prefab_component/service/service_locks.h>
#include <tessel_asset_loading/reporting/messages.h>
#include <tessel_asset_loading/reporting/stack_trail.h>

#include <utility>

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

/// Removes an element in constant time: the last element moves to its index.
template <class Element>
void removeBySwap(std::vector<Element>& elements, std::size_t index) {
    if (index + 1 != elements.size()) {
        elements[index] = std::move(elements.back());
    }
    elements.pop_back();
}

/// Passes the new instance to the listener if it accepts the prefab. Returns false if the listener refuses the
/// instance.
[[nodiscard]] bool offerTo(ICreationListener* listener, const GameObjectPrefab& prefab,
                           GameObjectPrefab::CreateConfig& config) {
    return !listener || !listener->acceptsPrefab(prefab) ||
           listener->processInstance(config.worldId, {config.instanceUuid, std::move(config.uuidMap)});
}

void stampRoot(GameObjectManager& manager, GameObject root, const Uuid& instanceUuid) {
    if (auto* const component = manager.findComponent<PrefabComponent>(root)) {
        component->setInstanceUuid(instanceUuid);
    } else {
        detail::Report::warning("Root GO [%s], is missing PrefabComponent", manager.getGameObjectName(root).c_str());
    }
}

/// Removes a new root at the end of its scope unless it is released: the loader of an instance that is refused, or for
/// which a callback throws, stays queued and makes another one.
class RootGuard : NonCopyable {
public:
    explicit RootGuard(GameObject root) : m_root(root) {}
    ~RootGuard() {
        try {
            removeGameObject(m_root);
        } catch (...) { // NOLINT(bugprone-empty-catch): nothing is left to be done about a component that throws now.
        }
    }

    void release() { m_root = GameObject::INVALID_GAME_OBJECT; }

private:
    GameObject m_root;
};

/// Creates the instance of a loader and offers it to the creation listener. Returns the root, or the invalid object
/// when the creation failed or the listener refused the instance.
[[nodiscard]] GameObject createInstance(const GameObjectPrefab& prefab, const GameObjectLoader& loader) {
    // Read the listener first: components may replace it during the creation.
    ICreationListener* const listener = EntryPoint::instance().getService<ComponentLibrary>()->creationListener();
    GameObjectPrefab::CreateConfig config{loader.worldId, loader.uuid, loader.overrides,
                                          std::unordered_map<Uuid, GameObject>(8)};
    const detail::UuidMapDisposal disposal(config.uuidMap);
    const GameObject root = prefab.createGameObjects(config).front();
    RootGuard guard(root);
    if (root.isInvalid() || !offerTo(listener, prefab, config)) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    guard.release();
    return root;
}

/// Every waiting loader is checked in every tick, so the check is cheap.
[[nodiscard]] bool isReady(const GameObjectLoader& loader) {
    return loader.descriptor->prefab && EntryPoint::instance().isWorldValid(loader.worldId);
}

/// Activates the root when the callback agrees. The callback may do anything, even destroy the root's world.
void offerActivation(IObjectLoadedCallback& callback, GameObject root, GameObjectManager& manager) {
    if (!callback.onPreactivate(root, manager)) {
        return;
    }
    if (GameObjectManager* const remaining = getGameObjectManager(root)) {
        remaining->activateGameObject(root);
    }
}

} // namespace

void PrefabService::tick() {
    const detail::PrefabServiceScope<"tick"> scope;
    const detail::QueueLock lock(m_loadingQueueMutex);
    if (m_isTicking) {
        return; // A callback runs a frame of its own while this frame works on the same lists.
    }
    const TickingScope tickingScope(m_isTicking);
    createLoadedObjects();
    answerDescriptorRequests();
    notifyLoaded();
}

void PrefabService::createLoadedObjects() {
    // Backwards: the loader that is moved to the freed index has already been visited, or a callback has just queued
    // it.
    for (std::size_t index = m_loadingQueue.size(); index-- > 0;) {
        if (!isReady(m_loadingQueue[index])) {
            continue;
        }
        const GameObjectLoader loader = m_loadingQueue[index]; // A copy: a callback may reallocate the queue.
        const GameObject root = createFromLoader(loader);
        if (root.isInvalid()) {
            continue;
        }
        if (loader.callback) {
            m_loadedObjects.emplace_back(loader.callback, root);
        }
        removeBySwap(m_loadingQueue, index);
    }
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

GameObject PrefabService::createFromLoader(const GameObjectLoader& loader) {
    const GameObjectPrefab& prefab = *loader.descriptor->prefab.get();
    const GameObject root = prefab.isEmpty() ? GameObject::INVALID_GAME_OBJECT : createInstance(prefab, loader);
    GameObjectManager* const manager = root.isInvalid() ? nullptr : getGameObjectManager(loader.worldId);
    if (!manager) { // Nothing was created, or the listener destroyed the world.
        return GameObject::INVALID_GAME_OBJECT;
    }
    RootGuard guard(root);
    stampRoot(*manager, root, loader.uuid);
    const SmartPointer<GameObjectDescriptor> firstNode = prefab.getGameObject(0);
    if (!firstNode) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    if (loader.callback && manager->isGameObjectValid(root) && !firstNode->isInactiveByDefault()) {
        offerActivation(*loader.callback, root, *manager);
    }
    guard.release();
    return root;
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
