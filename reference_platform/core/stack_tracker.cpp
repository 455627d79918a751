#include <core/assertions.h>
#include <core/stack_tracker.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace Kiln {

namespace {

/// The current thread's trail. Trivially destructible, because destructors of static objects, which run after those of
/// the main thread's thread-local objects, still push and pop.
struct Trail {
    StackTracker::Entry* entries;
    std::size_t size;
    std::size_t capacity;
    bool isThreadEnding;

    void release() noexcept {
        delete[] entries;
        entries = nullptr;
        size = 0;
        capacity = 0;
    }
};
static_assert(std::is_trivially_destructible_v<Trail>);

constinit thread_local Trail trail{nullptr, 0, 0, false};

/// Frees the trail when its thread ends. Destructors that run later may start a new trail, which their last pop frees.
struct TrailRelease {
    ~TrailRelease() {
        if (trail.size == 0) {
            trail.release();
        }
        trail.isThreadEnding = true;
    }
};

void grow() {
    static thread_local TrailRelease releaseWithThread;
    static_cast<void>(releaseWithThread);

    constexpr std::size_t FIRST_CAPACITY = 32;
    const std::size_t capacity = std::max(FIRST_CAPACITY, trail.capacity * 2);
    auto* const entries = new StackTracker::Entry[capacity];
    std::copy_n(trail.entries, trail.size, entries);
    delete[] trail.entries;
    trail.entries = entries;
    trail.capacity = capacity;
}

} // namespace

void StackTracker::push(const char* function, const char* file, unsigned line) {
    if (trail.size == trail.capacity) {
        grow();
    }
    trail.entries[trail.size] = {function, file, line};
    ++trail.size;
}

void StackTracker::pop() {
    if (!KILN_ASSERT(trail.size > 0, "Stack tracker: pop without push", "core/stack_tracker", __LINE__)) {
        return;
    }
    --trail.size;
    if (trail.isThreadEnding && trail.size == 0) {
        trail.release();
    }
}

std::span<const StackTracker::Entry> StackTracker::current() {
    return {trail.entries, trail.size};
}

} // namespace Kiln
