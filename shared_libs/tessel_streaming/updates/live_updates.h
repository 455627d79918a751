#pragma once

#include <core/non_copyable.h>
#include <core/task_manager.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/instances/followed_instance.h>
#include <tessel_streaming/updates.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

class FrameBudget;
class Tracer;

/// Watches the files of held documents, and updates the instances that follow them.
///
/// A changed file is read once it has settled, and what it nests in addition; if all of that is sound, the library gets
/// the new version, the updates of the instances are prepared over several frames, and all of them become visible in
/// one frame. Files that settle meanwhile wait for the next update.
///
/// Owner: the service, which destroys this before the library. Main thread; files are polled and read on workers.
class KILN_TESSEL_STREAMING_EXPORT LiveUpdates : NonCopyable {
public:
    LiveUpdates(DocumentLibrary& documents, TaskManager& tasks, Tracer& tracer);
    ~LiveUpdates();

    /// When watching ends, new versions that the library has already are still applied.
    void watch(bool isWatching);
    [[nodiscard]] bool isWatching() const noexcept;

    /// Time between two polls of the files; a changed file is read when two polls in a row see the same stamp. 200 ms
    /// at first.
    void setPollInterval(std::chrono::milliseconds interval);

    int addListener(UpdateListener listener);
    void removeListener(int id);

    /// Counts the changes of documents so far, see FollowedInstance::documentsVersion.
    [[nodiscard]] std::uint64_t documentsVersion() const noexcept;

    /// Follows an instance until its root is removed, its world is destroyed, or unfollow() is called. The library must
    /// hold its documents as long.
    void follow(std::unique_ptr<FollowedInstance> instance);

    /// Ends the following of the instances of a request.
    void unfollow(std::uint64_t request);
    void onWorldDestroyed(int worldId);

    /// Takes time linear in their number.
    [[nodiscard]] std::size_t followedCount() const noexcept;

    /// Prepares updates within the budget; applies one that is prepared, and calls the listeners. Does nothing when it
    /// is called by a component or a listener that it has called itself. Returns whether there was any work; polls and
    /// waiting for files are none.
    bool tick(FrameBudget& budget);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace Kiln::Tessel::Streaming::detail
