#pragma once

#include "instance_record.h"
#include "log_collector.h"

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>

namespace Kiln::PrefabTool {

/// Writes problems as lines of text and remembers whether there were any.
class Diagnostics {
public:
    Diagnostics(std::ostream& stream, bool isVerbose) : m_stream(stream), m_isVerbose(isVerbose) {}

    /// Reports the log of a load and, if the instance was not created or errors were logged, its prefab with the
    /// reasons.
    void reportInstance(const InstanceRecord& record);

    /// Reports the log of an operation other than a load; `subject` names the operation.
    void reportLog(const std::string& subject, const LogRecord& log);

    void reportSkippedComponents(const std::map<std::string, std::size_t>& countsByType);

    /// Reports an operation that failed.
    void reportFailure(const std::string& subject, const std::string& reason);

    [[nodiscard]] bool hasFailures() const { return m_hasFailures; }

private:
    void writeMessage(const LogRecord::Message& message);

    std::ostream& m_stream;
    bool m_isVerbose;
    bool m_hasFailures = false;
};

} // namespace Kiln::PrefabTool
