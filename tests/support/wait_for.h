#pragma once

#include <chrono>
#include <thread>

namespace Kiln::TestSupport {

/// Calls a predicate about once a millisecond until it holds; false when it still does not after the time limit. For
/// conditions that offer nothing to block on; prefer a latch or condition variable where the test owns the event.
///
/// The default limit is generous because sanitizers and loaded machines are slow; a passing test does not spend it.
template <class Predicate>
[[nodiscard]] bool waitFor(Predicate predicate, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return predicate();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace Kiln::TestSupport
