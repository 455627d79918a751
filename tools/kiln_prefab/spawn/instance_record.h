#pragma once

#include <common/uuid.h>
#include <kiln_prefab/log_collector.h>
#include <object_framework/game_object.h>
#include <tessel_foundation/component.h>
#include <tessel_streaming/load_result.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// A live game object, as it was when its instance had been loaded.
struct ObjectRecord {
    std::string name;
    Uuid uuid;
    std::optional<std::size_t> parent; ///< Index into the instance's list; none if the parent is not in it.
    bool isActive = false;
    std::vector<std::string> components; ///< Registered names, sorted.
    std::string prefab;                  ///< Resource of the object's PrefabComponent; empty without one.
};

/// Result of loading one instance.
struct InstanceRecord {
    std::string prefab; ///< As the user named it.
    Uuid instanceUuid;
    std::size_t frames = 0;
    std::chrono::steady_clock::duration duration{}; ///< From the request to the end of the frame that created it.
    std::vector<ObjectRecord> objects; ///< Root first, the others in the order of their creation; empty on failure.
    LogRecord log;

    /// Why the instance could not be created, as Tessel::Streaming reports it; absent if Tessel::Loading was used.
    std::optional<std::vector<Tessel::Streaming::LoadFailure>> failures;

    /// A problem that is neither in the log nor a failure, as a sentence without full stop; empty if there is none.
    std::string problem;

    [[nodiscard]] bool isCreated() const { return !objects.empty(); }
    [[nodiscard]] bool hasFailures() const { return failures && !failures->empty(); }
};

/// The registered name of a component type; for a type that was never registered, its number.
[[nodiscard]] std::string componentLabel(Tessel::ComponentTypeId type);

/// Records the objects of the root's world that were created after `serial`, or none if the root no longer exists.
[[nodiscard]] std::vector<ObjectRecord> recordObjects(Tessel::GameObject root, std::uint64_t serial);

} // namespace Kiln::PrefabTool
