#include "trace_file.h"

#include <tessel_streaming/streaming.h>

#include <cerrno>
#include <system_error>
#include <tuple>

namespace Kiln::PrefabTool {

namespace Streaming = Tessel::Streaming;

TraceFile::~TraceFile() {
    std::ignore = close();
}

std::string TraceFile::open(const std::string& path) {
    m_path = path;
    errno = 0;
    m_stream.open(path, std::ios::binary | std::ios::trunc);
    if (!m_stream) {
        return "cannot write the trace '" + path + "': " + std::generic_category().message(errno);
    }
    m_writer.emplace(m_stream);
    Streaming::setTraceHook([this](const Streaming::TraceEvent& event) { m_writer->write(event); });
    return {};
}

std::string TraceFile::close() {
    if (!m_writer) {
        return {};
    }
    Streaming::setTraceHook({});
    m_writer.reset();
    m_stream.close();
    return m_stream ? std::string() : "writing the trace '" + m_path + "' failed";
}

} // namespace Kiln::PrefabTool
