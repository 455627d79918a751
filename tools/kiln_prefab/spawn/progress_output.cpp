#include "progress_output.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/terminal.h>

#include <cstddef>
#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using Tessel::Streaming::LoadHandle;
using Tessel::Streaming::LoadPhase;
using Tessel::Streaming::LoadProgress;
using Tessel::Streaming::LoadState;

constexpr std::chrono::milliseconds BAR_PERIOD{50};
constexpr std::size_t BAR_CELLS = 20;

[[nodiscard]] std::string ratioText(std::size_t done, std::size_t total) {
    return std::to_string(done) + " of " + std::to_string(total);
}

/// Such as "reading, 3 of 9 files".
[[nodiscard]] std::string phaseText(const LoadProgress& progress) {
    switch (progress.phase) {
    case LoadPhase::WAITING:
        return "waiting";
    case LoadPhase::READING:
        return "reading, " + ratioText(progress.filesRead, progress.filesTotal) + " files";
    case LoadPhase::CREATING:
        return "creating, " + ratioText(progress.objectsCreated, progress.objectsTotal) + " objects";
    case LoadPhase::ACTIVATING:
        return "activating";
    }
    return {};
}

[[nodiscard]] std::string stateText(LoadState state, const LoadProgress& progress) {
    switch (state) {
    case LoadState::PENDING:
        return phaseText(progress);
    case LoadState::SUCCEEDED:
        return "succeeded, " + counted(progress.filesTotal, "file") + ", " + counted(progress.objectsTotal, "object");
    case LoadState::FAILED:
        return "failed";
    case LoadState::CANCELLED:
        return "cancelled";
    }
    return {};
}

[[nodiscard]] std::string bar(double ratio) {
    const auto full = static_cast<std::size_t>(ratio * static_cast<double>(BAR_CELLS));
    std::string percent = std::to_string(static_cast<int>(ratio * 100));
    percent.insert(0, 3 - percent.size(), ' ');
    return "[" + std::string(full, '#') + std::string(BAR_CELLS - full, '-') + "] " + percent + " %";
}

} // namespace

void ProgressOutput::show(const std::string& prefab, const LoadHandle& handle) {
    if (!m_isOn) {
        return;
    }
    if (m_request != handle.number()) {
        m_request = handle.number();
        m_phase.reset();
    }
    if (m_terminal.canShowProgress()) {
        showBar(prefab, handle);
    } else {
        showLine(prefab, handle);
    }
}

void ProgressOutput::showLine(const std::string& prefab, const LoadHandle& handle) {
    // Read once: a worker may begin the next phase at any moment.
    const LoadProgress progress = handle.progress();
    if (!handle.isFinished() && m_phase == progress.phase) {
        return;
    }
    m_phase = progress.phase;
    m_terminal.errors() << printable(prefab) << ": " << stateText(handle.state(), progress) << std::endl;
}

void ProgressOutput::showBar(const std::string& prefab, const LoadHandle& handle) {
    const LoadProgress progress = handle.progress();
    const Clock::time_point now = Clock::now();
    if (handle.isFinished()) {
        m_terminal.clearProgress();
        return;
    }
    if (m_phase == progress.phase && now < m_nextBar) {
        return;
    }
    m_phase = progress.phase;
    m_nextBar = now + BAR_PERIOD;
    m_terminal.showProgressLine(bar(progress.ratio) + ' ' + prefab + ": " + phaseText(progress));
}

} // namespace Kiln::PrefabTool
