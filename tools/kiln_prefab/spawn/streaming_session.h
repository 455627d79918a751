#pragma once

#include "progress_output.h"
#include "session.h"

#include <tessel_streaming/load_handle.h>

namespace Kiln::PrefabTool {

/// Loads instances with Tessel::Streaming. All of them share the world; documents stay in the cache from one instance
/// to the next.
class StreamingSession final : public Session {
public:
    StreamingSession(Settings settings, LogCollector& log, ProgressOutput& progress);
    ~StreamingSession() override;

private:
    [[nodiscard]] Tessel::GameObject loadInstance(TimePoint deadline, InstanceRecord& record) override;

    void awaitOutcome(TimePoint deadline, InstanceRecord& record);

    ProgressOutput& m_progress;

    /// The last request; it holds the documents.
    Tessel::Streaming::LoadHandle m_handle;
};

} // namespace Kiln::PrefabTool
