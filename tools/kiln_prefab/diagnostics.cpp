#include "diagnostics.h"

#include "line_text.h"
#include "terminal.h"

#include <core/log.h>

#include <cstddef>
#include <ostream>

namespace Kiln::PrefabTool {

namespace {

/// Maximum number of different errors that the line with the subject's name repeats.
constexpr std::size_t MAX_REASONS = 10;

[[nodiscard]] std::string joined(const std::vector<std::string>& reasons) {
    std::string text;
    for (std::size_t i = 0; i < reasons.size() && i < MAX_REASONS; ++i) {
        text += (i == 0 ? "" : "; ") + reasons[i];
    }
    if (reasons.size() > MAX_REASONS) {
        text += "; and " + std::to_string(reasons.size() - MAX_REASONS) + " more";
    }
    return text;
}

} // namespace

void Diagnostics::reportLog(const std::string& subject, const LogRecord& log) {
    std::vector<std::string> reasons;
    for (const LogRecord::Message& message : log.messages) {
        writeMessage(message);
        if (message.isError()) {
            reasons.push_back(lineOf(message.text));
        }
    }
    if (!reasons.empty()) {
        reportFailure(subject, reasons);
    }
}

void Diagnostics::reportFailure(const std::string& subject, const std::string& reason) {
    m_terminal.errors() << PROGRAM_PREFIX << printable(subject) << ": " << printable(reason) << '\n';
    m_hasFailures = true;
}

void Diagnostics::reportFailure(const std::string& subject, const std::vector<std::string>& reasons) {
    reportFailure(subject, joined(reasons));
}

void Diagnostics::writeMessage(const LogRecord::Message& message) {
    std::ostream& stream = m_terminal.errors();
    if (message.isError()) {
        stream << m_terminal.styledForErrors("error:", Style::ERROR);
    } else if (message.severity == LogSeverity::WARNING) {
        stream << m_terminal.styledForErrors("warning:", Style::WARNING);
    } else if (m_isVerbose) {
        stream << m_terminal.styledForErrors("info:", Style::NOTE);
    } else {
        return;
    }
    stream << ' ' << lineOf(message.text);
    if (message.count > 1) {
        stream << " (" << message.count << " times)";
    }
    stream << '\n';
}

std::string Diagnostics::lineOf(std::string_view text) {
    while (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    return printable(text);
}

} // namespace Kiln::PrefabTool
