#pragma once

#include "instance_record.h"
#include "log_collector.h"

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>

namespace Kiln::PrefabTool {

/// Loads instances of one prefab, one after the other, the way a game does: request, background parse, frames,
/// callback. They share a world. An instance that fails takes its world with it, since the service would retry its
/// load in every frame.
///
/// Lifetime: one session at a time; it leaves neither a world nor a cached prefab behind, so that what one prefab
/// reports does not depend on those before it. Threads: the main thread.
class Session : NonCopyable {
public:
    struct Settings {
        std::string prefab;
        std::chrono::steady_clock::duration timeout; ///< For each instance.
        bool isUnderInactiveParent = false;
    };

    Session(Settings settings, LogCollector& log);
    ~Session();

    /// Loads one instance. The record also has what was logged in the background until that came to rest.
    [[nodiscard]] InstanceRecord load(const Uuid& instanceUuid);

    /// Whether a background task is still at it after the timeout and a time of grace as long. It may hold locks that
    /// loading needs, so nothing can be loaded any more, by this or any other session.
    [[nodiscard]] bool isStuck() const { return m_isStuck; }

    /// Writes the component pools of the world, by ascending component type.
    void dumpPools(std::ostream& stream) const;

private:
    using LoadedRoot = std::shared_ptr<Tessel::GameObject>;
    using TimePoint = std::chrono::steady_clock::time_point;

    void createWorld();
    void destroyWorld();
    void createInstance(TimePoint deadline, InstanceRecord& record);
    void request(const Uuid& instanceUuid, const LoadedRoot& root) const;
    void awaitRoot(const Tessel::GameObject& root, TimePoint deadline, InstanceRecord& record) const;
    void awaitBackground(TimePoint deadline, InstanceRecord& record);
    [[nodiscard]] std::string describeLoader(const Uuid& instanceUuid) const;

    Settings m_settings;
    LogCollector& m_log;
    int m_worldId = 0;
    Tessel::GameObject m_parent; ///< The inactive parent; the invalid object when none was asked for.
    bool m_hasFailedLoader = false;
    bool m_isStuck = false;
};

} // namespace Kiln::PrefabTool
