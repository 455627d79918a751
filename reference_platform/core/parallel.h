#pragma once

#include <core/export.h>

#include <cstddef>
#include <functional>

/// Work that is divided among threads for the duration of a call: for tools and for work at start-up. A game's work in
/// the background is given to a TaskManager.
///
/// Threads are those of the call, one of them the current one. If the system does not provide a thread, the others do
/// its part. An exception that leaves the work is thrown again, the first one if there are several, when all threads
/// have ended.
namespace Kiln {

/// The number of threads for a setting in which 0 stands for one per processor. At least 1.
[[nodiscard]] KILN_CORE_EXPORT std::size_t threadsFor(std::size_t setting) noexcept;

/// Calls `work` on so many threads, at least on the current one, and returns when all calls have returned.
KILN_CORE_EXPORT void runOnThreads(std::size_t threadsCount, const std::function<void()>& work);

/// Receives the number of calls that have returned so far, and the index of the last one. One thread at a time.
using OnIndexDone = std::function<void(std::size_t doneCount, std::size_t index)>;

/// Calls `work` with each index below `count`, on at most so many threads, and returns when all calls have returned.
/// After an exception no further calls begin. `onDone` may be empty.
KILN_CORE_EXPORT void forEachIndex(std::size_t count, std::size_t threadsCount,
                                   const std::function<void(std::size_t index)>& work, const OnIndexDone& onDone = {});

} // namespace Kiln
