#pragma once

#include <core/smart_pointer.h>
#include <core/task_manager.h>
#include <object_framework/service.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/budget/frame_budget.h>
#include <tessel_streaming/documents/document_library.h>
#include <tessel_streaming/instances/instance_job.h>
#include <tessel_streaming/instances/removal_list.h>
#include <tessel_streaming/requests/load_request.h>
#include <tessel_streaming/requests/request_lanes.h>
#include <tessel_streaming/statistics.h>
#include <tessel_streaming/tracing/tracer.h>
#include <tessel_streaming/updates/live_updates.h>

#include <coroutine>
#include <cstdint>
#include <deque>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

/// The framework service behind the functions of Streaming: it takes requests through their stages, once per frame.
///
/// A request needs files (DocumentLibrary), then its instances are created one after the other (InstanceJob), and then
/// it reports in its turn (RequestLanes). Everything that takes time is done in tick(), within the budget.
///
/// Owner: EntryPoint. Main thread. Everything may be called while it works: lists are read again after each step, and a
/// request that is stepping disposes of its own job.
class KILN_TESSEL_STREAMING_EXPORT StreamingService final : public IService {
public:
    StreamingService(PrefabService& prefabs, TaskManager& tasks);
    ~StreamingService() override;

    /// The process's service; null before it is registered and after it has ended.
    [[nodiscard]] static StreamingService* find();

    void init() override {}
    void fini() override;
    void tick() override;
    void postTick() override {}
    void onWorldDestroyed(int worldId) override;

    [[nodiscard]] LoadHandle request(LoadOrder order, CompletionFunction completed);
    void cancel(const SmartPointer<LoadRequest>& request);
    void setPriority(const SmartPointer<LoadRequest>& request, int priority);
    std::uint64_t addWaiter(const SmartPointer<LoadRequest>& request, CompletionFunction function,
                            std::coroutine_handle<> coroutine);
    void onLastHandleDropped(const SmartPointer<LoadRequest>& request);

    /// Called by the destructor of a request.
    void forget(const LoadRequest& request) noexcept { m_all.erase(request.number()); }

    /// Fills in what the progress of a request tells about files.
    void addReading(const LoadRequest& request, LoadProgress& progress) const noexcept;

    [[nodiscard]] FrameBudget& budget() noexcept { return m_budget; }
    [[nodiscard]] DocumentLibrary& documents() noexcept { return m_documents; }
    [[nodiscard]] LiveUpdates& updates() noexcept { return m_updates; }
    [[nodiscard]] Tracer& tracer() noexcept { return m_tracer; }
    [[nodiscard]] Statistics statistics() const;

private:
    using Stage = LoadRequest::Stage;

    /// Orders the requests whose instances are created: by priority, and a waiting request gains one level of priority
    /// whenever REQUESTS_PER_LEVEL others were made after it.
    using Rank = std::pair<std::int64_t, std::uint64_t>;
    static constexpr std::int64_t REQUESTS_PER_LEVEL = 16;
    [[nodiscard]] static Rank rankOf(const LoadRequest& request) noexcept;

    /// Number of frames between two checks for followed instances that nobody has a handle of.
    static constexpr std::uint64_t FOLLOWER_CHECK_PERIOD = 32;

    // The parts of a frame. Each returns whether it has done anything.
    bool collectReadFiles();
    bool callLateWaiters();
    bool report();
    bool removeObjects();
    bool createInstances();

    void addNeeds(const SmartPointer<LoadRequest>& request, const std::vector<std::string>& paths);
    void onFilesRead(const SmartPointer<LoadRequest>& request);
    void stepInstance(const SmartPointer<LoadRequest>& request);
    void startInstance(LoadRequest& request);
    InstanceJob::Outcome runJob(LoadRequest& request);
    void readMore(const SmartPointer<LoadRequest>& request);
    void onInstanceComplete(const SmartPointer<LoadRequest>& request);
    void finish(const SmartPointer<LoadRequest>& request, LoadState outcome);
    void fail(const SmartPointer<LoadRequest>& request, LoadFailure failure);
    void failWithoutMemory(const SmartPointer<LoadRequest>& request);

    /// Hides what a request has made, and removes it in the next frames.
    void discardInstances(LoadRequest& request);
    void releaseDocuments(LoadRequest& request) noexcept;
    void releaseFollowers();
    [[nodiscard]] RequestStatistics statisticsOf(const LoadRequest& request) const;

    /// From this number of objects on, the list of a request's objects is destroyed by a worker.
    static constexpr std::size_t LARGE_OBJECTS_COUNT = 4096;

    TaskManager& m_tasks;
    Tracer m_tracer;
    FrameBudget m_budget;
    DocumentLibrary m_documents;
    LiveUpdates m_updates;

    std::map<std::uint64_t, LoadRequest*> m_all; ///< Every request that exists, by number.
    std::map<std::uint64_t, SmartPointer<LoadRequest>> m_unreported;
    std::unordered_map<DocumentLibrary::NeedId, LoadRequest*> m_byNeed; ///< Needs that are not complete.
    std::vector<DocumentLibrary::NeedId> m_completedNeeds;              ///< Scratch of a frame.
    std::map<Rank, SmartPointer<LoadRequest>> m_creating;
    RequestLanes m_lanes;
    std::deque<SmartPointer<LoadRequest>> m_lateWaiters; ///< Reported requests that got another waiter.
    std::vector<SmartPointer<LoadRequest>> m_followers;  ///< Detached ones whose instances are followed.
    RemovalList m_removals;

    InstanceCosts m_instanceCosts;
    UnitCost m_reportCost;
    std::uint64_t m_lastNumber = 0;
    bool m_isTicking = false;
};

} // namespace Kiln::Tessel::Streaming::detail
