#pragma once

#include "instance_record.h"

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <kiln_prefab/log_collector.h>
#include <object_framework/game_object.h>

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// The pool of the components of one type.
struct PoolRecord {
    std::string type;
    std::size_t usedCount = 0; ///< Number of components.
    std::size_t activeCount = 0;
    std::size_t capacity = 0; ///< Number of components for which the pool has memory.
};

/// Loads instances of one prefab, one after the other, into a world that they share. How an instance is requested and
/// awaited is up to the derived class.
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

    virtual ~Session();

    /// Loads one instance. The record includes the messages of background tasks until the last of them has ended.
    [[nodiscard]] InstanceRecord load(const Uuid& instanceUuid);

    /// Whether a background task was still running after the timeout and a second wait of the same length. It may hold
    /// locks that loading needs, so neither this nor any other session can load anything more.
    [[nodiscard]] bool isStuck() const { return m_isStuck; }

    /// Writes the component pools of the world, by ascending component type.
    void dumpPools(std::ostream& stream) const;

    /// The component pools of the world, in the same order.
    [[nodiscard]] std::vector<PoolRecord> pools() const;

protected:
    using TimePoint = std::chrono::steady_clock::time_point;

    Session(Settings settings, LogCollector& log);

    [[nodiscard]] const Settings& settings() const { return m_settings; }
    [[nodiscard]] int worldId() const { return m_worldId; }

    /// The inactive parent; the invalid object if none was requested.
    [[nodiscard]] Tessel::GameObject parent() const { return m_parent; }

    /// Destroys the world and drops all cached prefabs, unless that was done before or the session is stuck.
    void close();

    /// Continues in a new world.
    void replaceWorld();

    /// The problem of an instance that was not loaded in time.
    [[nodiscard]] std::string timeoutText() const;

private:
    /// Called before an instance is loaded; `hasFailed` is whether the one before was not created.
    virtual void prepareLoad(bool hasFailed);

    /// Requests an instance and runs frames until it is loaded, has failed, or the deadline has passed. Returns its
    /// root, or the invalid object. Counts the frames in the record, and may add a problem or failures to it.
    [[nodiscard]] virtual Tessel::GameObject loadInstance(TimePoint deadline, InstanceRecord& record) = 0;

    /// The reason why the instance could not be created, if it is one that is not logged; otherwise empty.
    [[nodiscard]] virtual std::string describeFailure(const Uuid& instanceUuid) const;

    void createWorld();
    void createInstance(TimePoint deadline, InstanceRecord& record);
    void awaitBackground(TimePoint deadline, InstanceRecord& record);

    Settings m_settings;
    LogCollector& m_log;
    int m_worldId = 0;
    Tessel::GameObject m_parent;
    bool m_hasFailed = false; ///< The last instance.
    bool m_isStuck = false;
    bool m_isClosed = false;
};

/// How long to wait for background tasks between two frames.
inline constexpr std::chrono::milliseconds FRAME_PAUSE{1};

} // namespace Kiln::PrefabTool
