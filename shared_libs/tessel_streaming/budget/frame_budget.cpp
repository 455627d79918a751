#include <tessel_streaming/budget/frame_budget.h>

#include <tessel_streaming/streaming.h>

#include <algorithm>

namespace Kiln::Tessel::Streaming::detail {

namespace {

using std::chrono::microseconds;

[[nodiscard]] microseconds toMicroseconds(FrameBudget::Clock::duration duration) noexcept {
    return std::chrono::duration_cast<microseconds>(duration);
}

} // namespace

FrameBudget::FrameBudget() : m_budget(DEFAULT_FRAME_BUDGET) {
    m_used.reserve(Statistics::FRAME_WINDOW); // So that frames allocate nothing.
}

void FrameBudget::beginFrame() noexcept {
    ++m_frame;
    m_isOverrunNoted = false;
    // An hour is as good as no limit, and does not overflow the clock.
    m_isLimited = m_budget < std::chrono::hours(1);
    m_begin = Clock::now();
    m_end = m_begin + (m_isLimited ? std::max(m_budget, microseconds(0)) : microseconds(0));
}

void FrameBudget::endFrame(bool hasWorked) noexcept {
    if (!hasWorked) {
        return;
    }
    const auto used = static_cast<std::uint32_t>(
        std::min<microseconds::rep>(toMicroseconds(Clock::now() - m_begin).count(), UINT32_MAX));
    if (m_used.size() < Statistics::FRAME_WINDOW) {
        m_used.push_back(used);
    } else {
        m_used[m_nextUsed] = used;
        m_nextUsed = (m_nextUsed + 1) % Statistics::FRAME_WINDOW;
    }
}

Tessel::detail::Deadline FrameBudget::deadlineFor(Clock::duration predictedUnit) const noexcept {
    return m_isLimited ? Tessel::detail::Deadline(m_end - predictedUnit) : Tessel::detail::Deadline();
}

void FrameBudget::noteStep(std::string_view path, std::string_view step) {
    if (!m_isLimited || m_isOverrunNoted) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now <= m_end) {
        return;
    }
    m_isOverrunNoted = true;
    ++m_overrunsCount;
    if (m_overruns.size() < Statistics::MAX_OVERRUNS) {
        m_overruns.emplace_back();
        m_nextOverrun = m_overruns.size() - 1;
    }
    BudgetOverrun& overrun = m_overruns[m_nextOverrun];
    overrun.path = path;
    overrun.step = step;
    overrun.excess = toMicroseconds(now - m_end);
    overrun.frame = m_frame;
    m_nextOverrun = (m_nextOverrun + 1) % Statistics::MAX_OVERRUNS;
}

void FrameBudget::fill(Statistics& statistics) const {
    statistics.frames = m_frame;
    statistics.budget = m_budget;
    statistics.overrunsCount = m_overrunsCount;
    std::vector<std::uint32_t> used = m_used;
    std::sort(used.begin(), used.end());
    if (!used.empty()) {
        // The smallest values that half and 99 % of the frames do not exceed.
        statistics.usedMedian = microseconds(used[(used.size() - 1) / 2]);
        statistics.used99thPercentile = microseconds(used[(used.size() * 99 + 99) / 100 - 1]);
        statistics.usedMaximum = microseconds(used.back());
    }
    const bool isRing = m_overruns.size() == Statistics::MAX_OVERRUNS;
    for (std::size_t i = 0; i < m_overruns.size(); ++i) {
        statistics.overruns.push_back(m_overruns[isRing ? (m_nextOverrun + i) % m_overruns.size() : i]);
    }
}

} // namespace Kiln::Tessel::Streaming::detail
