#include "loading_session.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_service.h>

#include <utility>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using Tessel::EntryPoint;
using Tessel::GameObject;

} // namespace

LoadingSession::LoadingSession(Settings settings, LogCollector& log) : Session(std::move(settings), log) {}

void LoadingSession::prepareLoad(bool hasFailed) {
    if (hasFailed) {
        replaceWorld();
    }
}

GameObject LoadingSession::loadInstance(TimePoint deadline, InstanceRecord& record) {
    const auto root = std::make_shared<GameObject>();
    request(record.instanceUuid, root);
    awaitRoot(*root, deadline, record);
    return *root;
}

void LoadingSession::request(const Uuid& instanceUuid, const LoadedRoot& root) const {
    // The loader of a failed instance outlives this call, so the callback shares ownership of its target.
    const auto noteRoot = [root](GameObject loaded, Tessel::GameObjectManager& /*manager*/) {
        *root = loaded;
        return true;
    };
    if (settings().isUnderInactiveParent) {
        Tessel::Loading::loadGameObjectIntoHierarchy(settings().prefab, parent(), {}, noteRoot, instanceUuid);
    } else {
        Tessel::Loading::loadGameObject(settings().prefab, worldId(), {}, noteRoot, instanceUuid);
    }
}

void LoadingSession::awaitRoot(const GameObject& root, TimePoint deadline, InstanceRecord& record) const {
    TaskManager& background = FileIOTaskManager::instance();
    for (;;) {
        // A frame that begins after the last background task has ended sees everything that will ever be loaded.
        const bool isLastChance = background.unfinishedTasks() == 0;
        EntryPoint::instance().tick();
        ++record.frames;
        if (!root.isInvalid()) {
            return;
        }
        if (isLastChance) {
            return;
        }
        if (Clock::now() >= deadline) {
            record.problem = timeoutText();
            return;
        }
        background.waitForIdle(FRAME_PAUSE);
    }
}

std::string LoadingSession::describeFailure(const Uuid& instanceUuid) const {
    const auto* const service = EntryPoint::instance().getService<Tessel::PrefabService>();
    for (const Tessel::GameObjectLoader& loader : service->loadingQueue()) {
        const Tessel::GameObjectPrefab* const prefab = loader.descriptor->prefab.get();
        if (loader.worldId == worldId() && loader.uuid == instanceUuid && prefab && prefab->isEmpty()) {
            return "the prefab has no game objects";
        }
    }
    return {};
}

} // namespace Kiln::PrefabTool
