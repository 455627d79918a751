#pragma once

#include <core/export.h>
#include <core/non_copyable.h>

namespace Kiln {

/// The callbacks of an attached profiler; either may be null. Called on the thread that enters or leaves the scope.
struct ProfilerHooks {
    void (*beginScope)(const char* name) = nullptr; ///< Called when a scope begins.
    void (*endScope)(const char* name) = nullptr;   ///< Called when a scope ends.
};

/// Installs hooks for the whole process; empty hooks detach. A scope that begins during the change may combine an old
/// hook with a new one, so attach before work starts.
KILN_CORE_EXPORT void setProfilerHooks(ProfilerHooks hooks);
/// The installed hooks; both are null when no profiler is attached.
[[nodiscard]] KILN_CORE_EXPORT ProfilerHooks profilerHooks();

/// Reports the rest of a scope to the profiler, if one is attached. `name` must be a literal.
class ProfilerScope : NonCopyable {
public:
    /// Begins a scope, which ends with this object. Its end is reported to the hooks of its beginning.
    explicit ProfilerScope(const char* name) : m_name(name), m_hooks(profilerHooks()) {
        if (m_hooks.beginScope) {
            m_hooks.beginScope(m_name);
        }
    }
    ~ProfilerScope() {
        if (m_hooks.endScope) {
            m_hooks.endScope(m_name);
        }
    }

private:
    const char* m_name;
    ProfilerHooks m_hooks;
};

} // namespace Kiln
