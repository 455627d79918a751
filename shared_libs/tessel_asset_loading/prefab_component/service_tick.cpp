#include <tessel_asset_loading/prefab_service.h>

#include <core/non_copyable.h>
#include <core/stack_tracker.h>
#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <object_serialization/component_library.h>
#include <tessel_asset_loading/detail/object_map.h>
#include <tessel_asset_loading/detail/prefab_cache.h>
#include <tessel_asset_loading/detail/reporting.h>
#include <tessel_asset_loading/detail/service_locks.h>
#include <tessel_asset_loading/prefab_component.h>

#include <utility>

namespace Kiln::Tessel {

namespace {

/// Marks the run of a tick or postTick, even one that an exception ends.
class TickingScope : NonCopyable {
public:
    explicit TickingScope(bool& isTicking) : m_isTicking(isTicking) { m_isTicking = true; }
    ~TickingScope() { m_isTicking = false; }

private:
    bool& m_isTicking;
};

/// Takes an element out in constant time: the last one takes its place.
template <class Element>
void removeBySwap(std::vector<Element>& elements, std::size_t place) {
    if (place + 1 != elements.size()) {
        elements[place] = std::move(elements.back());
    }
    elements.pop_back();
}

/// Lets the listener, if there is one that wants to, process the new instance.
[[nodiscard]] bool isAcceptedBy(ICreationListener* listener, const GameObjectPrefab& prefab,
                                GameObjectPrefab::CreateConfig& config) {
    return !listener || !listener->acceptsPrefab(prefab) ||
           listener->processInstance(config.worldId, {config.instanceUuid, std::move(config.uuidMap)});
}

void stampRoot(GameObjectManager& manager, GameObject root, const Uuid& instanceUuid) {
    if (auto* const component = manager.findComponent<PrefabComponent>(root)) {
        component->setInstanceUuid(instanceUuid);
    } else {
        Report::warning("Root GO [%s], is missing PrefabComponent", manager.getGameObjectName(root).c_str());
    }
}

/// Two cheap checks, since every waiting loader comes here in every tick.
[[nodiscard]] bool isReady(const GameObjectLoader& loader) {
    return loader.descriptor->prefab && EntryPoint::instance().isWorldValid(loader.worldId);
}

/// Activates the root when the callback agrees. The callback may do anything, even destroy the root's world; when it
/// throws, the root is removed, as the loader stays queued and makes another one.
void offerActivation(IObjectLoadedCallback& callback, GameObject root, GameObjectManager& manager) {
    try {
        if (!callback.onPreactivate(root, manager)) {
            return;
        }
    } catch (...) {
        removeGameObject(root);
        throw;
    }
    if (GameObjectManager* const remaining = getGameObjectManager(root)) {
        remaining->activateGameObject(root);
    }
}

} // namespace

void PrefabService::tick() {
    const StackTrackerScope tracker("Kiln::Tessel::PrefabService::tick", Report::PREFAB_COMPONENT_SOURCE, __LINE__);
    const QueueLock lock(m_loadingQueueMutex);
    if (m_isTicking) {
        return; // A callback runs a frame of its own, in the middle of the list that this works on.
    }
    const TickingScope scope(m_isTicking);
    createLoadedObjects();
    answerDescriptorRequests();
    notifyLoaded();
}

void PrefabService::createLoadedObjects() {
    // Backwards: the loader that moves into a freed place has been visited, or was queued by a callback meanwhile.
    for (std::size_t place = m_loadingQueue.size(); place-- > 0;) {
        if (!isReady(m_loadingQueue[place])) {
            continue;
        }
        const GameObjectLoader loader = m_loadingQueue[place]; // A callback may reallocate the queue.
        const GameObject root = createFromLoader(loader);
        if (root.isInvalid()) {
            continue;
        }
        if (loader.callback) {
            m_loadedObjects.emplace_back(loader.callback, root);
        }
        removeBySwap(m_loadingQueue, place);
    }
}

void PrefabService::answerDescriptorRequests() {
    for (std::size_t place = m_descriptorRequests.size(); place-- > 0;) {
        if (GameObjectPrefab* const prefab = m_descriptorRequests[place].descriptor->prefab.get()) {
            const DescriptorRequest request = m_descriptorRequests[place]; // As above.
            request.callback(prefab);
            removeBySwap(m_descriptorRequests, place);
        }
    }
}

void PrefabService::notifyLoaded() {
    for (std::size_t place = 0; place < m_loadedObjects.size(); ++place) {
        const auto [callback, root] = m_loadedObjects[place];
        if (GameObjectManager* const manager = getGameObjectManager(root.getWorldId())) {
            callback->onObjectLoaded(root, *manager);
        }
    }
}

GameObject PrefabService::createFromLoader(const GameObjectLoader& loader) {
    const GameObjectPrefab* const prefab = loader.descriptor->prefab.get();
    if (prefab->isEmpty()) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    // The one of now, whatever the components that are created do.
    ICreationListener* const listener = EntryPoint::instance().getService<ComponentLibrary>()->creationListener();
    GameObjectPrefab::CreateConfig config{loader.worldId, loader.uuid, loader.overrides,
                                          std::unordered_map<Uuid, GameObject>(8)};
    const MapDisposal disposal(config.uuidMap);
    const GameObject root = prefab->createGameObjects(config).front();
    if (root.isInvalid()) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    if (!isAcceptedBy(listener, *prefab, config)) {
        removeGameObject(root);
        return GameObject::INVALID_GAME_OBJECT;
    }
    GameObjectManager* const manager = getGameObjectManager(loader.worldId);
    if (!manager) { // The listener destroyed the world.
        return GameObject::INVALID_GAME_OBJECT;
    }
    stampRoot(*manager, root, loader.uuid);
    const SmartPointer<GameObjectDescriptor> firstNode = prefab->getGameObject(0);
    if (!firstNode) {
        removeGameObject(root);
        return GameObject::INVALID_GAME_OBJECT;
    }
    if (loader.callback && manager->isGameObjectValid(root) && !firstNode->isInactiveByDefault()) {
        offerActivation(*loader.callback, root, *manager);
    }
    return root;
}

void PrefabService::postTick() {
    const StackTrackerScope tracker("Kiln::Tessel::PrefabService::postTick", Report::PREFAB_COMPONENT_SOURCE, __LINE__);
    if (m_isTicking) {
        return;
    }
    const TickingScope scope(m_isTicking);
    for (std::size_t place = 0; place < m_loadedObjects.size(); ++place) {
        const auto [callback, root] = m_loadedObjects[place];
        if (GameObjectManager* const manager = getGameObjectManager(root)) {
            callback->onObjectLoadedIntoHierarchy(root, *manager);
        }
    }
    m_loadedObjects.clear();
}

} // namespace Kiln::Tessel
