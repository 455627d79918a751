#pragma once

#include "log_collector.h"

#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabTool {

class Terminal;

/// Writes problems as lines of text to the errors of a terminal and remembers whether there were any.
class Diagnostics {
public:
    Diagnostics(Terminal& terminal, bool isVerbose) : m_terminal(terminal), m_isVerbose(isVerbose) {}

    /// Reports the log of an operation; `subject` names the operation.
    void reportLog(const std::string& subject, const LogRecord& log);

    /// Reports an operation that failed.
    void reportFailure(const std::string& subject, const std::string& reason);

    [[nodiscard]] bool hasFailures() const { return m_hasFailures; }

protected:
    [[nodiscard]] Terminal& terminal() { return m_terminal; }
    [[nodiscard]] bool isVerbose() const { return m_isVerbose; }

    void writeMessage(const LogRecord::Message& message);

    /// Reports an operation that failed for several reasons, the first of which are named.
    void reportFailure(const std::string& subject, const std::vector<std::string>& reasons);

    /// A message's text in one line, without the line end that some messages have.
    [[nodiscard]] static std::string lineOf(std::string_view text);

private:
    Terminal& m_terminal;
    bool m_isVerbose;
    bool m_hasFailures = false;
};

} // namespace Kiln::PrefabTool
