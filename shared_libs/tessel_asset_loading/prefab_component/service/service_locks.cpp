#include <tessel_asset_loading/prefab_component/service/service_locks.h>

#include <core/assertions.h>
#include <core/task_manager.h>

namespace Kiln::Tessel::detail {

namespace {

constexpr const char* SOURCE = "shared_libs/tessel_asset_loading/prefab_component/service/service_locks";

// Number of locks that the current thread holds.
constinit thread_local int queueLocks = 0;
constinit thread_local int cacheLocks = 0;

} // namespace

QueueLock::QueueLock(std::recursive_mutex& mutex) : m_mutex(mutex) {
    KILN_ASSERT(!BackgroundTaskThread::current(), "A worker takes the mutex of the loading queue", SOURCE, __LINE__);
    KILN_ASSERT(cacheLocks == 0 || queueLocks > 0, "The mutex of the loading queue is taken after the cache's", SOURCE,
                __LINE__);
    m_mutex.lock();
    ++queueLocks;
}

QueueLock::~QueueLock() {
    --queueLocks;
    m_mutex.unlock();
}

CacheLock::CacheLock(std::mutex& mutex) : m_mutex(mutex) {
    m_mutex.lock();
    ++cacheLocks;
}

CacheLock::~CacheLock() {
    --cacheLocks;
    m_mutex.unlock();
}

} // namespace Kiln::Tessel::detail
