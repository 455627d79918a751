#include <tessel_streaming/service/streaming_service.h>

#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <tessel_streaming/budget/disposal_task.h>
#include <tessel_streaming/instances/document_check.h>
#include <tessel_streaming/instances/instance_job.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Sets the flag while a frame runs.
class TickingScope : NonCopyable {
public:
    explicit TickingScope(bool& isTicking) : m_isTicking(isTicking) { m_isTicking = true; }
    ~TickingScope() { m_isTicking = false; }

private:
    bool& m_isTicking;
};

/// Set when the service has ended; never destroyed, since handles may be used until the process ends.
constinit std::atomic<bool> s_hasEnded{false};

[[nodiscard]] LoadFailure worldDestroyed(const LoadRequest& request) {
    return {FailureCode::INVALID_WORLD,
            request.path(),
            0,
            {request.path()},
            "The world was destroyed while the prefab was loaded."};
}

[[nodiscard]] int clampedPriority(int priority) noexcept {
    return std::clamp(priority, MIN_PRIORITY, MAX_PRIORITY);
}

} // namespace

StreamingService::StreamingService(PrefabService& prefabs, TaskManager& tasks)
    : m_tasks(tasks), m_documents(prefabs, tasks, m_tracer), m_updates(m_documents, tasks, m_tracer) {}

StreamingService::~StreamingService() = default;

StreamingService* StreamingService::find() {
    return s_hasEnded ? nullptr : EntryPoint::instance().getService<StreamingService>();
}

void StreamingService::fini() {
    s_hasEnded = true;
    const std::map<std::uint64_t, SmartPointer<LoadRequest>> unreported = std::exchange(m_unreported, {});
    for (const auto& [number, request] : std::exchange(m_all, {})) {
        request->leaveService();
    }
}

// Requests.

LoadHandle StreamingService::request(LoadOrder order, CompletionFunction completed) {
    order.options.priority = clampedPriority(order.options.priority);
    const bool isWorldValid =
        order.kind == LoadOrder::Kind::DOCUMENTS || EntryPoint::instance().isWorldValid(order.worldId);
    const bool hasNothingToDo = order.kind == LoadOrder::Kind::INSTANCES && order.instancesCount == 0;
    auto request = makeSmart<LoadRequest>(this, m_lastNumber + 1, std::move(order));
    m_all.emplace(request->number(), request.get());
    ++m_lastNumber;
    LoadHandle handle = LoadRequest::makeHandle(request);
    if (completed) {
        request->addWaiter(std::move(completed), nullptr);
    }
    m_unreported.emplace(request->number(), request);
    m_lanes.add(request);
    m_tracer.instant("request", request->number(), request->path());
    if (!isWorldValid) {
        fail(request, {FailureCode::INVALID_WORLD,
                       request->path(),
                       0,
                       {request->path()},
                       "World " + std::to_string(request->order().worldId) + " does not exist."});
    } else if (hasNothingToDo || request->order().paths.empty()) {
        finish(request, LoadState::SUCCEEDED);
    } else {
        addNeeds(request, request->order().paths);
    }
    return handle;
}

void StreamingService::addNeeds(const SmartPointer<LoadRequest>& request, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const DocumentLibrary::NeedId need = m_documents.add(path, request->priority(), request->order().options.keep);
        request->needs.push_back(need);
        m_byNeed.emplace(need, request.get());
        ++request->pendingNeeds;
    }
}

void StreamingService::cancel(const SmartPointer<LoadRequest>& request) {
    if (!request->isPending()) {
        return;
    }
    request->publishCancelled();
    finish(request, LoadState::CANCELLED);
    releaseDocuments(*request);
}

void StreamingService::setPriority(const SmartPointer<LoadRequest>& request, int priority) {
    priority = clampedPriority(priority);
    if (request->stage == Stage::REPORTED || priority == request->priority()) {
        request->setPriority(priority);
        return;
    }
    const bool isCreating = m_creating.erase(rankOf(*request)) > 0;
    m_lanes.setPriority(request, priority);
    if (isCreating) {
        m_creating.emplace(rankOf(*request), request);
    }
    for (const DocumentLibrary::NeedId need : request->needs) {
        m_documents.setPriority(need, priority);
    }
}

std::uint64_t StreamingService::addWaiter(const SmartPointer<LoadRequest>& request, CompletionFunction function,
                                          std::coroutine_handle<> coroutine) {
    if (request->stage == Stage::REPORTED) {
        m_lateWaiters.push_back(request);
    }
    return request->addWaiter(std::move(function), coroutine);
}

void StreamingService::onLastHandleDropped(const SmartPointer<LoadRequest>& request) {
    if (request->stage != Stage::REPORTED) {
        if (!request->isDetached()) {
            cancel(request);
        }
    } else if (!request->isDetached()) {
        m_updates.unfollow(request->number());
        releaseDocuments(*request);
    } else if (request->order().options.follow && request->result().state == LoadState::SUCCEEDED) {
        m_followers.push_back(request);
    } else {
        releaseDocuments(*request);
    }
}

void StreamingService::onWorldDestroyed(int worldId) {
    m_updates.onWorldDestroyed(worldId);
    std::vector<SmartPointer<LoadRequest>> affected;
    for (const auto& [number, request] : m_unreported) {
        // Also those that would report a success.
        if (request->outcome != LoadState::FAILED && request->outcome != LoadState::CANCELLED &&
            request->order().kind == LoadOrder::Kind::INSTANCES && request->order().worldId == worldId) {
            affected.push_back(request);
        }
    }
    for (const SmartPointer<LoadRequest>& request : affected) {
        if (!request->isStepping) { // Otherwise its job notices.
            fail(request, worldDestroyed(*request));
        }
    }
}

void StreamingService::addReading(const LoadRequest& request, LoadProgress& progress) const noexcept {
    DocumentLibrary::Totals sum;
    for (const DocumentLibrary::NeedId need : request.needs) {
        const DocumentLibrary::Totals totals = m_documents.totals(need);
        sum.filesRead += totals.filesRead;
        sum.filesTotal += totals.filesTotal;
        sum.bytesRead += totals.bytesRead;
        sum.bytesTotal += totals.bytesTotal;
    }
    progress.filesRead = std::max(progress.filesRead, sum.filesRead);
    progress.filesTotal = std::max(progress.filesTotal, sum.filesTotal);
    progress.bytesRead = std::max(progress.bytesRead, sum.bytesRead);
    progress.bytesTotal = std::max(progress.bytesTotal, sum.bytesTotal);
    if (progress.phase == LoadPhase::WAITING && (sum.bytesTotal > 0 || sum.filesRead > 0)) {
        progress.phase = LoadPhase::READING;
    }
}

// A frame.

void StreamingService::tick() {
    if (m_isTicking) {
        return; // A callback runs a frame of its own.
    }
    const TickingScope scope(m_isTicking);
    const FrameBudget::Clock::time_point begin = FrameBudget::Clock::now();
    m_budget.beginFrame();
    bool hasWorked = collectReadFiles();
    hasWorked |= callLateWaiters();
    // What is finished reports before anything else is made, so that reports do not pile up.
    hasWorked |= report();
    hasWorked |= removeObjects();
    hasWorked |= m_updates.tick(m_budget);
    hasWorked |= createInstances();
    hasWorked |= report();
    if (m_budget.frame() % FOLLOWER_CHECK_PERIOD == 0 && !m_followers.empty()) {
        releaseFollowers();
    }
    m_documents.releaseUnused();
    m_budget.endFrame(hasWorked);
    if (hasWorked && m_tracer.isOn()) {
        m_tracer.span("frame", begin, 0, {});
        const DocumentLibrary::Counts counts = m_documents.counts();
        m_tracer.counter("pending requests", static_cast<std::int64_t>(m_unreported.size()));
        m_tracer.counter("queued files", static_cast<std::int64_t>(counts.queuedFiles));
        m_tracer.counter("held documents", static_cast<std::int64_t>(counts.heldDocuments));
    }
}

bool StreamingService::collectReadFiles() {
    m_completedNeeds.clear();
    m_documents.takeCompleted(m_completedNeeds);
    bool hasWorked = false;
    for (const DocumentLibrary::NeedId need : m_completedNeeds) {
        const auto entry = m_byNeed.find(need);
        if (entry == m_byNeed.end()) {
            continue;
        }
        const SmartPointer<LoadRequest> request = SmartPointer<LoadRequest>::share(entry->second);
        m_byNeed.erase(entry);
        if (--request->pendingNeeds == 0 && request->stage == Stage::READING) {
            try {
                onFilesRead(request);
            } catch (const std::exception&) {
                failWithoutMemory(request);
            }
        }
        hasWorked = true;
    }
    return hasWorked;
}

void StreamingService::onFilesRead(const SmartPointer<LoadRequest>& request) {
    if (request->order().kind == LoadOrder::Kind::DOCUMENTS) {
        DocumentCheck check(m_documents);
        for (const std::string& path : request->order().paths) {
            check.visit(path);
        }
        request->failures = check.takeFailures();
        request->skippedComponents = check.takeSkippedComponents();
        const bool isAccepted =
            request->failures.empty() ||
            (request->order().options.failurePolicy == FailurePolicy::PARTIAL && !check.hasFailedTopFile());
        finish(request, isAccepted ? LoadState::SUCCEEDED : LoadState::FAILED);
        return;
    }
    request->stage = Stage::CREATING;
    request->phase = std::max(request->phase, LoadPhase::READING);
    m_creating.emplace(rankOf(*request), request);
}

/// Calls the functions that were added to requests that have reported; only those that wait now, since a function may
/// add another one.
bool StreamingService::callLateWaiters() {
    const std::size_t waiting = m_lateWaiters.size();
    std::size_t called = 0;
    while (called < waiting && (called == 0 || m_budget.hasRoomFor(m_reportCost.predicted()))) {
        const SmartPointer<LoadRequest> request = m_lateWaiters.front();
        m_lateWaiters.pop_front();
        request->callWaiters();
        ++called;
    }
    return called > 0;
}

bool StreamingService::report() {
    bool hasWorked = false;
    while (!hasWorked || m_budget.hasRoomFor(m_reportCost.predicted())) {
        const SmartPointer<LoadRequest> request = m_lanes.nextToReport();
        if (!request) {
            break;
        }
        const FrameBudget::Clock::time_point begin = FrameBudget::Clock::now();
        m_lanes.remove(*request);
        m_unreported.erase(request->number());
        (void)request->progress(); // The last look at its files.
        if (request->isPending()) {
            request->publishOutcome();
        }
        request->stage = Stage::REPORTED;
        // The lists of objects are large, and the allocator may take long to free them.
        if (request->objectsCreated >= LARGE_OBJECTS_COUNT) {
            disposeOnWorker(m_tasks, std::exchange(request->instances, {}));
        }
        request->instances.clear();
        m_tracer.instant("report", request->number(), request->path());
        request->callWaiters(); // If nobody else has a handle, it also drops the last one.
        m_reportCost.note(FrameBudget::Clock::now() - begin, 1);
        m_budget.noteStep(request->path(), "completion function");
        hasWorked = true;
    }
    return hasWorked;
}

bool StreamingService::removeObjects() {
    bool hasWorked = false;
    while (!m_removals.isEmpty() && (!hasWorked || m_budget.hasRoomFor(m_removals.predictedStep()))) {
        const FrameBudget::Clock::time_point begin = FrameBudget::Clock::now();
        m_removals.step(m_budget);
        m_tracer.span("remove", begin, 0, {});
        m_budget.noteStep({}, "removal");
        hasWorked = true;
    }
    return hasWorked;
}

bool StreamingService::createInstances() {
    bool hasWorked = false;
    while (!m_creating.empty()) {
        const SmartPointer<LoadRequest> request = m_creating.begin()->second;
        const UnitCost::Duration predicted =
            request->job ? request->job->predictedStep() : m_instanceCosts.start.predicted();
        if (hasWorked && !m_budget.hasRoomFor(predicted)) {
            break;
        }
        stepInstance(request);
        hasWorked = true;
    }
    return hasWorked;
}

void StreamingService::startInstance(LoadRequest& request) {
    const LoadOrder& order = request.order();
    const LoadOptions& options = order.options;
    InstanceOrder instance;
    instance.worldId = order.worldId;
    instance.instanceUuid = options.instanceUuid && !order.hasOwnPlacements ? *options.instanceUuid : Uuid::generate();
    instance.overrides = options.overrides;
    instance.parent = options.parent;
    instance.placement = order.hasOwnPlacements ? order.placements[request.instances.size()] : options.placement;
    instance.activation = options.activation;
    instance.failurePolicy = options.failurePolicy;
    instance.follow = options.follow;
    instance.documentsVersion = m_updates.documentsVersion();
    const SmartPointer<LoadedFile> top = m_documents.find(request.path());
    if (!top || !top->prefab()) {
        request.failures = top ? top->failures : std::vector<LoadFailure>();
        for (LoadFailure& failure : request.failures) {
            failure.chain = {request.path()};
        }
        return;
    }
    request.job = std::make_unique<InstanceJob>(std::move(instance), top, m_documents, m_instanceCosts);
}

void StreamingService::stepInstance(const SmartPointer<LoadRequest>& request) {
    if (!request->job) {
        startInstance(*request);
    }
    if (!request->job) {
        finish(request, LoadState::FAILED);
        return;
    }
    const InstanceJob::Outcome outcome = runJob(*request);
    if (!request->isPending()) { // Cancelled from inside of the step.
        discardInstances(*request);
        return;
    }
    request->phase = std::max(request->phase, request->job->phase());
    switch (outcome) {
    case InstanceJob::Outcome::WORKING:
        return;
    case InstanceJob::Outcome::NEEDS_FILES:
        readMore(request);
        return;
    case InstanceJob::Outcome::COMPLETE:
        onInstanceComplete(request);
        return;
    case InstanceJob::Outcome::FAILED:
        request->failures = request->job->failures();
        finish(request, LoadState::FAILED);
        return;
    }
}

InstanceJob::Outcome StreamingService::runJob(LoadRequest& request) {
    const FrameBudget::Clock::time_point begin = FrameBudget::Clock::now();
    InstanceJob& job = *request.job;
    const char* const step = job.stepName();
    InstanceJob::Outcome outcome = InstanceJob::Outcome::FAILED;
    request.isStepping = true;
    try {
        outcome = job.step(m_budget);
    } catch (const std::exception& exception) { // Mostly for lack of memory.
        job.fail(FailureCode::OUT_OF_MEMORY, exception.what());
    }
    request.createTime += FrameBudget::Clock::now() - begin;
    m_tracer.span(step, begin, request.number(), request.path());
    m_budget.noteStep(request.path(), step);
    request.isStepping = false; // A trace hook, too, may cancel the request or destroy its world.
    return outcome;
}

/// For files that only overrides name.
void StreamingService::readMore(const SmartPointer<LoadRequest>& request) {
    const std::vector<std::string> files = request->job->unreadFiles();
    request->job.reset();
    m_creating.erase(rankOf(*request));
    request->stage = Stage::READING;
    try {
        addNeeds(request, files);
    } catch (const std::exception&) {
        failWithoutMemory(request);
    }
}

void StreamingService::onInstanceComplete(const SmartPointer<LoadRequest>& request) {
    if (!EntryPoint::instance().isWorldValid(request->order().worldId)) {
        fail(request, worldDestroyed(*request));
        return;
    }
    const std::unique_ptr<InstanceJob> job = std::move(request->job);
    if (request->instances.empty()) {
        request->failures = job->failures();
        request->skippedComponents = job->skippedComponents();
    }
    request->objectsCreated += job->objectsTotal();
    if (std::unique_ptr<FollowedInstance> followed = job->takeFollowed()) {
        followed->request = request->number();
        m_updates.follow(std::move(followed));
    }
    const GameObject root = job->root();
    request->instances.push_back({root, job->instanceUuid(), job->takeObjects()});
    if (request->instances.size() == request->order().instancesCount) {
        finish(request, LoadState::SUCCEEDED);
    }
}

void StreamingService::fail(const SmartPointer<LoadRequest>& request, LoadFailure failure) {
    request->failures.clear();
    request->failures.push_back(std::move(failure));
    finish(request, LoadState::FAILED);
}

void StreamingService::failWithoutMemory(const SmartPointer<LoadRequest>& request) {
    request->failures.clear();
    try {
        request->failures.push_back(
            {FailureCode::OUT_OF_MEMORY, request->path(), 0, {request->path()}, "There is not enough memory."});
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): then it fails without a reason.
    }
    finish(request, LoadState::FAILED);
}

/// The request has nothing left to do but to report.
void StreamingService::finish(const SmartPointer<LoadRequest>& request, LoadState outcome) {
    m_creating.erase(rankOf(*request));
    request->outcome = outcome;
    if (outcome != LoadState::SUCCEEDED) {
        discardInstances(*request);
    }
    if (request->stage != Stage::FINISHED) {
        m_lanes.noteFinished(request);
        request->stage = Stage::FINISHED;
    }
}

void StreamingService::discardInstances(LoadRequest& request) {
    m_updates.unfollow(request.number());
    for (CompleteInstance& instance : std::exchange(request.instances, {})) {
        hideInstance(instance.root, instance.objects);
        m_removals.add(std::move(instance.objects));
    }
    if (request.isStepping) {
        return; // The job runs at this moment; this is called again after the step.
    }
    if (std::unique_ptr<InstanceJob> job = std::move(request.job)) {
        job->hide();
        m_removals.add(std::move(job));
    }
}

void StreamingService::releaseDocuments(LoadRequest& request) noexcept {
    for (const DocumentLibrary::NeedId need : std::exchange(request.needs, {})) {
        m_byNeed.erase(need);
        m_documents.remove(need);
    }
    request.pendingNeeds = 0;
}

/// Releases the documents of detached requests whose instances have been removed from their world.
void StreamingService::releaseFollowers() {
    std::erase_if(m_followers, [this](const SmartPointer<LoadRequest>& request) {
        const std::vector<GameObject>& roots = request->result().roots;
        if (std::any_of(roots.begin(), roots.end(), [](GameObject root) { return isValid(root); })) {
            return false;
        }
        releaseDocuments(*request);
        return true;
    });
}

StreamingService::Rank StreamingService::rankOf(const LoadRequest& request) noexcept {
    const auto number = static_cast<std::int64_t>(request.number());
    return {number - request.priority() * REQUESTS_PER_LEVEL, request.number()};
}

// Statistics.

Statistics StreamingService::statistics() const {
    Statistics statistics;
    const DocumentLibrary::Counts counts = m_documents.counts();
    statistics.pendingRequests = m_unreported.size();
    statistics.queuedFiles = counts.queuedFiles;
    statistics.readingFiles = counts.readingFiles;
    statistics.heldDocuments = counts.heldDocuments;
    statistics.keptDocuments = counts.keptDocuments;
    statistics.keptBytes = counts.keptBytes;
    statistics.instancesToRemove = m_removals.size();
    statistics.followedInstances = m_updates.followedCount();
    m_budget.fill(statistics);
    for (const auto& [number, request] : m_all) {
        if (request->stage != Stage::REPORTED || request->hasHandle()) {
            statistics.requests.push_back(statisticsOf(*request));
        }
    }
    return statistics;
}

RequestStatistics StreamingService::statisticsOf(const LoadRequest& request) const {
    RequestStatistics statistics;
    statistics.number = request.number();
    statistics.path = request.path();
    statistics.state = request.result().state;
    statistics.priority = request.priority();
    statistics.progress = request.progress();
    statistics.created = std::chrono::duration_cast<std::chrono::microseconds>(request.createTime);
    for (const DocumentLibrary::NeedId need : request.needs) {
        const DocumentLibrary::Costs costs = m_documents.costs(need);
        statistics.queued = std::max(statistics.queued, costs.queued);
        statistics.read += costs.read;
        statistics.parsed += costs.parsed;
        statistics.cacheHits += costs.cacheHits;
    }
    return statistics;
}

} // namespace Kiln::Tessel::Streaming::detail
