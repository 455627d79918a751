#pragma once

#include "instance_record.h"
#include "log_collector.h"

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// A text fit for one line of a terminal: control characters become \xNN.
[[nodiscard]] std::string printable(std::string_view text);

/// Tells, in lines of text, what went wrong, and remembers whether anything did.
class Diagnostics {
public:
    Diagnostics(std::ostream& stream, bool isVerbose) : m_stream(stream), m_isVerbose(isVerbose) {}

    /// The log of a load and, when the instance was not created or errors were reported, which prefab it was and why.
    void reportInstance(const InstanceRecord& record);

    /// The log of what is no load; `subject` says of what.
    void reportLog(const std::string& subject, const LogRecord& log);

    void reportSkippedComponents(const std::map<std::string, std::size_t>& countsByType);

    /// Something that could not be done.
    void reportFailure(const std::string& subject, const std::string& reason);

    [[nodiscard]] bool hasFailures() const { return m_hasFailures; }

private:
    void writeMessage(const LogRecord::Message& message);

    std::ostream& m_stream;
    bool m_isVerbose;
    bool m_hasFailures = false;
};

} // namespace Kiln::PrefabTool
