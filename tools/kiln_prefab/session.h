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
/// callback. They share a world. A failed instance makes the next one start in a new world, because the service would
/// retry the failed load in every frame.
///
/// Lifetime: one session at a time; it leaves neither a world nor a cached prefab behind, so that the result of one
/// prefab does not depend on earlier ones. Threads: the main thread.
class Session : NonCopyable {
public:
    struct Settings {
        std::string prefab;
        std::chrono::steady_clock::duration timeout; ///< For each instance.
        bool isUnderInactiveParent = false;
    };

    Session(Settings settings, LogCollector& log);
    ~Session();

    /// Loads one instance. The record includes the messages of background tasks until the last of them has ended.
    [[nodiscard]] InstanceRecord load(const Uuid& instanceUuid);

    /// Whether a background task was still running after the timeout and a second wait of the same length. It may hold
    /// locks that loading needs, so neither this nor any other session can load anything more.
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
    Tessel::GameObject m_parent; ///< The inactive parent; the invalid object if none was requested.
    bool m_hasFailedLoader = false;
    bool m_isStuck = false;
};

} // namespace Kiln::PrefabTool
