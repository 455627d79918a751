#pragma once

#include <core/background_task.h>
#include <core/smart_pointer.h>
#include <core/task_manager.h>

#include <utility>

namespace Kiln::Tessel::Streaming::detail {

/// Destroys a value on a worker: something so large that a frame would feel it.
template <class Value>
class DisposalTask final : public BackgroundTask {
public:
    static constexpr int PRIORITY = 0; ///< Below everything that somebody waits for.

    explicit DisposalTask(Value value) : BackgroundTask("StreamingDisposalTask"), m_value(std::move(value)) {}

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& /*manager*/) override { const Value destroyed = std::move(m_value); }

private:
    Value m_value;
};

/// Lets a worker destroy a value, or destroys it here if no task can be made.
template <class Value>
void disposeOnWorker(TaskManager& tasks, Value value) noexcept {
    try {
        tasks.addBackgroundTask(makeSmart<DisposalTask<Value>>(std::move(value)), DisposalTask<Value>::PRIORITY);
    } catch (...) { // NOLINT(bugprone-empty-catch): the task was destroyed with the value.
    }
}

} // namespace Kiln::Tessel::Streaming::detail
