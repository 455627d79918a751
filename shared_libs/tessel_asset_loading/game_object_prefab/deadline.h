#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

namespace Kiln::Tessel::detail {

/// The moment at which a piece of work pauses. The default is no deadline: the work does not pause.
///
/// The work asks after each of its units. Reading the clock takes as long as some units do, so that while much time is
/// left in terms of the units before, most questions are answered without reading it.
///
/// Threads: one at a time.
class Deadline {
public:
    constexpr Deadline() noexcept = default;
    explicit Deadline(std::chrono::steady_clock::time_point moment) noexcept : m_moment(moment) {}

    [[nodiscard]] bool isSet() const noexcept { return m_moment.has_value(); }

    [[nodiscard]] bool hasPassed() const noexcept {
        if (!m_moment) {
            return false;
        }
        if (m_skipped < m_skips) {
            ++m_skipped;
            return false;
        }
        return readClock();
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr Clock::rep MAX_SKIPS = 15;

    /// Skipped questions may take this part of the time that is left.
    static constexpr Clock::rep PART = 8;

    [[nodiscard]] bool readClock() const noexcept {
        const Clock::time_point now = Clock::now();
        if (now >= *m_moment) {
            m_skips = 0;
            m_skipped = 0;
            return true;
        }
        if (m_lastRead) {
            const Clock::rep unit = std::max<Clock::rep>((now - *m_lastRead).count() / (m_skips + 1), 1);
            m_skips = std::min(MAX_SKIPS, (*m_moment - now).count() / (unit * PART));
        }
        m_skipped = 0;
        m_lastRead = now;
        return false;
    }

    std::optional<Clock::time_point> m_moment;
    mutable std::optional<Clock::time_point> m_lastRead;
    mutable Clock::rep m_skips = 0; ///< Questions to answer without reading the clock.
    mutable Clock::rep m_skipped = 0;
};

} // namespace Kiln::Tessel::detail
