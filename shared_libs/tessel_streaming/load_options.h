#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_serialization/override_records.h>

#include <functional>
#include <optional>

namespace Kiln::Tessel::Streaming {

class LoadHandle;
struct LoadResult;

/// What happens when a file that a prefab nests cannot be loaded.
enum class FailurePolicy {
    FAIL,    ///< The request fails.
    PARTIAL, ///< The instance is created without it, and the result lists it. The request's own file must load.
};

/// How an instance becomes active once it is complete.
enum class Activation {
    AT_ONCE,    ///< In one step, whatever it costs.
    BY_SUBTREE, ///< The root first, then the subtree of each of its children, within the budget of several frames.
    NONE,       ///< It stays inactive.
};

/// @{
/// The lowest and the highest priority, and the one of requests that do not name one. Others are clamped.
inline constexpr int MIN_PRIORITY = 0;
inline constexpr int MAX_PRIORITY = 255;
inline constexpr int DEFAULT_PRIORITY = 96;
/// @}

/// How a request is carried out.
struct LoadOptions {
    GameObject parent;                                 ///< The root is attached to it; the invalid object for none.
    std::optional<Matrix> placement;                   ///< Transform of the root; the prefab's own if it is absent.
    std::optional<Uuid> instanceUuid;                  ///< Generated if it is absent. Not for several instances.
    SmartPointer<OverrideRecords> overrides;           ///< May be null. Not to be changed once the request was made.
    int priority = DEFAULT_PRIORITY;                   ///< Higher ones are read and created first.
    FailurePolicy failurePolicy = FailurePolicy::FAIL; ///< What follows from a nested file that cannot be loaded.
    Activation activation = Activation::AT_ONCE;       ///< A prefab that is inactive by default stays inactive anyway.

    /// Reports only after the requests of the same priority that were made before and that report in order, too, so
    /// that the order does not depend on what is cached. Unset it for a long load that others are not to wait for.
    bool reportsInOrder = true;

    /// Keeps the documents in the cache when the request is gone, see setKeptDocumentsLimit().
    bool keep = false;

    /// Updates the instance when one of its files changes, see watch(). It ends with the last handle, unless that was
    /// detached, or with the root.
    bool follow = false;
};

/// Called once with the outcome of a request, in a frame, on the thread that ticks, without a lock of this library.
/// It may do everything, also make and cancel requests. An exception is logged and has no other effect.
using CompletionFunction = std::function<void(const LoadHandle& handle, const LoadResult& result)>;

} // namespace Kiln::Tessel::Streaming
