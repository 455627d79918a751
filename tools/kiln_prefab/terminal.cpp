#include "terminal.h"

#include "line_text.h"

#include <cstdlib>
#include <iostream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Kiln::PrefabTool {

namespace {

constexpr std::chrono::milliseconds PROGRESS_DELAY{500};
constexpr std::chrono::milliseconds PROGRESS_PERIOD{100};
constexpr std::size_t DEFAULT_WIDTH = 80; ///< In columns, of a terminal that does not tell its width.

/// Moves to the begin of the line and erases it.
constexpr std::string_view ERASE_LINE = "\r\x1b[K";

[[nodiscard]] std::string_view environmentText(const char* name) {
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing changes the environment.
    return text ? text : "";
}

[[nodiscard]] bool isDumbTerminal() {
    const std::string_view type = environmentText("TERM");
    return type.empty() || type == "dumb";
}

[[nodiscard]] bool isColored(ColorMode mode, bool isTerminal) {
    if (mode == ColorMode::AUTO) {
        return isTerminal && environmentText("NO_COLOR").empty() && !isDumbTerminal();
    }
    return mode == ColorMode::ALWAYS;
}

[[nodiscard]] std::size_t errorsWidth() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) { // NOLINT(*-vararg)
        return DEFAULT_WIDTH;
    }
    return size.ws_col;
}

/// The begin of a printable text that fits into the columns. Characters beyond ASCII count as two columns, since some
/// of them are that wide.
[[nodiscard]] std::string_view cutToWidth(std::string_view text, std::size_t columns) {
    std::size_t used = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        const bool isContinuation = (byte & 0xC0U) == 0x80U;
        used += isContinuation ? 0 : byte < 0x80U ? 1 : 2;
        if (used > columns) {
            return text.substr(0, index);
        }
    }
    return text;
}

[[nodiscard]] std::string_view colorSequence(Style style) {
    switch (style) {
    case Style::PLAIN:
        return "";
    case Style::ERROR:
        return "\x1b[1;31m";
    case Style::WARNING:
        return "\x1b[1;35m";
    case Style::NOTE:
        return "\x1b[1;36m";
    case Style::STRONG:
        return "\x1b[1m";
    case Style::WEAK:
        return "\x1b[2m";
    case Style::ADDED:
        return "\x1b[32m";
    }
    return "";
}

[[nodiscard]] std::string withColor(std::string_view text, Style style) {
    const std::string_view sequence = colorSequence(style);
    std::string result(sequence);
    result += text;
    result += sequence.empty() ? "" : "\x1b[0m";
    return result;
}

} // namespace

Terminal::Terminal(std::ostream& output, std::ostream& errors)
    : m_output(output),
      m_errors(errors),
      m_nextProgress(Clock::now() + PROGRESS_DELAY),
      m_isOutputTerminal(&output == &std::cout && isatty(STDOUT_FILENO) == 1),
      m_isErrorTerminal(&errors == &std::cerr && isatty(STDERR_FILENO) == 1) {
    setColorMode(ColorMode::AUTO);
}

void Terminal::setColorMode(ColorMode mode) {
    m_isOutputColored = isColored(mode, m_isOutputTerminal);
    m_isErrorColored = isColored(mode, m_isErrorTerminal);
}

std::ostream& Terminal::output() {
    eraseProgress();
    return m_output;
}

std::ostream& Terminal::errors() {
    eraseProgress();
    return m_errors;
}

std::string Terminal::styled(std::string_view text, Style style) const {
    return m_isOutputColored ? withColor(text, style) : std::string(text);
}

std::string Terminal::styledForErrors(std::string_view text, Style style) const {
    return m_isErrorColored ? withColor(text, style) : std::string(text);
}

void Terminal::reportFailure(std::string_view text) {
    errors() << PROGRAM_PREFIX << printable(text) << '\n';
}

void Terminal::note(std::string_view text) {
    if (!m_isQuiet) {
        errors() << styledForErrors("note:", Style::NOTE) << ' ' << printable(text) << '\n';
    }
}

void Terminal::showProgress(std::size_t done, std::size_t total, std::string_view subject) {
    const Clock::time_point now = Clock::now();
    if (now < m_nextProgress || !canShowProgress()) {
        return;
    }
    m_nextProgress = now + PROGRESS_PERIOD;
    std::string line = std::to_string(done);
    if (total > 0) {
        line += '/' + std::to_string(total);
    }
    showProgressLine(line + ' ' + std::string(subject));
}

bool Terminal::canShowProgress() const {
    return !m_isQuiet && m_isErrorTerminal && !isDumbTerminal();
}

void Terminal::showProgressLine(std::string_view text) {
    if (!canShowProgress()) {
        return;
    }
    // The last column stays free, because a character there makes some terminals begin a new line.
    m_errors << ERASE_LINE << cutToWidth(printable(text), errorsWidth() - 1) << std::flush;
    m_isProgressShown = true;
}

void Terminal::clearProgress() {
    eraseProgress();
    m_nextProgress = Clock::now() + PROGRESS_DELAY;
}

void Terminal::eraseProgress() {
    if (m_isProgressShown) {
        m_errors << ERASE_LINE << std::flush;
        m_isProgressShown = false;
    }
}

} // namespace Kiln::PrefabTool
