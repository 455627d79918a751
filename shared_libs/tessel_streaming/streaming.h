#pragma once

#include <common/matrix.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/load_handle.h>
#include <tessel_streaming/load_options.h>
#include <tessel_streaming/load_result.h>
#include <tessel_streaming/statistics.h>
#include <tessel_streaming/tracing.h>
#include <tessel_streaming/updates.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Loads that can be followed, cancelled and budgeted. A request gets a handle, ends in exactly one of success, failure
/// and cancellation, and reports it once; files are read in parallel, dependencies first; objects are created over
/// several frames within a budget of time, and become visible when they are complete.
///
/// It works in every EntryPoint::tick(), after the PrefabService. Main thread, except where something else is said.
/// A frame that is run inside of another one, by a callback for example, makes no progress here: do not wait for a
/// request in a callback. Paths are resource paths and are used exactly as passed. Nothing throws but std::bad_alloc;
/// everything may be called from inside of a completion function, a listener, or a component.
///
///     Streaming::LoadHandle handle = Streaming::load("harbour/harbour.prefab", worldId);
///     while (!handle.isFinished()) {
///         EntryPoint::instance().tick();
///     }
///
/// Not for: loads that have to complete in one call (Loading::loadDescriptorSync, GameObjectPrefab::createGameObjects).
namespace Kiln::Tessel::Streaming {

/// Requests one instance of a prefab. Never null: a request that cannot be carried out reports a failure in a frame,
/// like every other.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT LoadHandle load(const std::string& path, int worldId,
                                                           LoadOptions options = {}, CompletionFunction completed = {});

/// Requests an instance for each placement under one handle. Its instances appear one after the other; it succeeds
/// with the last one. `options.placement` and `options.instanceUuid` are ignored. Succeeds at once for no placement.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT LoadHandle spawn(const std::string& path, int worldId,
                                                            std::span<const Matrix> placements,
                                                            LoadOptions options = {},
                                                            CompletionFunction completed = {});

/// How a preload is carried out.
struct PreloadOptions {
    int priority = DEFAULT_PRIORITY;                   ///< Higher ones are read first.
    FailurePolicy failurePolicy = FailurePolicy::FAIL; ///< What follows from a nested file that cannot be loaded.
    bool keep = false;                                 ///< As LoadOptions::keep.
};

/// Reads prefabs and everything that they nest, so that later requests find them in the cache as long as the handle
/// lives, or longer with `options.keep`.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT LoadHandle preload(std::vector<std::string> paths,
                                                              const PreloadOptions& options = {},
                                                              CompletionFunction completed = {});

/// No limit for the time that a frame may take.
inline constexpr std::chrono::microseconds NO_FRAME_BUDGET = std::chrono::microseconds::max();

/// The budget until setFrameBudget() is called.
inline constexpr std::chrono::microseconds DEFAULT_FRAME_BUDGET{4'000};

/// Sets the time that creation, removal and completion functions may take in a frame together. Each of these kinds of
/// work makes at least one step per frame, so that everything ends with any budget; one of zero or less allows no more.
KILN_TESSEL_STREAMING_EXPORT void setFrameBudget(std::chrono::microseconds budget) noexcept;
/// The present budget; NO_FRAME_BUDGET for none.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT std::chrono::microseconds frameBudget() noexcept;

/// Sets the size of the files whose documents are kept for LoadOptions::keep when no request needs them; the least
/// recently used ones are dropped first. 256 MiB at first; 0 drops all of them.
KILN_TESSEL_STREAMING_EXPORT void setKeptDocumentsLimit(std::uint64_t bytes);

/// Starts or stops watching the files of held documents for changes. A changed file is read aside once it has settled;
/// if it is sound, it replaces the cached document and the instances that follow it are updated.
KILN_TESSEL_STREAMING_EXPORT void watch(bool isWatching);

/// Returns an id for removeUpdateListener().
KILN_TESSEL_STREAMING_EXPORT int addUpdateListener(UpdateListener listener);
/// Removes the listener with that id.
KILN_TESSEL_STREAMING_EXPORT void removeUpdateListener(int id);

/// What the library is doing. Takes time linear in the number of requests.
[[nodiscard]] KILN_TESSEL_STREAMING_EXPORT Statistics statistics();

/// Replaces the hook for trace events; an empty function turns tracing off, which then costs nothing. When this
/// returns, the previous hook is not running and never runs again.
KILN_TESSEL_STREAMING_EXPORT void setTraceHook(TraceHook hook);

} // namespace Kiln::Tessel::Streaming
