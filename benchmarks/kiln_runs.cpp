#include "kiln_runs.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/loading.h>

#include <stdexcept>
#include <thread>

namespace Kiln::Benchmarks {

namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;

/// Records the roots and permits their activation.
class RootsCallback final : public IObjectLoadedCallback {
public:
    explicit RootsCallback(std::vector<GameObject>& roots) : m_roots(roots) {}

    bool onPreactivate(GameObject root, GameObjectManager& /*manager*/) override {
        m_roots.push_back(root);
        return true;
    }
    void onObjectLoaded(GameObject /*root*/, GameObjectManager& /*manager*/) override {}
    void onObjectLoadedIntoHierarchy(GameObject /*root*/, GameObjectManager& /*manager*/) override {}
    void releaseCallback() override {}

private:
    std::vector<GameObject>& m_roots;
};

} // namespace

Tessel::PrefabService& prefabService() {
    return *EntryPoint::instance().getService<Tessel::PrefabService>();
}

KilnWorld::KilnWorld() : m_id(EntryPoint::instance().createWorld()) {}

KilnWorld::~KilnWorld() {
    EntryPoint::instance().destroyWorld(m_id);
}

GameObjectManager& KilnWorld::manager() const {
    return EntryPoint::instance().findValidWorld(m_id)->manager();
}

Seconds KilnWorld::create(const std::string& path, std::size_t instances) {
    const auto callback = makeSmart<RootsCallback>(m_roots);
    m_roots.reserve(m_roots.size() + instances);
    for (std::size_t i = 0; i < instances; ++i) {
        prefabService().loadGameObject(path, m_id, Uuid::generate(), callback, nullptr);
    }
    return tick(m_roots.size() + instances);
}

Seconds KilnWorld::create(const std::string& path, const Uuid& instanceUuid) {
    prefabService().loadGameObject(path, m_id, instanceUuid, makeSmart<RootsCallback>(m_roots), nullptr);
    return tick(m_roots.size() + 1);
}

Seconds KilnWorld::tick(std::size_t expectedRoots) {
    const Clock::time_point start = Clock::now();
    prefabService().tick();
    const Seconds duration = Clock::now() - start;
    prefabService().postTick();
    if (m_roots.size() != expectedRoots) {
        throw std::runtime_error("not every prefab was created");
    }
    return duration;
}

Seconds KilnWorld::removeAll() {
    GameObjectManager& itsManager = manager();
    const Clock::time_point start = Clock::now();
    for (const GameObject root : m_roots) {
        itsManager.removeGameObject(root);
    }
    const Seconds duration = Clock::now() - start;
    m_roots.clear();
    return duration;
}

Seconds KilnWorld::read(const std::string& path) {
    const Clock::time_point start = Clock::now();
    prefabService().loadGameObject(path, m_id, Uuid::generate(), makeSmart<RootsCallback>(m_roots), nullptr);
    const SmartPointer<Tessel::DescriptorCacheData> entry = prefabService().loadingQueue().back().descriptor;
    while (!entry->prefab) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const Seconds duration = Clock::now() - start;
    waitForWorkers();
    prefabService().tick(); // Completes the loader, so that none stays queued.
    prefabService().postTick();
    return duration;
}

void cache(const std::string& path) {
    Tessel::Loading::cacheGameObjects({path}, false);
}

void waitForWorkers() {
    if (!FileIOTaskManager::instance().waitForIdle(std::chrono::minutes(10))) {
        throw std::runtime_error("background tasks do not end");
    }
}

} // namespace Kiln::Benchmarks
