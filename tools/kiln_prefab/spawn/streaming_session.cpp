#include "streaming_session.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <tessel_streaming/streaming.h>

#include <utility>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;
using Tessel::EntryPoint;
using Tessel::GameObject;
namespace Streaming = Tessel::Streaming;

} // namespace

StreamingSession::StreamingSession(Settings settings, LogCollector& log, ProgressOutput& progress)
    : Session(std::move(settings), log), m_progress(progress) {}

StreamingSession::~StreamingSession() {
    m_handle = {};
    close();
    if (!isStuck()) {
        EntryPoint::instance().tick(); // Drops the documents that the handle has held.
    }
}

GameObject StreamingSession::loadInstance(TimePoint deadline, InstanceRecord& record) {
    record.failures.emplace();
    Streaming::LoadOptions options;
    options.parent = parent();
    options.instanceUuid = record.instanceUuid;
    m_handle = Streaming::load(settings().prefab, worldId(), std::move(options));
    awaitOutcome(deadline, record);

    const Streaming::LoadResult& result = m_handle.result();
    record.failures = result.failures;
    return result.root();
}

void StreamingSession::awaitOutcome(TimePoint deadline, InstanceRecord& record) {
    TaskManager& background = FileIOTaskManager::instance();
    for (;;) {
        m_progress.show(settings().prefab, m_handle);
        if (m_handle.isFinished()) {
            return;
        }
        EntryPoint::instance().tick();
        ++record.frames;
        if (!m_handle.isFinished() && Clock::now() >= deadline) {
            record.problem = timeoutText();
            m_handle.cancel();
            continue;
        }
        background.waitForIdle(FRAME_PAUSE);
    }
}

} // namespace Kiln::PrefabTool
