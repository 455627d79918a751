#include "streaming_stress.h"

#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/override_records.h>
#include <support/prefab_text.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_streaming/service/streaming_service.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Kiln::StreamingStress {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
using Tessel::Streaming::CompletionFunction;
using Tessel::Streaming::LoadHandle;
using Tessel::Streaming::LoadOptions;
using Tessel::Streaming::LoadResult;
using Tessel::Streaming::LoadState;
using Tessel::Streaming::PreloadOptions;
namespace Loading = Tessel::Loading;
namespace Streaming = Tessel::Streaming;

namespace {

constexpr std::size_t WORLDS = 5;
constexpr std::size_t WORKERS = 4;
constexpr int MAX_DEPTH = 4; ///< Operations inside of operations.
constexpr int MAX_FRAMES_TO_SETTLE = 20'000;
constexpr int FRAMES_TO_RELEASE = 40;

[[nodiscard]] Tessel::PrefabService& service() {
    return *EntryPoint::instance().getService<Tessel::PrefabService>();
}

[[nodiscard]] SmartPointer<OverrideRecords> overridesFor(std::uint64_t id) {
    using TestSupport::element;
    return OverrideRecords::create(TestSupport::OverridesText()
                                       .record(Uuid::ZERO, "StressComponent", element("request", std::to_string(id)))
                                       .text());
}

/// What is known of a request before it is made.
template <class Options>
[[nodiscard]] TrackedRequest::Description describe(TrackedRequest::Kind kind, int worldId, std::size_t instances,
                                                   const Options& options) {
    TrackedRequest::Description description;
    description.kind = kind;
    description.worldId = worldId;
    description.instances = instances;
    description.priority = options.priority;
    description.isPartialAllowed = options.failurePolicy == Streaming::FailurePolicy::PARTIAL;
    if constexpr (std::is_same_v<Options, LoadOptions>) {
        description.isInOrder = options.reportsInOrder;
    }
    return description;
}

/// As require(), for a number of things that must not exist.
template <class Number>
void requireZero(Number count, const char* what) {
    require(count == 0, ("there are no " + std::string(what) + ", but " + std::to_string(count)).c_str());
}

} // namespace

/// Counts a level of a counter for the lifetime of the object.
class StreamingStress::InsideLibrary : NonCopyable {
public:
    explicit InsideLibrary(int& count) : m_count(count) { ++m_count; }
    ~InsideLibrary() { --m_count; }

private:
    int& m_count;
};

StreamingStress::StreamingStress(unsigned seed, const TestSupport::TemporaryDirectory& directory)
    : m_random(seed), m_files(directory) {
    prefab_component();
    // Polls follow one another as fast as frames, so that many changes settle between two operations.
    Streaming::detail::StreamingService::find()->updates().setPollInterval(std::chrono::milliseconds(0));
    FileIOTaskManager::instance().setThreadCount(WORKERS);
    createWorlds();
    m_configsAtStart = StressComponent::s_configs;
    setHooks();
    Streaming::UpdateListener listener;
    listener.onUpdated = [this](const Streaming::InstanceUpdate& update) {
        ++m_counts.updates;
        require(!update.files.empty(), "an update names the files that have changed");
        actInside();
    };
    listener.onRefused = [this](const Streaming::RefusedUpdate& refused) {
        ++m_counts.refusedUpdates;
        require(!refused.failures.empty(), "an update is refused for a reason");
        actInside();
    };
    m_listener = Streaming::addUpdateListener(std::move(listener));
}

StreamingStress::~StreamingStress() {
    Streaming::removeUpdateListener(m_listener);
    StressComponent::s_onConstruct = nullptr;
    StressComponent::s_onActivate = nullptr;
    StressComponent::s_onPreload = nullptr;
    for (StressWorld& world : m_worlds) {
        world.visible = nullptr;
        EntryPoint::instance().destroyWorld(world.id);
    }
}

void StreamingStress::setHooks() {
    StressComponent::s_onConstruct = [this] {
        if (++m_constructions % 64 == 0) {
            actInside();
        }
        throwSometimes();
    };
    StressComponent::s_onActivate = [this] {
        if (m_constructions % 128 == 1) {
            actInside();
        }
        throwSometimes();
    };
    StressComponent::s_onPreload = [this] {
        if (m_arePreloadsThrowing && ++m_preloads % 499 == 0) {
            ++m_preloadExceptions;
            throw std::runtime_error("thrown by preload()");
        }
    };
}

void StreamingStress::throwSometimes() {
    if (m_isDisturbing && isOneIn(997)) {
        ++m_counts.componentExceptions;
        throw std::runtime_error("thrown by a component");
    }
}

Counts StreamingStress::counts() const {
    Counts counts = m_counts;
    counts.componentExceptions += m_preloadExceptions;
    counts.traceEvents = m_traceEvents;
    return counts;
}

void StreamingStress::run(std::size_t operations) {
    while (m_counts.operations < operations) {
        const std::size_t end = std::min(operations, m_counts.operations + OPERATIONS_OF_ROUND);
        while (m_counts.operations < end) {
            act();
        }
        settle();
        ++m_counts.rounds;
    }
}

void StreamingStress::act() {
    ++m_counts.operations;
    const InsideLibrary depth(m_depth);
    createWorlds();
    const auto kind = m_random() % 100;
    if (kind < 35) {
        makeRequest();
    } else if (kind < 70) {
        useHandle();
    } else if (kind < 80) {
        disturb();
    } else {
        tick();
    }
}

/// Performs an operation from inside of something that the library calls.
void StreamingStress::actInside() {
    require(std::this_thread::get_id() == m_mainThread, "the library calls functions on the thread that ticks");
    if (m_isDisturbing && m_depth < MAX_DEPTH && isOneIn(2)) {
        ++m_counts.nestedOperations;
        act();
    }
}

void StreamingStress::makeRequest() {
    const auto kind = m_random() % 10;
    if (m_requests.size() > MAX_HANDLES && isOneIn(2)) {
        useHandle();
    } else if (kind < 7) {
        load();
    } else if (kind < 9) {
        spawn();
    } else {
        preload();
    }
}

TrackedRequest* StreamingStress::anyTracked() {
    if (m_requests.empty()) {
        return nullptr;
    }
    // Mostly a recent one, because older ones have ended.
    const std::size_t recent = std::min(m_requests.size(), isOneIn(4) ? m_requests.size() : MAX_HANDLES / 4);
    return m_requests[m_requests.size() - 1 - m_random() % recent].get();
}

void StreamingStress::useHandle() {
    TrackedRequest* const tracked = anyTracked();
    if (!tracked) {
        return;
    }
    const auto kind = m_random() % 24;
    if (kind < 6) {
        ++m_counts.cancels;
        const InsideLibrary call(m_callsOfRequests);
        tracked->cancel();
    } else if (kind < 12) {
        ++m_counts.drops;
        const InsideLibrary call(m_callsOfRequests);
        tracked->dropOne();
    } else if (kind < 17) {
        ++m_counts.priorities;
        const InsideLibrary call(m_callsOfRequests);
        tracked->setPriority(anyPriority());
    } else if (kind < 19) {
        tracked->copyHandle();
    } else if (kind < 20) {
        tracked->detach();
    } else if (kind < 22) {
        addWaiter(*tracked);
    } else if (tracked->hasHandle()) {
        const InsideLibrary call(m_callsOfRequests);
        tracked->handle().onCompleted(functionFor(*tracked, tracked->addFunction()));
    }
}

void StreamingStress::disturb() {
    switch (m_random() % 14) {
    case 0:
        destroyWorld();
        break;
    case 1:
        ++m_counts.cachesCleared;
        Loading::fullyClearCache();
        break;
    case 2:
    case 3:
    case 4:
    case 5:
        ++m_counts.filesChanged;
        m_files.change(m_random);
        break;
    case 6:
    case 7:
        changeBudget();
        break;
    case 8:
        removeRoots(m_random());
        break;
    case 9: {
        StressWorld& world = anyWorld();
        Tessel::getGameObjectManager(world.id)->removeGameObject(std::exchange(world.parent, GameObject()));
        break;
    }
    case 10:
        Streaming::setKeptDocumentsLimit(isOneIn(3) ? 0 : m_random() % 20'000);
        break;
    case 11:
        Streaming::watch(isOneIn(2));
        break;
    case 12:
        toggleTrace();
        break;
    default: {
        const Streaming::Statistics statistics = Streaming::statistics();
        require(statistics.requests.size() >= statistics.pendingRequests, "statistics list the pending requests");
    }
    }
}

TrackedRequest& StreamingStress::track(const TrackedRequest::Description& description) {
    m_requests.push_back(std::make_unique<TrackedRequest>(nextId(), description));
    return *m_requests.back();
}

LoadOptions StreamingStress::anyOptions(const StressWorld& world) {
    LoadOptions options;
    options.overrides = overridesFor(nextId());
    options.priority = anyPriority();
    if (isOneIn(2)) {
        options.parent = isOneIn(20) ? anyWorld().parent : world.parent;
    }
    if (isOneIn(3)) {
        options.placement = Matrix::translation(1, 2, 3);
    }
    if (isOneIn(4)) {
        options.activation = isOneIn(2) ? Streaming::Activation::BY_SUBTREE : Streaming::Activation::NONE;
    }
    if (isOneIn(4)) {
        options.failurePolicy = Streaming::FailurePolicy::PARTIAL;
    }
    options.reportsInOrder = !isOneIn(5);
    options.keep = isOneIn(8);
    options.follow = isOneIn(4);
    return options;
}

void StreamingStress::load() {
    ++m_counts.loads;
    const StressWorld& world = anyWorld();
    const int worldId = isOneIn(50) ? 1'000'000 : world.id; // Sometimes one that has never existed.
    LoadOptions options = anyOptions(world);
    if (isOneIn(4)) {
        options.instanceUuid = Uuid::generate();
    }
    TrackedRequest& tracked = track(describe(TrackedRequest::Kind::LOAD, worldId, 1, options));
    const InsideLibrary call(m_callsOfRequests);
    tracked.start(Streaming::load(m_files.anyPath(m_random), worldId, std::move(options), functionFor(tracked, 0)));
}

void StreamingStress::spawn() {
    ++m_counts.spawns;
    const StressWorld& world = anyWorld();
    const std::size_t instances = m_random() % 9;
    LoadOptions options = anyOptions(world);
    TrackedRequest& tracked = track(describe(TrackedRequest::Kind::SPAWN, world.id, instances, options));
    const std::vector<Matrix> placements(instances, Matrix::translation(4, 5, 6));
    const InsideLibrary call(m_callsOfRequests);
    tracked.start(
        Streaming::spawn(m_files.anyPath(m_random), world.id, placements, std::move(options), functionFor(tracked, 0)));
}

void StreamingStress::preload() {
    ++m_counts.preloads;
    PreloadOptions options;
    options.priority = anyPriority();
    options.keep = isOneIn(4);
    options.failurePolicy = isOneIn(2) ? Streaming::FailurePolicy::PARTIAL : Streaming::FailurePolicy::FAIL;
    std::vector<std::string> paths;
    for (auto count = m_random() % 5; count > 0; --count) {
        paths.push_back(m_files.anyPath(m_random));
    }
    TrackedRequest& tracked = track(describe(TrackedRequest::Kind::PRELOAD, -1, 0, options));
    const InsideLibrary call(m_callsOfRequests);
    tracked.start(Streaming::preload(std::move(paths), options, functionFor(tracked, 0)));
}

CompletionFunction StreamingStress::functionFor(TrackedRequest& tracked, std::size_t function) {
    return [this, &tracked, function](const LoadHandle& handle, const LoadResult& result) {
        const bool isFirst = !tracked.hasReported();
        tracked.onCompleted(function, handle, result);
        onReported(tracked, result, isFirst);
        if (m_isDisturbing && isOneIn(40)) {
            ++m_counts.functionExceptions;
            throw std::runtime_error("thrown by a completion function");
        }
    };
}

Waiter StreamingStress::waitFor(StreamingStress& stress, TrackedRequest& tracked, LoadHandle handle) {
    const LoadResult& result = co_await handle;
    const bool isFirst = !tracked.hasReported();
    tracked.onResumed(result);
    stress.onReported(tracked, result, isFirst);
}

void StreamingStress::addWaiter(TrackedRequest& tracked) {
    // One that has reported would be resumed at once, so that nothing could be learnt from it.
    if (tracked.hasHandle() && !tracked.handle().isFinished()) {
        tracked.addWaiter(waitFor(*this, tracked, tracked.handle()));
    }
}

void StreamingStress::onReported(TrackedRequest& tracked, const LoadResult& result, bool isFirst) {
    require(std::this_thread::get_id() == m_mainThread, "a completion is reported on the thread that ticks");
    require(m_ticks > 0, "a completion is reported in a frame");
    require(m_callsOfRequests == 0, "a completion is not reported inside of a call");
    if (isFirst) {
        checkOrder(tracked);
        m_counts.succeeded += result.state == LoadState::SUCCEEDED ? 1 : 0;
        m_counts.partial += result.isPartial ? 1 : 0;
        m_counts.failed += result.state == LoadState::FAILED ? 1 : 0;
        m_counts.cancelled += result.state == LoadState::CANCELLED ? 1 : 0;
    }
    if (isOneIn(3)) {
        actInside();
    }
}

/// A request reports when those of the same priority that were made before it have reported.
void StreamingStress::checkOrder(const TrackedRequest& reported) const {
    for (const std::unique_ptr<TrackedRequest>& other : m_requests) {
        if (other->number() >= reported.number()) {
            break;
        }
        other->expect(other->hasReported() || !other->isInOrder() || !reported.isInOrder() ||
                          other->priority() != reported.priority(),
                      "reports before those of its priority that were made after it");
    }
}

void StreamingStress::createWorlds() {
    while (m_worlds.size() < WORLDS) {
        StressWorld world;
        world.id = EntryPoint::instance().createWorld();
        world.visible = EntryPoint::instance().findValidWorld(world.id)->manager().getQuery<Visible>(
            Visible::makeConfig(), [] { return std::make_unique<Visible>(); });
        m_worlds.push_back(std::move(world));
    }
    for (StressWorld& world : m_worlds) {
        GameObjectManager& manager = *Tessel::getGameObjectManager(world.id);
        if (world.parent.isInvalid()) {
            world.parent = manager.createGameObject();
            manager.activateGameObject(world.parent);
        }
    }
}

void StreamingStress::destroyWorld() {
    ++m_counts.worldsDestroyed;
    const std::size_t index = m_random() % m_worlds.size();
    const int worldId = m_worlds[index].id;
    m_worlds.erase(m_worlds.begin() + static_cast<std::ptrdiff_t>(index));
    EntryPoint::instance().destroyWorld(worldId);
    createWorlds();
}

/// Removes the instances of one request in so many, which is random.
void StreamingStress::removeRoots(std::size_t which) {
    for (std::size_t i = which % 7; i < m_requests.size(); i += 7) {
        GameObjectManager* const manager = Tessel::getGameObjectManager(m_requests[i]->worldId());
        for (const GameObject root : std::vector<GameObject>(m_requests[i]->roots())) {
            if (manager) {
                manager->removeGameObject(root);
            }
        }
    }
}

void StreamingStress::changeBudget() {
    constexpr int MICROSECONDS[] = {-5, 0, 50, 300, 2000};
    const auto choice = m_random() % 6;
    Streaming::setFrameBudget(choice < 5 ? std::chrono::microseconds(MICROSECONDS[choice])
                                         : Streaming::NO_FRAME_BUDGET);
}

void StreamingStress::toggleTrace() {
    m_isTracing = !m_isTracing;
    Streaming::setTraceHook(m_isTracing ? Streaming::TraceHook([this](const Streaming::TraceEvent& event) {
        require(!event.name.empty(), "a trace event has a name");
        ++m_traceEvents;
    })
                                        : Streaming::TraceHook());
}

void StreamingStress::tick() {
    if (m_ticks >= 2) {
        return;
    }
    {
        const InsideLibrary ticking(m_ticks);
        // A frame inside of a call of the library would report inside of this call.
        const int calls = std::exchange(m_callsOfRequests, 0);
        EntryPoint::instance().tick();
        m_callsOfRequests = calls;
    }
    ++m_counts.frames;
    if (m_ticks == 0) {
        checkRequests();
        checkVisible();
    }
}

void StreamingStress::checkRequests() {
    for (const std::unique_ptr<TrackedRequest>& tracked : m_requests) {
        tracked->check();
        ++m_counts.checks;
    }
}

/// Nothing of a request that has failed or was cancelled is active.
void StreamingStress::checkVisible() {
    for (const StressWorld& world : m_worlds) {
        world.visible->forEach([&](const StressComponent& component, GameObject /*object*/) {
            if (component.request == 0) {
                return;
            }
            require(component.request >= m_firstId, "no object of an earlier round is active");
            const TrackedRequest& tracked = *m_requests[component.request - m_firstId];
            tracked.expect(tracked.mayBeVisible(), "has no active object after it was cancelled or has failed");
        });
    }
}

void StreamingStress::settle() {
    m_isDisturbing = false;
    m_arePreloadsThrowing = false;
    Streaming::watch(false);
    Streaming::setFrameBudget(isOneIn(2) ? std::chrono::microseconds(4000) : std::chrono::microseconds(200));
    waitUntilEnded();
    for (const std::unique_ptr<TrackedRequest>& tracked : m_requests) {
        tracked->checkEnded();
    }
    checkWorlds();
    dropEverything();
    checkBaseline();
    m_files.restore();
    m_isDisturbing = true;
    m_arePreloadsThrowing = true;
}

/// Runs frames until no request is pending. Frames that wait for workers do not count.
void StreamingStress::waitUntilEnded() {
    int frames = 0;
    const auto isPending = [this] {
        for (const std::unique_ptr<TrackedRequest>& tracked : m_requests) {
            if (!tracked->hasReported()) {
                return true;
            }
        }
        const Streaming::Statistics statistics = Streaming::statistics();
        return statistics.pendingRequests > 0 || statistics.instancesToRemove > 0;
    };
    while (isPending()) {
        require(++frames < MAX_FRAMES_TO_SETTLE, "every request ends within a bounded number of frames");
        require(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(100)), "workers become idle");
        tick();
    }
    tick(); // Completion functions that were added to requests that had reported.
}

/// The worlds contain the objects of the requests that have succeeded, and nothing else.
void StreamingStress::checkWorlds() {
    for (const std::unique_ptr<TrackedRequest>& tracked : m_requests) {
        GameObjectManager* const manager = Tessel::getGameObjectManager(tracked->worldId());
        for (const GameObject root : tracked->roots()) {
            if (manager) {
                manager->removeGameObject(root);
            }
        }
    }
    for (StressWorld& world : m_worlds) {
        GameObjectManager& manager = *Tessel::getGameObjectManager(world.id);
        manager.removeGameObject(std::exchange(world.parent, GameObject()));
        requireZero(manager.gameObjectsCount(), "objects that belong to no request that has succeeded");
    }
    requireZero(StressComponent::s_components, "components");
}

void StreamingStress::dropEverything() {
    m_firstId += m_requests.size();
    m_requests.clear();
    Streaming::setKeptDocumentsLimit(0);
    // Documents of detached requests are released some frames after their instances were removed.
    for (int frame = 0; frame < FRAMES_TO_RELEASE; ++frame) {
        tick();
    }
    require(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(100)), "workers become idle");
    tick();
    Streaming::setKeptDocumentsLimit(1 << 20);
}

void StreamingStress::checkBaseline() {
    const Streaming::Statistics statistics = Streaming::statistics();
    require(statistics.pendingRequests == 0, "no request is pending");
    require(statistics.requests.empty(), "no request is left");
    require(statistics.queuedFiles == 0, "no file is queued");
    require(statistics.readingFiles == 0, "no file is being read");
    requireZero(statistics.heldDocuments, "documents that are held");
    require(statistics.keptDocuments == 0, "no document is kept");
    require(statistics.keptBytes == 0, "no bytes are kept");
    require(statistics.instancesToRemove == 0, "no instance is to be removed");
    require(statistics.followedInstances == 0, "no instance is followed");
    requireZero(StressComponent::s_configs - m_configsAtStart, "configurations of documents that were not released");
    require(FileIOTaskManager::instance().unfinishedTasks() == 0, "no task is left");
    require(service().loadingQueue().empty(), "the service's queue is empty");
}

} // namespace Kiln::StreamingStress
