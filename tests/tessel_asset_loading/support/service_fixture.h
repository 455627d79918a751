#pragma once

#include <core/background_task.h>
#include <core/non_copyable.h>
#include <core/stack_tracker.h>
#include <tessel_asset_loading/object_loaded_callback.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {

/// Recorded calls in order. Shared, because a callback stays in the service's queue if its load never finishes.
using Events = std::shared_ptr<std::vector<std::string>>;

/// The trail of the current thread as "function (file)", outermost first.
[[nodiscard]] inline std::vector<std::string> currentTrail() {
    std::vector<std::string> trail;
    for (const StackTracker::Entry& entry : StackTracker::current()) {
        trail.push_back(std::string(entry.function) + " (" + entry.file + ")");
    }
    return trail;
}

/// The trail's entry of an operation of the service.
[[nodiscard]] inline std::string serviceEntry(const std::string& operation) {
    return "Kiln::Tessel::PrefabService::" + operation + " (shared_libs\\tessel_asset_loading\\prefab_component)";
}

/// Records the calls of the service and runs the hooks of the test.
class RecordingCallback final : public IObjectLoadedCallback {
public:
    using Hook = std::function<void(Tessel::GameObject root, Tessel::GameObjectManager& manager)>;

    RecordingCallback(std::string name, Events events) : m_name(std::move(name)), m_events(std::move(events)) {}
    ~RecordingCallback() override { m_events->push_back(m_name + ": destroyed"); }

    bool onPreactivate(Tessel::GameObject object, Tessel::GameObjectManager& manager) override {
        note("onPreactivate", object, manager, atPreactivate);
        return isActivationWanted;
    }
    void onObjectLoaded(Tessel::GameObject object, Tessel::GameObjectManager& manager) override {
        note("onObjectLoaded", object, manager, atLoaded);
    }
    void onObjectLoadedIntoHierarchy(Tessel::GameObject object, Tessel::GameObjectManager& manager) override {
        note("onObjectLoadedIntoHierarchy", object, manager, atLoadedIntoHierarchy);
    }
    void releaseCallback() override { m_events->push_back(m_name + ": releaseCallback"); }

    bool isActivationWanted = true;
    Hook atPreactivate;
    Hook atLoaded;
    Hook atLoadedIntoHierarchy;
    Tessel::GameObject root; ///< Of the last call.

private:
    void note(const char* operation, Tessel::GameObject object, Tessel::GameObjectManager& manager, const Hook& hook) {
        root = object;
        m_events->push_back(m_name + ": " + operation);
        if (hook) {
            hook(object, manager);
        }
    }

    std::string m_name;
    Events m_events;
};

/// Blocks the file-I/O workers, reduced to one during its lifetime, so that submitted tasks stay pending.
class WorkerGate : NonCopyable {
public:
    WorkerGate() {
        FileIOTaskManager::instance().setThreadCount(1);
        FileIOTaskManager::instance().addBackgroundTask(makeSmart<Task>(*this), 1'000'000);
        m_isEntered.wait(false);
    }
    ~WorkerGate() {
        open();
        EXPECT_TRUE(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)));
        FileIOTaskManager::instance().setThreadCount(2);
    }

    void open() {
        m_isOpen = true;
        m_isOpen.notify_all();
    }

    /// Tasks that have been submitted since.
    [[nodiscard]] static std::size_t pendingTasks() { return FileIOTaskManager::instance().unfinishedTasks() - 1; }

private:
    class Task final : public BackgroundTask {
    public:
        explicit Task(WorkerGate& gate) : BackgroundTask("WorkerGate"), m_gate(gate) {}
        using BackgroundTask::doBackgroundTask;
        void doBackgroundTask(TaskManager& /*manager*/) override {
            m_gate.m_isEntered = true;
            m_gate.m_isEntered.notify_all();
            m_gate.m_isOpen.wait(false);
        }

    private:
        WorkerGate& m_gate;
    };

    std::atomic<bool> m_isEntered = false;
    std::atomic<bool> m_isOpen = false;
};

/// Loads through the service itself, without the functions of Loading.
class ServiceFixture : public WorldFixture {
protected:
    [[nodiscard]] SmartPointer<RecordingCallback> makeCallback(const std::string& name) const {
        return makeSmart<RecordingCallback>(name, m_events);
    }
    [[nodiscard]] const std::vector<std::string>& events() const { return *m_events; }

    /// A file with one object; a root that is not active by default has the flag 1.
    void writeRoot(const std::string& path, const std::string& name, unsigned flags = 0) const {
        PrefabText prefab;
        prefab.root(id(1), name, flags);
        writePrefab(path, prefab);
    }

    /// Like writeRoot, with a HookComponent.
    void writeHookedRoot(const std::string& path, const std::string& name) const {
        PrefabText prefab;
        prefab.component("HookComponent", prefab.root(id(1), name), element("tag", name));
        writePrefab(path, prefab);
    }

    void load(const std::string& path, const Uuid& uuid = id(100),
              const SmartPointer<IObjectLoadedCallback>& callback = nullptr) const {
        service().loadGameObject(path, worldId, uuid, callback, nullptr);
    }
    void loadSection(const SmartPointer<DataSection>& section, const Uuid& uuid = id(100),
                     const SmartPointer<IObjectLoadedCallback>& callback = nullptr) const {
        service().loadGameObject(section, worldId, uuid, callback, nullptr);
    }

    /// Waits for the workers, then runs one frame.
    static void finishLoads() {
        waitForWorkers();
        tick();
    }

    /// Instance UUIDs of the loaders that this test queued, in the order of the queue.
    [[nodiscard]] std::vector<Uuid> queued() const {
        std::vector<Uuid> uuids;
        for (std::size_t i = m_oldLoaders; i < service().loadingQueue().size(); ++i) {
            uuids.push_back(service().loadingQueue()[i].uuid);
        }
        return uuids;
    }

    /// The descriptor of the loader that was queued last; it receives the document.
    [[nodiscard]] static Tessel::DescriptorCacheData& lastDescriptor() {
        return *service().loadingQueue().back().descriptor;
    }

    /// Number of descriptor requests of this test that have not been answered.
    [[nodiscard]] std::size_t requestsCount() const { return service().descriptorRequestsCount() - m_oldRequests; }

private:
    Events m_events = std::make_shared<std::vector<std::string>>();
    std::size_t m_oldLoaders = service().loadingQueue().size();
    std::size_t m_oldRequests = service().descriptorRequestsCount();
};

} // namespace Kiln::TestSupport
