#include <core/parallel.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Kiln {

std::size_t threadsFor(std::size_t setting) noexcept {
    return setting != 0 ? setting : std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
}

void runOnThreads(std::size_t threadsCount, const std::function<void()>& work) {
    std::mutex mutex;
    std::exception_ptr exception; // Guarded by the mutex.
    const auto guarded = [&]() noexcept {
        try {
            work();
        } catch (...) {
            const std::lock_guard lock(mutex);
            exception = exception ? exception : std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(threadsCount);
    try {
        while (threads.size() + 1 < threadsCount) {
            threads.emplace_back(guarded);
        }
    } catch (const std::system_error&) { // NOLINT(bugprone-empty-catch): the threads that there are do all the work.
    }
    guarded();
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (exception) {
        std::rethrow_exception(exception);
    }
}

void forEachIndex(std::size_t count, std::size_t threadsCount, const std::function<void(std::size_t)>& work,
                  const OnIndexDone& onDone) {
    std::atomic<std::size_t> next = 0;
    std::mutex mutex; // Guards the number of calls that have returned, and the calls of onDone.
    std::size_t doneCount = 0;
    runOnThreads(std::min(threadsCount, count), [&] {
        try {
            for (std::size_t index = next++; index < count; index = next++) {
                work(index);
                if (onDone) {
                    const std::lock_guard lock(mutex);
                    onDone(++doneCount, index);
                }
            }
        } catch (...) {
            next = count;
            throw;
        }
    });
}

} // namespace Kiln
