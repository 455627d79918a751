#pragma once

#include <core/non_copyable.h>
#include <tessel_asset_loading/game_object_prefab/deadline.h>
#include <tessel_streaming/export.h>
#include <tessel_streaming/statistics.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// The main-thread time that one frame may take, and a record of what the frames have taken.
///
/// Owner: the service. Main thread.
class KILN_TESSEL_STREAMING_EXPORT FrameBudget : NonCopyable {
public:
    using Clock = std::chrono::steady_clock;

    FrameBudget();

    void set(std::chrono::microseconds budget) noexcept { m_budget = budget; }
    [[nodiscard]] std::chrono::microseconds get() const noexcept { return m_budget; }

    void beginFrame() noexcept;

    /// `hasWorked` is whether the frame did anything; only such frames count for the statistics.
    void endFrame(bool hasWorked) noexcept;
    [[nodiscard]] std::uint64_t frame() const noexcept { return m_frame; }

    [[nodiscard]] bool isLimited() const noexcept { return m_isLimited; }

    /// Whether a step that is predicted to take that long fits into what is left.
    [[nodiscard]] bool hasRoomFor(Clock::duration predicted) const noexcept {
        return !m_isLimited || Clock::now() + predicted <= m_end;
    }

    /// The moment at which work in units of that predicted duration has to pause.
    [[nodiscard]] Tessel::detail::Deadline deadlineFor(Clock::duration predictedUnit) const noexcept;

    /// Counts a step that has just ended as an overrun if it exceeded the budget. `path` and `step` name it.
    void noteStep(std::string_view path, std::string_view step);

    void fill(Statistics& statistics) const;

private:
    std::chrono::microseconds m_budget;
    bool m_isLimited = true;
    Clock::time_point m_begin;
    Clock::time_point m_end;
    std::uint64_t m_frame = 0;
    bool m_isOverrunNoted = false; ///< In this frame.

    std::vector<std::uint32_t> m_used; ///< Microseconds of the last frames that had work; a ring.
    std::size_t m_nextUsed = 0;
    std::uint64_t m_overrunsCount = 0;
    std::vector<BudgetOverrun> m_overruns; ///< A ring of MAX_OVERRUNS.
    std::size_t m_nextOverrun = 0;
};

/// Predicts what one unit of a kind of work costs, from the units before it.
class UnitCost {
public:
    using Duration = std::chrono::steady_clock::duration;

    /// Twice the weighted average, so that most units stay below it.
    [[nodiscard]] Duration predicted() const noexcept { return Duration(static_cast<Duration::rep>(2 * m_average)); }

    void note(Duration elapsed, std::size_t units) noexcept {
        if (units > 0) {
            const double cost = static_cast<double>(elapsed.count()) / static_cast<double>(units);
            m_average = m_average == 0 ? cost : m_average + (cost - m_average) / 8;
        }
    }

private:
    double m_average = 0; ///< In ticks of the clock.
};

} // namespace Kiln::Tessel::Streaming::detail
