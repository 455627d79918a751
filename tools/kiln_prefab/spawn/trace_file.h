#pragma once

#include <core/non_copyable.h>
#include <tessel_streaming/tracing.h>

#include <fstream>
#include <optional>
#include <string>

namespace Kiln::PrefabTool {

/// Writes the trace of the streaming layer to a file, from its construction to its end.
///
/// Failure: open() and close() return a problem as a sentence without full stop, empty if there is none.
class TraceFile : NonCopyable {
public:
    TraceFile() = default;
    ~TraceFile();

    [[nodiscard]] std::string open(const std::string& path);

    /// Ends the trace. Does nothing if it is not open.
    [[nodiscard]] std::string close();

private:
    std::string m_path;
    std::ofstream m_stream;
    std::optional<Tessel::Streaming::ChromeTraceWriter> m_writer;
};

} // namespace Kiln::PrefabTool
