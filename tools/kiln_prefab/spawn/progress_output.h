#pragma once

#include <core/non_copyable.h>
#include <tessel_streaming/load_handle.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Kiln::PrefabTool {

class Terminal;

/// Shows how far a load is: on a terminal in a bar on one line that is rewritten, otherwise with one line for each
/// phase and for the outcome. Writes to the errors of the terminal.
class ProgressOutput : NonCopyable {
public:
    /// Shows nothing unless `isOn`.
    ProgressOutput(Terminal& terminal, bool isOn) : m_terminal(terminal), m_isOn(isOn) {}

    /// Call it once per frame while the request is pending, and once when it is finished.
    void show(const std::string& prefab, const Tessel::Streaming::LoadHandle& handle);

private:
    using Clock = std::chrono::steady_clock;
    using LoadPhase = Tessel::Streaming::LoadPhase;

    void showLine(const std::string& prefab, const Tessel::Streaming::LoadHandle& handle);
    void showBar(const std::string& prefab, const Tessel::Streaming::LoadHandle& handle);

    Terminal& m_terminal;
    bool m_isOn;
    std::uint64_t m_request = 0;      ///< Number of the last request.
    std::optional<LoadPhase> m_phase; ///< Of the last line; empty if nothing was shown of the request.
    Clock::time_point m_nextBar;      ///< The bar is not rewritten before, except in another phase.
};

} // namespace Kiln::PrefabTool
