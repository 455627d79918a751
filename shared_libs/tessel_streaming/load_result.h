#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <tessel_streaming/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::Tessel::Streaming {

/// Where a request stands. It leaves PENDING exactly once.
enum class LoadState {
    PENDING,
    SUCCEEDED, ///< Also as a partial success, see LoadResult::isPartial.
    FAILED,
    CANCELLED,
};

/// What a pending request is doing. Phases follow one another in this order; a request may skip some, but never returns
/// to an earlier one.
enum class LoadPhase {
    WAITING,    ///< No file has been read yet.
    READING,    ///< Workers read the files that it needs.
    CREATING,   ///< Objects and components are created; nothing is visible.
    ACTIVATING, ///< The objects become active.
};

/// How far a request is. Totals are those that are known so far; a file that is read can raise them.
struct LoadProgress {
    double ratio = 0;                     ///< From 0 to 1. Never falls, and is 1 only after success.
    LoadPhase phase = LoadPhase::WAITING; ///< What the request is doing.
    std::size_t filesRead = 0;            ///< Also those that failed.
    std::size_t filesTotal = 0;           ///< Files that it needs.
    std::uint64_t bytesRead = 0;          ///< Of the files that have been read.
    std::uint64_t bytesTotal = 0;         ///< Of the files whose size is known.
    std::size_t objectsCreated = 0;       ///< Of all of its instances.
    std::size_t objectsTotal = 0;         ///< 0 until the files have been read.
};

/// Why a request failed, or is partial.
enum class FailureCode {
    INVALID_PATH,     ///< The path is empty.
    OUTSIDE_OF_ROOTS, ///< The path leads out of the resource roots or has a control character.
    MISSING_FILE,     ///< No resource root has such a file.
    UNREADABLE_FILE,  ///< The file cannot be read, is too large, or is no regular file.
    MALFORMED_FILE,   ///< The file is not well-formed XML.
    NOT_A_PREFAB,     ///< The document has a wrong version, no game objects, or exceeds a limit.
    EMPTY_PREFAB,     ///< The document has no game object.
    CYCLE,            ///< A prefab nests itself, directly or through others, beyond the depth limit.
    TOO_DEEP,         ///< Prefabs are nested beyond the depth limit.
    NO_ROOT,          ///< A nested prefab has no root, so that it cannot be merged with its integration point.
    INVALID_WORLD,    ///< The world has never existed or was destroyed.
    INVALID_PARENT,   ///< The parent does not exist any more.
    PARENT_IN_OTHER_WORLD,
    CREATION_FAILED,     ///< The objects cannot be created, for example because of duplicate UUIDs.
    COMPONENT_THREW,     ///< A component threw an exception while it was created or activated.
    REFUSED_BY_LISTENER, ///< The creation listener of the ComponentLibrary refused the instance.
    OUT_OF_MEMORY,
    SERVICE_ENDED, ///< The process is ending, or the request was made after that.
};

/// The name of a code as it is written above, such as "MISSING_FILE".
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT std::string_view failureCodeName(FailureCode code) noexcept;

/// One reason why a request failed or is partial.
struct LoadFailure {
    FailureCode code = FailureCode::CREATION_FAILED; ///< What went wrong.
    std::string file;                                ///< Resource path of the culprit.
    std::size_t line = 0;                            ///< In the file, from 1; 0 if it is not known.

    /// Resource paths from the request's own file to `file`, both included. The culprit of a cycle occurs twice.
    std::vector<std::string> chain;
    std::string message; ///< A whole sentence, without file and line.

    /// "file:line: message (CODE; a.prefab > b.prefab)", for logs. Line and chain are left out if they say nothing.
    [[nodiscard]] KILN_TESSEL_STREAMING_EXPORT std::string text() const;
};

/// A pool of components that was skipped because no library has registered their type.
struct SkippedComponents {
    std::string file; ///< Resource path of the file that has the pool.
    std::string type; ///< Name of the component type in the file.

    friend bool operator==(const SkippedComponents&, const SkippedComponents&) = default;
};

/// The outcome of a request.
struct LoadResult {
    LoadState state = LoadState::PENDING; ///< How the request ended, once it has.
    bool isPartial = false; ///< Succeeded without the prefabs that `failures` lists; FailurePolicy::PARTIAL only.

    /// The root of each instance, in the order of the placements; empty unless the request has succeeded. The objects
    /// belong to their world: a root may have been removed in the meantime.
    std::vector<GameObject> roots;
    std::vector<Uuid> instanceUuids; ///< By root.

    std::vector<LoadFailure> failures;                ///< Every one that was found, in the order of the hierarchy.
    std::vector<SkippedComponents> skippedComponents; ///< The pools that were skipped in its files.

    /// Whether the request is no longer pending.
    [[nodiscard]] bool isFinished() const noexcept { return state != LoadState::PENDING; }

    /// The first root; the invalid object if there is none.
    [[nodiscard]] GameObject root() const noexcept {
        return roots.empty() ? GameObject::INVALID_GAME_OBJECT : roots.front();
    }
};

} // namespace Kiln::Tessel::Streaming
