#include "session.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_service.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using Tessel::EntryPoint;
using Tessel::GameObject;

/// How long to wait for background tasks between two frames.
constexpr std::chrono::milliseconds FRAME_PAUSE{1};

[[nodiscard]] std::chrono::milliseconds upTo(Clock::duration duration) {
    return std::chrono::ceil<std::chrono::milliseconds>(duration);
}

[[nodiscard]] std::string secondsText(Clock::duration duration) {
    std::string text = std::to_string(std::chrono::duration<double>(duration).count());
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text + " s";
}

/// Whether the record says why the instance could not be created.
[[nodiscard]] bool isExplained(const InstanceRecord& record) {
    const std::vector<LogRecord::Message>& messages = record.log.messages;
    return !record.problem.empty() ||
           std::any_of(messages.begin(), messages.end(), std::mem_fn(&LogRecord::Message::isError));
}

} // namespace

Session::Session(Settings settings, LogCollector& log) : m_settings(std::move(settings)), m_log(log) {
    createWorld();
}

Session::~Session() {
    if (!m_isStuck) {
        destroyWorld();
    }
}

void Session::createWorld() {
    m_worldId = EntryPoint::instance().createWorld();
    if (m_settings.isUnderInactiveParent) {
        m_parent = Tessel::getGameObjectManager(m_worldId)->createGameObject();
    }
}

void Session::destroyWorld() {
    EntryPoint::instance().destroyWorld(m_worldId);
    Tessel::Loading::fullyClearCache();
}

InstanceRecord Session::load(const Uuid& instanceUuid) {
    if (m_hasFailedLoader) {
        destroyWorld();
        createWorld();
        m_hasFailedLoader = false;
    }
    InstanceRecord record;
    record.prefab = m_settings.prefab;
    record.instanceUuid = instanceUuid;

    const Clock::time_point deadline = Clock::now() + m_settings.timeout;
    createInstance(deadline, record);
    awaitBackground(deadline, record);
    record.log = m_log.take();
    if (!record.isCreated() && !isExplained(record)) {
        record.problem = describeLoader(instanceUuid);
    }
    return record;
}

void Session::createInstance(TimePoint deadline, InstanceRecord& record) {
    const std::uint64_t lastSerial = Tessel::getGameObjectManager(m_worldId)->lastSerial();
    const auto root = std::make_shared<GameObject>();
    const Clock::time_point start = Clock::now();
    try {
        request(record.instanceUuid, root);
        awaitRoot(*root, deadline, record);
    } catch (const std::exception& error) {
        *root = GameObject::INVALID_GAME_OBJECT;
        record.problem = error.what();
    }
    record.duration = Clock::now() - start;
    record.objects = recordObjects(*root, lastSerial);
    m_hasFailedLoader = !record.isCreated();
    if (!root->isInvalid() && !record.isCreated()) {
        record.problem = "its root was removed again in the frame that created it";
    }
}

void Session::request(const Uuid& instanceUuid, const LoadedRoot& root) const {
    // The loader of a failed instance outlives this call, so the callback shares ownership of its target.
    const auto noteRoot = [root](GameObject loaded, Tessel::GameObjectManager& /*manager*/) {
        *root = loaded;
        return true;
    };
    if (m_settings.isUnderInactiveParent) {
        Tessel::Loading::loadGameObjectIntoHierarchy(m_settings.prefab, m_parent, {}, noteRoot, instanceUuid);
    } else {
        Tessel::Loading::loadGameObject(m_settings.prefab, m_worldId, {}, noteRoot, instanceUuid);
    }
}

void Session::awaitRoot(const GameObject& root, TimePoint deadline, InstanceRecord& record) const {
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
            record.problem = "not loaded within " + secondsText(m_settings.timeout);
            return;
        }
        background.waitForIdle(FRAME_PAUSE);
    }
}

/// An instance may be created before a worker has walked its nested prefabs; that walk is part of the load. After a
/// timeout, waits once more for the same time, so that the next load starts without background tasks.
void Session::awaitBackground(TimePoint deadline, InstanceRecord& record) {
    TaskManager& background = FileIOTaskManager::instance();
    const Clock::duration rest = std::max(deadline - Clock::now(), Clock::duration::zero());
    if (background.waitForIdle(upTo(rest))) {
        return;
    }
    if (record.isCreated()) {
        record.problem = "created, but the background load was not done within " + secondsText(m_settings.timeout);
    }
    m_isStuck = !background.waitForIdle(upTo(m_settings.timeout));
}

/// The reason why the instance could not be created, if it is one that is not logged; otherwise empty.
std::string Session::describeLoader(const Uuid& instanceUuid) const {
    const auto* const service = EntryPoint::instance().getService<Tessel::PrefabService>();
    for (const Tessel::GameObjectLoader& loader : service->loadingQueue()) {
        const Tessel::GameObjectPrefab* const prefab = loader.descriptor->prefab.get();
        if (loader.worldId == m_worldId && loader.uuid == instanceUuid && prefab && prefab->isEmpty()) {
            return "the prefab has no game objects";
        }
    }
    return {};
}

void Session::dumpPools(std::ostream& stream) const {
    for (const Tessel::GenericComponentStorage* const storage :
         EntryPoint::instance().findValidWorld(m_worldId)->storages()) {
        stream << "Pool of " << componentLabel(storage->type()) << '\n';
        storage->dump(stream);
    }
}

} // namespace Kiln::PrefabTool
