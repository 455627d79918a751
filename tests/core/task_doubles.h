#pragma once

#include <core/background_task.h>
#include <core/smart_pointer.h>
#include <core/task_manager.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Kiln::Tests {

/// Counts of what happened to the tasks of a test.
struct TaskCounts {
    std::atomic<int> ran = 0;
    std::atomic<int> stopped = 0;
    std::atomic<int> cancelled = 0;
    std::atomic<int> ranOnMainThread = 0;
    std::atomic<int> destroyed = 0;
};

/// Runs a function and counts how the task ends.
class FunctionTask : public BackgroundTask {
public:
    using Function = std::function<void(TaskManager&)>;

    explicit FunctionTask(TaskCounts& counts, Function function = {})
        : BackgroundTask("FunctionTask"), m_counts(counts), m_function(std::move(function)) {}
    ~FunctionTask() override { ++m_counts.destroyed; }

    using BackgroundTask::requestMainThreadTask;

    using BackgroundTask::doBackgroundTask;
    void doBackgroundTask(TaskManager& manager) override {
        ++m_counts.ran;
        if (m_function) {
            m_function(manager);
        }
    }

    void doMainThreadTask(TaskManager& manager) override {
        ++m_counts.ranOnMainThread;
        if (onMainThread) {
            onMainThread(manager);
        }
    }

    void stop() override { ++m_counts.stopped; }

    void cancel(TaskManager& manager) override {
        ++m_counts.cancelled;
        if (onCancel) {
            onCancel(manager);
        }
    }

    Function onMainThread;
    Function onCancel;

private:
    TaskCounts& m_counts;
    Function m_function;
};

/// Holds workers inside tasks until the test opens the gate, at the latest at its end. Declared after the manager, so
/// that the gate is open when the manager waits for its workers.
class Gate {
public:
    /// A task calls this to wait for the opening; it may outlive the gate.
    class Waiter {
    public:
        explicit Waiter(std::shared_ptr<const std::atomic<bool>> isOpen) : m_isOpen(std::move(isOpen)) {}
        void wait() const { m_isOpen->wait(false); }

    private:
        std::shared_ptr<const std::atomic<bool>> m_isOpen;
    };

    ~Gate() { open(); }

    /// Adds a task that waits at the gate and returns once a worker is in it.
    void occupyWorker(TaskManager& manager, TaskCounts& counts, int priority = 0) const {
        auto entered = std::make_shared<std::latch>(1);
        manager.addBackgroundTask(makeSmart<FunctionTask>(counts,
                                                          [waiter = waiter(), entered](TaskManager&) {
                                                              entered->count_down();
                                                              waiter.wait();
                                                          }),
                                  priority);
        entered->wait();
    }

    [[nodiscard]] Waiter waiter() const { return Waiter(m_isOpen); }

    void open() {
        *m_isOpen = true;
        m_isOpen->notify_all();
    }

private:
    std::shared_ptr<std::atomic<bool>> m_isOpen = std::make_shared<std::atomic<bool>>(false);
};

/// A list that several threads append to.
template <class T>
class Record {
public:
    void add(T value) {
        const std::lock_guard lock(m_mutex);
        m_values.push_back(std::move(value));
    }

    [[nodiscard]] std::vector<T> values() const {
        const std::lock_guard lock(m_mutex);
        return m_values;
    }

private:
    mutable std::mutex m_mutex; // guards m_values
    std::vector<T> m_values;
};

/// Far longer than any test takes; only a failing test waits for it.
inline constexpr std::chrono::seconds LONG_TIME(60);

} // namespace Kiln::Tests
