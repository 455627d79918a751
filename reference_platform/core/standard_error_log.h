#pragma once

#include <core/log.h>
#include <core/non_copyable.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kiln::detail {

/// Writes the messages of the engine log to stderr while no sink is installed; see Log for the rules.
///
/// Owner: the log, which guards it with its lock. Allocates nothing, so that it works when memory is exhausted.
class StandardErrorLog : NonCopyable {
public:
    using Clock = std::chrono::steady_clock;

    void write(const LogMessage& message, Clock::time_point now) noexcept;

    /// Writes the counts of all lines that were held back, and forgets the lines.
    void flush() noexcept;

    /// flush() for the lines whose hold has ended.
    void flushDue(Clock::time_point now) noexcept;

    /// Whether lines are held back.
    [[nodiscard]] bool holdsRepeats() const noexcept;

    /// From now on no line is held back.
    void stopFolding() noexcept;

private:
    /// "[severity] text", without a line end.
    struct Line {
        static constexpr std::size_t PREFIX_SIZE = 16;
        static constexpr std::size_t SUFFIX_SIZE = 96;

        [[nodiscard]] std::string_view view() const noexcept { return {bytes.data(), size}; }
        void append(std::string_view text) noexcept;
        void appendNumber(const char* format, std::uint64_t number) noexcept;
        void assign(const LogMessage& message) noexcept;

        std::array<char, PREFIX_SIZE + Log::MAX_LINE_TEXT + SUFFIX_SIZE> bytes;
        std::size_t size = 0;
    };

    struct RecentLine {
        Line line;
        std::size_t hash = 0;
        std::uint64_t repeats = 0;   ///< Since the line was written.
        std::uint64_t lastUse = 0;   ///< 0 when the slot is empty.
        Clock::time_point written{}; ///< Time of the last write in full.
    };

    [[nodiscard]] RecentLine* find(std::size_t hash) noexcept;
    [[nodiscard]] RecentLine& leastRecentlyUsed() noexcept;
    static void forget(RecentLine& recent) noexcept;

    Line m_draft;
    std::array<RecentLine, Log::MAX_RECENT_LINES> m_recent;
    std::uint64_t m_lastUse = 0;
    bool m_isFolding = true;
};

} // namespace Kiln::detail
