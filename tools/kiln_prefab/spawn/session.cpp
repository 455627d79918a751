#include "session.h"

#include "walk_messages.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/loading.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <functional>
#include <ostream>
#include <sstream>
#include <string_view>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using Tessel::EntryPoint;
using Tessel::GameObject;

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
    return !record.problem.empty() || record.hasFailures() ||
           std::any_of(messages.begin(), messages.end(), std::mem_fn(&LogRecord::Message::isError));
}

/// Whether the log has an error that is more than a depth message of the caching walks.
[[nodiscard]] bool hasErrorOfCreation(const InstanceRecord& record) {
    const std::vector<LogRecord::Message>& messages = record.log.messages;
    return std::any_of(messages.begin(), messages.end(), [](const LogRecord::Message& message) {
        return message.isError() && !isDepthMessageOfWalk(message);
    });
}

/// The number that follows a text; 0 without the text.
[[nodiscard]] std::size_t numberAfter(const std::string& text, std::string_view before) {
    const std::size_t found = text.find(before);
    std::size_t number = 0;
    if (found != std::string::npos) {
        const char* const begin = text.data() + found + before.size();
        std::from_chars(begin, text.data() + text.size(), number);
    }
    return number;
}

/// How many components a pool has memory for. Only its dump tells.
[[nodiscard]] std::size_t capacityOf(const Tessel::GenericComponentStorage& storage) {
    std::ostringstream stream;
    storage.dump(stream);
    const std::string text = stream.str();
    return numberAfter(text, "Block size: ") * numberAfter(text, "Amount of blocks: ");
}

} // namespace

Session::Session(Settings settings, LogCollector& log) : m_settings(std::move(settings)), m_log(log) {
    createWorld();
}

Session::~Session() {
    close();
}

void Session::createWorld() {
    m_worldId = EntryPoint::instance().createWorld();
    if (m_settings.isUnderInactiveParent) {
        m_parent = Tessel::getGameObjectManager(m_worldId)->createGameObject();
    }
}

void Session::close() {
    if (!m_isStuck && !m_isClosed) {
        EntryPoint::instance().destroyWorld(m_worldId);
        Tessel::Loading::fullyClearCache();
        m_isClosed = true;
    }
}

void Session::replaceWorld() {
    close();
    createWorld();
    m_isClosed = false;
}

void Session::prepareLoad(bool /*hasFailed*/) {}

std::string Session::describeFailure(const Uuid& /*instanceUuid*/) const {
    return {};
}

InstanceRecord Session::load(const Uuid& instanceUuid) {
    prepareLoad(m_hasFailed);
    InstanceRecord record;
    record.prefab = m_settings.prefab;
    record.instanceUuid = instanceUuid;

    const Clock::time_point deadline = Clock::now() + m_settings.timeout;
    createInstance(deadline, record);
    awaitBackground(deadline, record);
    record.log = m_log.take();
    if (!record.isCreated() && !isExplained(record)) {
        record.problem = describeFailure(instanceUuid);
    }
    if (!record.isCreated() && record.problem.empty() && !record.hasFailures() && !hasErrorOfCreation(record)) {
        record.problem = "the creation of its game objects was refused";
    }
    return record;
}

void Session::createInstance(TimePoint deadline, InstanceRecord& record) {
    const std::uint64_t lastSerial = Tessel::getGameObjectManager(m_worldId)->lastSerial();
    const Clock::time_point start = Clock::now();
    GameObject root = GameObject::INVALID_GAME_OBJECT;
    try {
        root = loadInstance(deadline, record);
    } catch (const std::exception& error) {
        record.problem = error.what();
    }
    record.duration = Clock::now() - start;
    record.objects = recordObjects(root, lastSerial);
    m_hasFailed = !record.isCreated();
    if (!root.isInvalid() && !record.isCreated()) {
        record.problem = "its root was removed again in the frame that created it";
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

std::string Session::timeoutText() const {
    return "not loaded within " + secondsText(m_settings.timeout);
}

void Session::dumpPools(std::ostream& stream) const {
    for (const Tessel::GenericComponentStorage* const storage :
         EntryPoint::instance().findValidWorld(m_worldId)->storages()) {
        stream << "Pool of " << componentLabel(storage->type()) << '\n';
        storage->dump(stream);
    }
}

std::vector<PoolRecord> Session::pools() const {
    std::vector<PoolRecord> pools;
    for (const Tessel::GenericComponentStorage* const storage :
         EntryPoint::instance().findValidWorld(m_worldId)->storages()) {
        pools.push_back({componentLabel(storage->type()), storage->componentsCount(), storage->activeCount(),
                         capacityOf(*storage)});
    }
    return pools;
}

} // namespace Kiln::PrefabTool
