#include <tessel_asset_loading/prefab_component/service/loader_creation.h>

#include <object_framework/entry_point.h>
#include <object_serialization/component_library.h>
#include <tessel_asset_loading/game_object_prefab/document_name.h>
#include <tessel_asset_loading/game_object_prefab/instance_creation.h>
#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>
#include <tessel_asset_loading/prefab_component/service/root_finishing.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <utility>

namespace Kiln::Tessel::detail {

namespace {

/// Removes a new root at the end of its scope unless it is released: the loader of an instance that is refused, or for
/// which an exception is thrown, stays queued and makes another one.
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

} // namespace

bool LoaderCreation::isReady(const GameObjectLoader& loader) {
    return loader.descriptor->prefab && EntryPoint::instance().isWorldValid(loader.worldId);
}

GameObject LoaderCreation::run() noexcept {
    try {
        return create();
    } catch (...) {
        if (!m_callbackException) {
            m_exception = std::current_exception();
        }
        return GameObject::INVALID_GAME_OBJECT;
    }
}

GameObject LoaderCreation::create() {
    const GameObjectPrefab& prefab = *m_loader.descriptor->prefab.get();
    const GameObject root = prefab.isEmpty() ? GameObject::INVALID_GAME_OBJECT : createInstance();
    GameObjectManager* const manager = root.isInvalid() ? nullptr : getGameObjectManager(m_loader.worldId);
    if (!manager) { // Nothing was created, or the listener destroyed the world.
        return GameObject::INVALID_GAME_OBJECT;
    }
    RootGuard guard(root);
    m_step = "activation";
    stampRoot(*manager, root, m_loader.uuid);
    const SmartPointer<GameObjectDescriptor> firstNode = prefab.getGameObject(0);
    if (!firstNode) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    if (m_loader.callback && manager->isGameObjectValid(root) && !firstNode->isInactiveByDefault()) {
        offerActivation(root, *manager);
    }
    guard.release();
    return root;
}

/// Creates the instance and offers it to the creation listener. Returns the root, or the invalid object when the
/// creation failed or the listener refused the instance.
GameObject LoaderCreation::createInstance() {
    // Read the listener first: components may replace it during the creation.
    ICreationListener* const listener = EntryPoint::instance().getService<ComponentLibrary>()->creationListener();
    GameObjectPrefab::CreateConfig config{m_loader.worldId, m_loader.uuid, m_loader.overrides,
                                          std::unordered_map<Uuid, GameObject>(8)};
    const UuidMapDisposal disposal(config.uuidMap);
    const GameObject root = createObjects(config);
    RootGuard guard(root);
    m_step = "creation listener";
    if (root.isInvalid() || !offerToListener(listener, *m_loader.descriptor->prefab.get(), config.worldId,
                                             config.instanceUuid, std::move(config.uuidMap))) {
        return GameObject::INVALID_GAME_OBJECT;
    }
    guard.release();
    return root;
}

GameObject LoaderCreation::createObjects(GameObjectPrefab::CreateConfig& config) {
    InstanceCreation creation(*m_loader.descriptor->prefab.get(), config);
    try {
        creation.step(Deadline());
        return creation.takeObjects().front();
    } catch (...) {
        m_failedComponent = creation.failedComponent();
        throw;
    }
}

/// Activates the root when the callback agrees. The callback may do anything, even destroy the root's world.
void LoaderCreation::offerActivation(GameObject root, GameObjectManager& manager) {
    try {
        if (!m_loader.callback->onPreactivate(root, manager)) {
            return;
        }
    } catch (...) {
        m_callbackException = std::current_exception();
        throw;
    }
    if (GameObjectManager* const remaining = getGameObjectManager(root)) {
        remaining->activateGameObject(root);
    }
}

void LoaderCreation::reportException() const noexcept {
    try {
        try {
            std::rethrow_exception(m_exception);
        } catch (const std::exception& exception) {
            report(exception.what());
        } catch (...) {
            report("unknown exception");
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): there is no memory for the message.
    }
}

void LoaderCreation::report(const char* problem) const {
    const std::string prefab = documentName(*m_loader.descriptor->prefab.get());
    if (m_failedComponent) {
        Report::error("Failed to create an instance of '%s': component '%s': %s", prefab.c_str(),
                      m_failedComponent->name().c_str(), problem);
    } else {
        Report::error("Failed to create an instance of '%s': %s: %s", prefab.c_str(), m_step, problem);
    }
}

} // namespace Kiln::Tessel::detail
