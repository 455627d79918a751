#pragma once

#include <core/non_copyable.h>
#include <tessel_asset_loading/export.h>

#include <mutex>

namespace Kiln::Tessel::detail {

// The prefab service's two mutexes are held together on the main thread: tick holds the queue's mutex while creation
// looks up nested prefabs under the cache's. There is no deadlock because workers never take the queue's mutex, and
// because a thread that takes both takes the queue's first. Both locks assert this, on every use.

/// Holds the mutex of the loading queue.
class KILN_TESSEL_ASSET_LOADING_EXPORT QueueLock : NonCopyable {
public:
    explicit QueueLock(std::recursive_mutex& mutex);
    ~QueueLock();

private:
    std::recursive_mutex& m_mutex;
};

/// Holds the mutex of the prefab cache, which a thread can't take twice.
class KILN_TESSEL_ASSET_LOADING_EXPORT CacheLock : NonCopyable {
public:
    explicit CacheLock(std::mutex& mutex);
    ~CacheLock();

private:
    std::mutex& m_mutex;
};

} // namespace Kiln::Tessel::detail
