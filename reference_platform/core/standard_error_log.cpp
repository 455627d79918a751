#include <core/printable_text.h>
#include <core/standard_error_log.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <span>
#include <tuple>

namespace Kiln::detail {

namespace {

/// One call per line, so that lines of different processes do not mix.
void writeLine(std::span<char> bytes, std::size_t size) noexcept {
    bytes[size] = '\n';
    std::ignore = std::fwrite(bytes.data(), 1, size + 1, stderr); // A failure can be reported nowhere.
}

} // namespace

void StandardErrorLog::Line::append(std::string_view text) noexcept {
    const std::size_t count = std::min(text.size(), bytes.size() - 1 - size);
    std::copy_n(text.data(), count, bytes.data() + size);
    size += count;
}

void StandardErrorLog::Line::appendNumber(const char* format, std::uint64_t number) noexcept {
    std::array<char, SUFFIX_SIZE / 2> text;
    const int length = std::snprintf(text.data(), text.size(), format, number);
    append({text.data(), std::min(static_cast<std::size_t>(std::max(length, 0)), text.size() - 1)});
}

void StandardErrorLog::Line::assign(const LogMessage& message) noexcept {
    const int prefix = std::snprintf(bytes.data(), PREFIX_SIZE, "[%d] ", message.severity);
    size = static_cast<std::size_t>(prefix);
    std::string_view text = message.text;
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    const PrintableCopy copy = copyPrintable(text, std::span(bytes).subspan(size, Log::MAX_LINE_TEXT));
    size += copy.writtenCount;
    if (copy.readCount < text.size()) {
        appendNumber("… (%" PRIu64 " bytes in all)", text.size());
    }
}

void StandardErrorLog::write(const LogMessage& message, Clock::time_point now) noexcept {
    flushDue(now);
    m_draft.assign(message);
    if (!m_isFolding) {
        writeLine(m_draft.bytes, m_draft.size);
        return;
    }
    const std::size_t hash = std::hash<std::string_view>()(m_draft.view());
    RecentLine* recent = find(hash);
    if (recent) {
        ++recent->repeats;
    } else {
        recent = &leastRecentlyUsed();
        forget(*recent);
        recent->line.size = 0;
        recent->line.append(m_draft.view());
        recent->hash = hash;
        recent->written = now;
        writeLine(m_draft.bytes, m_draft.size);
    }
    recent->lastUse = ++m_lastUse;
}

void StandardErrorLog::flush() noexcept {
    for (RecentLine& recent : m_recent) {
        forget(recent);
    }
}

void StandardErrorLog::flushDue(Clock::time_point now) noexcept {
    for (RecentLine& recent : m_recent) {
        if (recent.lastUse != 0 && now - recent.written >= Log::REPEAT_PERIOD) {
            forget(recent);
        }
    }
}

bool StandardErrorLog::holdsRepeats() const noexcept {
    return std::any_of(m_recent.begin(), m_recent.end(),
                       [](const RecentLine& recent) { return recent.lastUse != 0 && recent.repeats != 0; });
}

void StandardErrorLog::stopFolding() noexcept {
    flush();
    m_isFolding = false;
}

StandardErrorLog::RecentLine* StandardErrorLog::find(std::size_t hash) noexcept {
    const auto found = std::find_if(m_recent.begin(), m_recent.end(), [&](const RecentLine& recent) {
        return recent.lastUse != 0 && recent.hash == hash && recent.line.view() == m_draft.view();
    });
    return found == m_recent.end() ? nullptr : &*found;
}

StandardErrorLog::RecentLine& StandardErrorLog::leastRecentlyUsed() noexcept {
    return *std::min_element(m_recent.begin(), m_recent.end(),
                             [](const RecentLine& a, const RecentLine& b) { return a.lastUse < b.lastUse; });
}

/// Empties a slot; if the line was repeated, writes it once more with the count.
void StandardErrorLog::forget(RecentLine& recent) noexcept {
    if (recent.lastUse != 0 && recent.repeats != 0) {
        recent.line.appendNumber(recent.repeats == 1 ? " (repeated %" PRIu64 " time)" : " (repeated %" PRIu64 " times)",
                                 recent.repeats);
        writeLine(recent.line.bytes, recent.line.size);
    }
    recent.repeats = 0;
    recent.lastUse = 0;
}

} // namespace Kiln::detail
