#include <tessel_streaming/updates/live_updates.h>

#include <core/log.h>
#include <tessel_streaming/budget/disposal_task.h>
#include <tessel_streaming/tracing/tracer.h>
#include <tessel_streaming/updates/changed_files.h>
#include <tessel_streaming/updates/file_watcher.h>
#include <tessel_streaming/updates/update.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <map>
#include <optional>

namespace Kiln::Tessel::Streaming::detail {

namespace {

template <class Call>
void callListener(const Call& call) {
    const auto report = [](const char* problem) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", "tessel_streaming/updates")
            .message("An update listener has failed: %s", problem);
    };
    try {
        call();
    } catch (const std::exception& exception) {
        report(exception.what());
    } catch (...) {
        report("unknown exception");
    }
}

} // namespace

struct LiveUpdates::State : NonCopyable {
    State(DocumentLibrary& library, TaskManager& taskManager, Tracer& hook)
        : documents(library), tasks(taskManager), tracer(hook) {}

    using Instances = std::vector<std::shared_ptr<Followed>>;

    DocumentLibrary& documents;
    TaskManager& tasks;
    Tracer& tracer;
    std::chrono::milliseconds interval{200};
    std::optional<FileWatcher> watcher;
    std::vector<std::pair<int, std::shared_ptr<const UpdateListener>>> listeners;
    int lastListenerId = 0;

    InstanceShapes shapes;
    std::map<std::uint64_t, Instances> instances; ///< By request, in the order of the requests.

    /// From this number of items on, instances that are not followed any more are destroyed by a worker.
    static constexpr std::size_t LARGE_ITEMS_COUNT = 4096;

    static constexpr std::size_t PRUNED_PER_FRAME = 32;
    std::uint64_t prunedRequest = 0; ///< The one whose instances prune() looks at next.
    std::size_t prunedCount = 0;     ///< Instances of it that were looked at.

    ChangedFiles changedFiles; ///< Numbered by the versions of the documents.

    std::vector<SmartPointer<LoadedFile>> read; ///< New versions that wait for the next update.
    std::unique_ptr<Update> update;
    bool areFilesNoted = false;       ///< Whether the files of the update are in `changedFiles`.
    bool isListed = false;            ///< Whether the update has its instances.
    bool hasWaitingInstances = false; ///< Whether an update has to begin because of instances.
    bool isTicking = false;

    void prune();
    bool takeRead();
    void beginUpdate();
    bool continueUpdate(FrameBudget& budget);
    [[nodiscard]] bool prepare(FrameBudget& budget);
    void noteChangedFiles();
    void listInstances();
    void applyUpdate(FrameBudget& budget);
    void reportRefused(const RefusedUpdate& refused) const;
    void reportUpdated(std::vector<Update::Applied>& applied) const;
    void dispose(Update& done);
    void dispose(Instances&& dropped);
    [[nodiscard]] bool isRegistered(int id) const;
};

LiveUpdates::LiveUpdates(DocumentLibrary& documents, TaskManager& tasks, Tracer& tracer)
    : m_state(std::make_unique<State>(documents, tasks, tracer)) {}

LiveUpdates::~LiveUpdates() = default;

void LiveUpdates::watch(bool isWatching) {
    if (isWatching == this->isWatching()) {
        return;
    }
    if (isWatching) {
        m_state->watcher.emplace(m_state->tasks);
        m_state->watcher->setInterval(m_state->interval);
        return;
    }
    m_state->watcher.reset();
    m_state->read.clear();
    if (m_state->update && !m_state->update->areDocumentsReplaced() && !m_state->isTicking) {
        m_state->update.reset();
    }
}

bool LiveUpdates::isWatching() const noexcept {
    return m_state->watcher.has_value();
}

void LiveUpdates::setPollInterval(std::chrono::milliseconds interval) {
    m_state->interval = interval;
    if (m_state->watcher) {
        m_state->watcher->setInterval(interval);
    }
}

int LiveUpdates::addListener(UpdateListener listener) {
    const int id = ++m_state->lastListenerId;
    m_state->listeners.emplace_back(id, std::make_shared<const UpdateListener>(std::move(listener)));
    return id;
}

void LiveUpdates::removeListener(int id) {
    std::erase_if(m_state->listeners, [id](const auto& listener) { return listener.first == id; });
}

std::uint64_t LiveUpdates::documentsVersion() const noexcept {
    return m_state->changedFiles.version();
}

void LiveUpdates::follow(std::unique_ptr<FollowedInstance> instance) {
    auto followed = std::make_shared<Followed>(std::move(*instance));
    followed->isWaiting = followed->documentsVersion != m_state->changedFiles.version();
    followed->isOutdated = followed->isWaiting;
    m_state->hasWaitingInstances = m_state->hasWaitingInstances || followed->isWaiting;
    if (!followed->isOutdated) {
        m_state->shapes.assign(*followed);
    }
    m_state->instances[followed->request].push_back(std::move(followed));
}

void LiveUpdates::unfollow(std::uint64_t request) {
    const auto found = m_state->instances.find(request);
    if (found == m_state->instances.end()) {
        return;
    }
    State::Instances dropped = std::move(found->second);
    m_state->instances.erase(found);
    for (const std::shared_ptr<Followed>& instance : dropped) {
        instance->isDropped = true;
    }
    m_state->dispose(std::move(dropped));
}

void LiveUpdates::onWorldDestroyed(int worldId) {
    State::Instances dropped;
    for (auto& [request, instances] : m_state->instances) {
        for (const std::shared_ptr<Followed>& instance : instances) {
            instance->isDropped = instance->isDropped || instance->worldId == worldId;
            if (instance->isDropped) {
                dropped.push_back(instance);
            }
        }
        std::erase_if(instances, [](const auto& instance) { return instance->isDropped; });
    }
    std::erase_if(m_state->instances, [](const auto& entry) { return entry.second.empty(); });
    m_state->dispose(std::move(dropped));
}

std::size_t LiveUpdates::followedCount() const noexcept {
    std::size_t count = 0;
    for (const auto& [request, instances] : m_state->instances) {
        count += static_cast<std::size_t>(std::count_if(instances.begin(), instances.end(),
                                                        [](const auto& instance) { return isValid(instance->root); }));
    }
    return count;
}

bool LiveUpdates::tick(FrameBudget& budget) {
    State& state = *m_state;
    if (state.isTicking) {
        return false;
    }
    struct Ticking {
        bool& isTicking;
        ~Ticking() { isTicking = false; }
    } ticking{state.isTicking};
    state.isTicking = true;
    try {
        state.prune();
        const bool hasTaken = state.takeRead();
        state.beginUpdate();
        return (state.update && state.continueUpdate(budget)) || hasTaken;
    } catch (...) { // There is no memory: what has been applied stays.
        state.update.reset();
        throw;
    }
}

/// Forgets instances without root. Looks at a few instances per frame, one request after the other.
void LiveUpdates::State::prune() {
    if (instances.empty()) {
        return;
    }
    auto request = instances.lower_bound(prunedRequest);
    if (request == instances.end()) {
        request = instances.begin();
    }
    if (request->first != prunedRequest) {
        prunedRequest = request->first;
        prunedCount = 0;
    }
    Instances& ofRequest = request->second;
    const std::size_t first = std::min(prunedCount, ofRequest.size());
    const std::size_t last = std::min(first + PRUNED_PER_FRAME, ofRequest.size());
    const auto begin = ofRequest.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = ofRequest.begin() + static_cast<std::ptrdiff_t>(last);
    Instances large;
    const auto dropped = std::remove_if(begin, end, [&large](const std::shared_ptr<Followed>& instance) {
        instance->isDropped = instance->isDropped || !isValid(instance->root);
        if (instance->isDropped && instance->items.size() >= LARGE_ITEMS_COUNT) {
            large.push_back(instance);
        }
        return instance->isDropped;
    });
    prunedCount = static_cast<std::size_t>(dropped - ofRequest.begin());
    const bool isLast = last == ofRequest.size();
    ofRequest.erase(dropped, end);
    if (isLast) {
        ++prunedRequest;
        prunedCount = 0;
    }
    if (ofRequest.empty()) {
        instances.erase(request);
    }
    dispose(std::move(large));
}

/// Returns whether a file has changed.
bool LiveUpdates::State::takeRead() {
    if (!watcher) {
        return false;
    }
    std::vector<SmartPointer<LoadedFile>> versions;
    watcher->takeRead(versions);
    watcher->poll(documents);
    std::vector<RefusedUpdate> refused;
    for (const SmartPointer<LoadedFile>& version : versions) {
        tracer.instant("changed file", 0, version->path);
        // One that cannot be used replaces an earlier one, too, which is not the content of the file any more.
        std::erase_if(read, [&](const SmartPointer<LoadedFile>& file) { return file->path == version->path; });
        if (version->prefab()) {
            read.push_back(version);
            continue;
        }
        refused.push_back({version->path, version->failures});
        for (LoadFailure& failure : refused.back().failures) {
            failure.chain = {version->path};
        }
    }
    for (const RefusedUpdate& file : refused) {
        reportRefused(file);
    }
    return !versions.empty();
}

void LiveUpdates::State::beginUpdate() {
    if (update || (read.empty() && !hasWaitingInstances)) {
        return;
    }
    hasWaitingInstances = false;
    isListed = false;
    areFilesNoted = false;
    update = std::make_unique<Update>(documents, std::exchange(read, {}));
}

/// Returns whether the update could do anything but wait for files.
bool LiveUpdates::State::continueUpdate(FrameBudget& budget) {
    const bool wasWaiting = update->isWaitingForFiles();
    const bool wereReplaced = update->areDocumentsReplaced();
    const std::string path = update->path();
    if (prepare(budget)) {
        applyUpdate(budget);
        return true;
    }
    if (wasWaiting && update->isWaitingForFiles() && wereReplaced == update->areDocumentsReplaced()) {
        return false;
    }
    budget.noteStep(path, "update preparation");
    return true;
}

/// Returns whether the update can be applied.
bool LiveUpdates::State::prepare(FrameBudget& budget) {
    if (!isListed) {
        const bool isPrepared = update->prepareDocuments(budget);
        if (update->areDocumentsReplaced() && !areFilesNoted) {
            areFilesNoted = true;
            noteChangedFiles();
        }
        if (!isPrepared) {
            return false;
        }
        isListed = true;
        listInstances();
    }
    return update->prepareInstances(budget);
}

void LiveUpdates::State::noteChangedFiles() {
    for (const std::string& file : update->files()) {
        changedFiles.add(file);
    }
    const std::vector<Update::Refused> refused = update->takeRefused();
    for (const Update::Refused& file : refused) {
        if (watcher && !file.causes.empty()) {
            watcher->retryAfter(file.update.file, file.causes);
        }
    }
    for (const Update::Refused& file : refused) {
        reportRefused(file.update);
    }
}

void LiveUpdates::State::listInstances() {
    for (const auto& [request, ofRequest] : instances) {
        for (const std::shared_ptr<Followed>& instance : ofRequest) {
            std::vector<std::string> changedBefore;
            if (instance->isOutdated) {
                changedBefore = changedFiles.since(instance->documentsVersion);
            }
            update->addInstance(instance, std::move(changedBefore));
        }
    }
}

void LiveUpdates::State::applyUpdate(FrameBudget& budget) {
    const Tracer::Clock::time_point start = Tracer::Clock::now();
    const std::string path = update->files().empty() ? std::string() : update->files().front();
    std::vector<Update::Applied> applied;
    update->apply(shapes, listeners.empty() ? nullptr : &applied);
    tracer.span("update", start, 0, path);
    budget.noteStep(path, "update");
    const std::unique_ptr<Update> done = std::move(update);
    dispose(*done);
    for (const Update::Refused& refused : done->takeRefused()) {
        reportRefused(refused.update);
    }
    reportUpdated(applied);
}

/// Many descriptors take long to be destroyed.
void LiveUpdates::State::dispose(Update& done) {
    std::unique_ptr<Update::Remains> remains = done.takeRemains();
    if (!remains->changes.empty() || !remains->refused.empty()) {
        disposeOnWorker(tasks, std::move(remains));
    }
}

/// What instances with many items were created from takes long to be destroyed, too.
void LiveUpdates::State::dispose(Instances&& dropped) {
    std::size_t itemsCount = 0;
    for (const std::shared_ptr<Followed>& instance : dropped) {
        itemsCount += instance->items.size();
    }
    if (itemsCount >= LARGE_ITEMS_COUNT) {
        disposeOnWorker(tasks, std::move(dropped));
    }
}

bool LiveUpdates::State::isRegistered(int id) const {
    return std::any_of(listeners.begin(), listeners.end(), [id](const auto& listener) { return listener.first == id; });
}

void LiveUpdates::State::reportRefused(const RefusedUpdate& refused) const {
    const auto called = listeners; // A listener may add and remove some.
    for (const auto& [id, listener] : called) {
        if (listener->onRefused && isRegistered(id)) {
            callListener([&, function = &listener->onRefused] { (*function)(refused); });
        }
    }
}

void LiveUpdates::State::reportUpdated(std::vector<Update::Applied>& applied) const {
    const auto called = listeners;  // A listener may add and remove some.
    std::vector<std::string> files; // Are passed from one update to the next one.
    const std::vector<std::string>* filesOf = nullptr;
    for (Update::Applied& part : applied) {
        if (part.instance->isDropped || !isValid(part.instance->root)) { // Since the update.
            continue;
        }
        if (part.files != filesOf) {
            filesOf = part.files;
            files = *filesOf;
        }
        part.update.root = part.instance->root;
        part.update.files.swap(files);
        for (const auto& [id, listener] : called) {
            if (listener->onUpdated && isRegistered(id)) {
                callListener([&, function = &listener->onUpdated] { (*function)(part.update); });
            }
        }
        part.update.files.swap(files);
    }
}

} // namespace Kiln::Tessel::Streaming::detail
