#pragma once

#include <core/background_task.h>
#include <core/non_copyable.h>
#include <core/task_manager.h>
#include <tessel_asset_loading/support/world_fixture.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/documents/read_file.h>
#include <tessel_streaming/tracing/tracer.h>

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

using Tessel::GameObjectPrefab;
using Tessel::Streaming::FailureCode;
using Tessel::Streaming::LoadFailure;
using Tessel::Streaming::detail::DocumentLibrary;
using Tessel::Streaming::detail::FileStamp;
using Tessel::Streaming::detail::LoadedFile;
using Tessel::Streaming::detail::Tracer;

/// Occupies the only worker of a task manager until it is opened, so that submitted tasks stay pending.
class TaskGate : NonCopyable {
public:
    explicit TaskGate(TaskManager& manager) {
        manager.addBackgroundTask(makeSmart<Task>(m_state), 1'000'000);
        m_state->isEntered.wait(false);
    }
    ~TaskGate() { open(); }

    void open() {
        m_state->isOpen = true;
        m_state->isOpen.notify_all();
    }

private:
    /// Shared with the task, which may wake up after the gate is gone.
    struct State {
        std::atomic<bool> isEntered = false;
        std::atomic<bool> isOpen = false;
    };

    class Task final : public BackgroundTask {
    public:
        explicit Task(std::shared_ptr<State> state) : BackgroundTask("TaskGate"), m_state(std::move(state)) {}
        using BackgroundTask::doBackgroundTask;
        void doBackgroundTask(TaskManager& /*manager*/) override {
            m_state->isEntered = true;
            m_state->isEntered.notify_all();
            m_state->isOpen.wait(false);
        }

    private:
        std::shared_ptr<State> m_state;
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// A library with two workers of its own. Files that write() makes note their paths when they are read.
class LibraryFixture : public WorldFixture {
protected:
    using NeedId = DocumentLibrary::NeedId;

    LibraryFixture() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) {
            const std::lock_guard lock(m_mutex);
            m_reads.push_back(config.tag);
        };
    }
    ~LibraryFixture() override {
        library.reset();
        EXPECT_TRUE(tasks.waitForIdle(std::chrono::seconds(60)));
    }

    /// Writes a prefab with one object per nested path below its root.
    void write(const std::string& path, const std::vector<std::string>& nested = {}) const {
        PrefabText prefab;
        prefab.component("HookComponent", prefab.root(id(1), "Root"), element("tag", path));
        std::uint64_t number = 1;
        for (const std::string& resource : nested) {
            prefab.nested(id(++number), "Point", id(1), resource);
        }
        writePrefab(path, prefab);
    }

    /// The files that were read, in order.
    [[nodiscard]] std::vector<std::string> reads() const {
        const std::lock_guard lock(m_mutex);
        return m_reads;
    }

    void finishTasks() { ASSERT_TRUE(tasks.waitForIdle(std::chrono::seconds(60))); }

    /// Adds a need of the default priority and waits until it is complete.
    NeedId load(const std::string& path, bool keep = false) {
        const NeedId need = library->add(path, 96, keep);
        finishTasks();
        EXPECT_TRUE(library->isComplete(need)) << path;
        return need;
    }

    [[nodiscard]] std::vector<NeedId> takeCompleted() {
        std::vector<NeedId> completed;
        library->takeCompleted(completed);
        return completed;
    }

    /// The only failure of a file that has been read.
    [[nodiscard]] LoadFailure failureOf(const std::string& path) const {
        const SmartPointer<LoadedFile> file = library->find(path);
        if (!file || file->failures.size() != 1) {
            ADD_FAILURE() << "'" << path << "' has not exactly one failure";
            return {};
        }
        EXPECT_EQ(file->prefab(), nullptr);
        return file->failures.front();
    }

    [[nodiscard]] bool isCached(const std::string& path) const { return service().findSharedPrefab(path) != nullptr; }

    TaskManager tasks{"documents", 2};
    Tracer tracer;
    std::unique_ptr<DocumentLibrary> library = std::make_unique<DocumentLibrary>(service(), tasks, tracer);

private:
    mutable std::mutex m_mutex; ///< Guards the paths.
    std::vector<std::string> m_reads;
};

} // namespace Kiln::TestSupport
