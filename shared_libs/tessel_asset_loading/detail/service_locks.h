#pragma once

#include <core/non_copyable.h>

#include <mutex>

namespace Kiln::Tessel {

// The prefab service's two mutexes are held together, on the main thread: tick holds the queue's while creation looks
// up nested prefabs under the cache's. That is free of deadlock because workers never take the queue's mutex, and
// because a thread takes the queue's first. Both locks assert this, on every use.

/// Holds the mutex of the loading queue.
class QueueLock : NonCopyable {
public:
    explicit QueueLock(std::recursive_mutex& mutex);
    ~QueueLock();

private:
    std::recursive_mutex& m_mutex;
};

/// Holds the mutex of the prefab cache, which a thread can't take twice.
class CacheLock : NonCopyable {
public:
    explicit CacheLock(std::mutex& mutex);
    ~CacheLock();

private:
    std::mutex& m_mutex;
};

} // namespace Kiln::Tessel
