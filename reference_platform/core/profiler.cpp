#include <core/profiler.h>

#include <atomic>

namespace Kiln {

namespace {

using ScopeCallback = void (*)(const char* name);

// Constant-initialised, so that static initialisers of other libraries can use them.
std::atomic<ScopeCallback> beginScopeHook{nullptr};
std::atomic<ScopeCallback> endScopeHook{nullptr};

} // namespace

// The release of each store pairs with the acquire in profilerHooks(): what the profiler set up before it attached is
// visible to its callbacks on every thread.
void setProfilerHooks(ProfilerHooks hooks) {
    beginScopeHook.store(hooks.beginScope, std::memory_order_release);
    endScopeHook.store(hooks.endScope, std::memory_order_release);
}

ProfilerHooks profilerHooks() {
    return {beginScopeHook.load(std::memory_order_acquire), endScopeHook.load(std::memory_order_acquire)};
}

} // namespace Kiln
