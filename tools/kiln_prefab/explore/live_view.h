#pragma once

#include <core/non_copyable.h>
#include <kiln_prefab/log_collector.h>

#include <string>
#include <vector>

namespace Kiln::PrefabTool {

/// Loads prefabs as `spawn` does and describes the live objects, the pools of their components and the time that
/// loading took, as the page shows them. Main thread.
class LiveView : NonCopyable {
public:
    /// `prefabs` are resource paths.
    explicit LiveView(std::vector<std::string> prefabs) : m_prefabs(std::move(prefabs)) {}

    [[nodiscard]] bool isEmpty() const noexcept { return m_prefabs.empty(); }

    /// Loads an instance of each prefab into a world of its own, which is destroyed before the function returns. The
    /// result is one line of JSON.
    [[nodiscard]] std::string load(LogCollector& log);

    /// Whether a background task is running that does not end; then nothing more is loaded. See Command::isStuck().
    [[nodiscard]] bool isStuck() const noexcept { return m_isStuck; }

private:
    std::vector<std::string> m_prefabs;
    bool m_isStuck = false;
};

} // namespace Kiln::PrefabTool
