#include "stop_signals.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace Kiln::PrefabTool {

namespace {

std::atomic<bool> s_hasStopped = false;
static_assert(std::atomic<bool>::is_always_lock_free); // Otherwise a signal handler could not use it.

/// A signal can arrive on any thread and so does not wake up a sleeping one.
constexpr std::chrono::milliseconds STEP{20};

void onSignal(int /*signal*/) {
    s_hasStopped = true;
}

} // namespace

StopSignals::StopSignals() {
    s_hasStopped = false;
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &m_previousInterrupt);
    ::sigaction(SIGTERM, &action, &m_previousTermination);
}

StopSignals::~StopSignals() {
    ::sigaction(SIGINT, &m_previousInterrupt, nullptr);
    ::sigaction(SIGTERM, &m_previousTermination, nullptr);
}

bool StopSignals::hasStopped() {
    return s_hasStopped;
}

bool StopSignals::waitFor(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!s_hasStopped && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::min(STEP, time));
    }
    return s_hasStopped;
}

} // namespace Kiln::PrefabTool
