#pragma once

#include <core/non_copyable.h>

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// When output is coloured.
enum class ColorMode {
    AUTO, ///< On a terminal, unless NO_COLOR is set and not empty, or TERM is "dumb" or not set.
    ALWAYS,
    NEVER,
};

/// A colour, or none.
enum class Style { PLAIN, ERROR, WARNING, NOTE, STRONG, WEAK, ADDED };

/// Where a command writes to: results to output(), everything else to errors(). Main thread, except for progress.
class Terminal : NonCopyable {
public:
    /// The streams are terminals if they are std::cout and std::cerr, and the process has terminals there.
    Terminal(std::ostream& output, std::ostream& errors);

    void setColorMode(ColorMode mode);

    /// Suppresses notes and progress; errors of the program itself are still written.
    void setQuiet(bool isQuiet) noexcept { m_isQuiet = isQuiet; }
    [[nodiscard]] bool isQuiet() const noexcept { return m_isQuiet; }

    /// The streams. Progress that is shown at this moment is erased, so that text begins on an empty line.
    [[nodiscard]] std::ostream& output();
    [[nodiscard]] std::ostream& errors();

    /// The text in a colour, if the output is coloured. `text` must be printable already.
    [[nodiscard]] std::string styled(std::string_view text, Style style) const;

    /// The same for a text that is written to errors(), which may be a terminal when output() is not.
    [[nodiscard]] std::string styledForErrors(std::string_view text, Style style) const;

    /// Writes "kiln-prefab: TEXT" to errors(), made printable.
    void reportFailure(std::string_view text);

    /// Writes "note: TEXT" to errors(), made printable, unless quiet.
    void note(std::string_view text);

    /// Shows on one line of errors() how far the work is, if errors() is a terminal and the work has taken half a
    /// second. `total` is 0 if it is not known. One thread at a time.
    void showProgress(std::size_t done, std::size_t total, std::string_view subject);

    /// Whether errors() is a terminal on which a line can be rewritten, and progress is not suppressed.
    [[nodiscard]] bool canShowProgress() const;

    /// Shows a text as the progress at once, if canShowProgress(). Makes it printable.
    void showProgressLine(std::string_view text);

    /// Ends the work that progress was shown for and erases its line.
    void clearProgress();

private:
    using Clock = std::chrono::steady_clock;

    void eraseProgress();

    std::ostream& m_output;
    std::ostream& m_errors;
    Clock::time_point m_nextProgress; ///< No progress is shown before.
    bool m_isOutputTerminal = false;
    bool m_isErrorTerminal = false;
    bool m_isOutputColored = false;
    bool m_isErrorColored = false;
    bool m_isQuiet = false;
    bool m_isProgressShown = false;
};

} // namespace Kiln::PrefabTool
