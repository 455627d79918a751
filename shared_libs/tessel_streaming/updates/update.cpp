#include <tessel_streaming/updates/update.h>

#include <tessel_streaming/load_options.h>
#include <tessel_streaming/updates/nesting_check.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// What one unit of comparing or preparing is expected to take.
constexpr std::chrono::microseconds UNIT_COST{20};

} // namespace

Update::Update(DocumentLibrary& documents, std::vector<SmartPointer<LoadedFile>> newer)
    : m_documents(documents), m_nestedPrefabs(documents) {
    for (SmartPointer<LoadedFile>& file : newer) {
        const SmartPointer<LoadedFile> older = documents.find(file->path);
        if (older && older->prefab()) {
            m_changes.push_back(std::make_unique<DocumentChange>(older, std::move(file)));
        } else {
            documents.replace(file); // No request needs it; it is only kept.
        }
    }
}

Update::~Update() {
    for (const DocumentLibrary::NeedId need : m_needs) {
        m_documents.remove(need);
    }
}

bool Update::prepareDocuments(FrameBudget& budget) {
    if (m_stage == Stage::COMPARING && compare(budget)) {
        requestNested();
        m_stage = Stage::READING;
    }
    if (m_stage == Stage::READING && isNestedRead()) {
        refuseUnsound();
        replaceDocuments();
        m_stage = Stage::COMPLETING;
    }
    if (m_stage == Stage::COMPLETING && areNeedsComplete()) {
        m_stage = Stage::COMPLETE;
    }
    return m_stage == Stage::COMPLETE;
}

bool Update::compare(FrameBudget& budget) {
    while (m_compared < m_changes.size()) {
        if (!m_changes[m_compared]->compare(budget.deadlineFor(UNIT_COST))) {
            return false;
        }
        ++m_compared;
        if (!budget.hasRoomFor(UNIT_COST)) {
            break;
        }
    }
    return m_compared == m_changes.size();
}

void Update::requestNested() {
    for (const std::unique_ptr<DocumentChange>& change : m_changes) {
        for (const std::string& path : newlyNested(change->older(), *change->newer())) {
            m_needs.push_back(m_documents.add(path, DEFAULT_PRIORITY, false));
        }
    }
}

bool Update::isNestedRead() const {
    return std::all_of(m_needs.begin(), m_needs.end(),
                       [this](DocumentLibrary::NeedId need) { return m_documents.isComplete(need); });
}

/// Why each change cannot be used. A version that is refused does not count for the others, which are then checked
/// against the older one, that stays.
std::vector<std::vector<LoadFailure>> Update::findFailures() const {
    std::vector<std::vector<LoadFailure>> failures;
    for (const std::unique_ptr<DocumentChange>& change : m_changes) {
        failures.push_back(change->findFailures());
    }
    const FindFile find = [&](const std::string& path) {
        for (std::size_t i = 0; i < m_changes.size(); ++i) {
            if (failures[i].empty() && m_changes[i]->path() == path) {
                return m_changes[i]->newer();
            }
        }
        return m_documents.find(path);
    };
    bool isComplete = false;
    while (!isComplete) {
        isComplete = true;
        std::vector<std::vector<LoadFailure>> found(m_changes.size());
        for (std::size_t i = 0; i < m_changes.size(); ++i) {
            if (failures[i].empty()) {
                found[i] = checkNesting(m_changes[i]->older(), *m_changes[i]->newer(), find);
            }
        }
        for (std::size_t i = 0; i < m_changes.size(); ++i) {
            if (!found[i].empty()) {
                failures[i] = std::move(found[i]);
                isComplete = false;
            }
        }
    }
    return failures;
}

void Update::refuseUnsound() {
    std::vector<std::vector<LoadFailure>> failures = findFailures();
    std::vector<std::unique_ptr<DocumentChange>> sound;
    for (std::size_t i = 0; i < m_changes.size(); ++i) {
        if (failures[i].empty()) {
            sound.push_back(std::move(m_changes[i]));
            continue;
        }
        std::vector<std::string> causes;
        for (const LoadFailure& failure : failures[i]) {
            causes.insert(causes.end(), failure.chain.begin() + 1, failure.chain.end());
        }
        m_refused.push_back({{m_changes[i]->path(), std::move(failures[i])}, std::move(causes)});
        m_refusedChanges.push_back(std::move(m_changes[i]));
    }
    m_changes = std::move(sound);
}

void Update::replaceDocuments() {
    for (const std::unique_ptr<DocumentChange>& change : m_changes) {
        m_documents.replace(change->newer());
        if (!change->isEmpty()) {
            m_files.push_back(change->path());
        }
        for (const NodeChange& node : change->changes()) {
            m_nodes.add(node);
        }
    }
}

bool Update::areNeedsComplete() const {
    for (const std::unique_ptr<DocumentChange>& change : m_changes) {
        const std::vector<DocumentLibrary::NeedId> needs = m_documents.needsOf(change->path());
        if (!std::all_of(needs.begin(), needs.end(),
                         [this](DocumentLibrary::NeedId need) { return m_documents.isComplete(need); })) {
            return false;
        }
    }
    return true;
}

Tessel::detail::NestedPrefab Update::LibraryPrefabs::load(const std::string& resource,
                                                          std::span<const GameObjectPrefab* const> /*enclosing*/) {
    const SmartPointer<LoadedFile> file = m_documents.find(resource);
    return file && file->prefab() ? Tessel::detail::NestedPrefab(file->prefab(), file->entry)
                                  : Tessel::detail::NestedPrefab();
}

/// Whether the items of an instance cannot simply get the newer descriptors. The root of a nested prefab is merged with
/// the point where it is nested, so that the instance does not have its descriptor.
bool Update::hasOtherObjects(const DocumentChange& document, const std::string& instancePath) const noexcept {
    return document.isStructural() || (document.isRootChanged() && document.path() != instancePath);
}

const Update::Reach& Update::reachOf(const std::string& path) {
    const auto [entry, isNew] = m_reach.try_emplace(path);
    Reach& reach = entry->second;
    if (isNew) {
        std::vector<std::string> paths;
        for (const std::unique_ptr<DocumentChange>& change : m_changes) {
            paths.push_back(change->path());
        }
        for (const std::size_t index :
             findReached(path, paths, [this](const std::string& file) { return m_documents.find(file); })) {
            if (!m_changes[index]->isEmpty()) {
                reach.files.push_back(m_changes[index]->path());
                reach.hasOtherObjects = reach.hasOtherObjects || hasOtherObjects(*m_changes[index], path);
            }
        }
    }
    return reach;
}

/// The overrides of a request may nest anything.
bool Update::needsListing(const Followed& instance, const Reach& reach) const {
    return instance.isOutdated || reach.hasOtherObjects ||
           (instance.overrides && std::any_of(m_changes.begin(), m_changes.end(), [&](const auto& change) {
                return hasOtherObjects(*change, instance.path);
            }));
}

void Update::addInstance(const std::shared_ptr<Followed>& instance, std::vector<std::string> changedBefore) {
    if (!instance->shape || instance->shape.get() != m_lastShape) {
        m_lastReach = &reachOf(instance->path);
        m_lastShape = instance->shape.get();
    }
    const Reach& reach = *m_lastReach;
    const std::vector<std::string>* files = instance->overrides ? &m_files : &reach.files;
    if (!changedBefore.empty()) {
        files =
            m_filesOfWaiting.emplace_back(std::make_unique<std::vector<std::string>>(std::move(changedBefore))).get();
    }
    if (!needsListing(*instance, reach)) {
        if (!files->empty()) {
            m_targets.push_back({instance, files, nullptr});
        }
        return;
    }
    instance->isWaiting = false;
    instance->isOutdated = true; // Until it has been updated.
    instance->leaveShape();
    SmartPointer<LoadedFile> document = m_documents.find(instance->path);
    if (document && document->prefab()) {
        m_targets.push_back(
            {instance, files, std::make_unique<InstanceChange>(*instance, std::move(document), m_nestedPrefabs)});
    }
}

bool Update::prepareInstances(FrameBudget& budget) {
    for (; m_nextTarget < m_targets.size(); ++m_nextTarget) {
        Target& target = m_targets[m_nextTarget];
        if (!target.change) {
            continue;
        }
        if (target.instance->isDropped || !isValid(target.instance->root)) {
            target.change.reset();
            target.instance->isDropped = true;
        } else if (!target.change->prepare(budget.deadlineFor(UNIT_COST))) {
            return false;
        }
        if (!budget.hasRoomFor(UNIT_COST)) {
            ++m_nextTarget;
            break;
        }
    }
    return m_nextTarget == m_targets.size();
}

void Update::apply(InstanceShapes& shapes, std::vector<Applied>* applied) {
    if (applied) {
        applied->reserve(m_targets.size());
    }
    m_lastShape = nullptr;
    for (Target& target : m_targets) {
        if (!target.instance->isDropped && isValid(target.instance->root)) {
            applyTo(target, shapes, applied);
        }
    }
    m_targets.clear();
}

void Update::applyTo(Target& target, InstanceShapes& shapes, std::vector<Applied>* applied) {
    Followed& instance = *target.instance;
    InstanceUpdate update;
    if (!target.change) {
        applyValuesTo(instance, update, applied);
    } else if (target.change->hasFailed()) {
        m_refused.push_back(
            {{instance.path,
              {{FailureCode::CREATION_FAILED, instance.path, 0, {instance.path}, "An instance cannot be updated."}}},
             {}});
        return;
    } else {
        target.change->apply(update);
        shapes.assign(instance);
        instance.isOutdated = false;
    }
    if (applied && (!update.added.empty() || !update.changed.empty() || !update.removed.empty())) {
        applied->push_back({target.instance, std::move(update), target.files});
    }
}

void Update::applyValuesTo(Followed& instance, InstanceUpdate& update, bool isReported) {
    std::vector<GameObject>* const changed = isReported ? &update.changed : nullptr;
    if (!instance.shape) {
        applyValues(instance, replaceDescriptors(instance, m_nodes), m_nodes.haveLinks(), changed);
        return;
    }
    if (instance.shape.get() != m_lastShape) {
        m_lastShape = instance.shape.get();
        const auto [entry, isNew] = m_changesOfShapes.try_emplace(m_lastShape);
        if (isNew) {
            entry->second = replaceDescriptors(*instance.shape, m_nodes);
        }
        m_lastChanges = &entry->second;
    }
    applyValues(instance, *m_lastChanges, m_nodes.haveLinks(), changed);
}

std::unique_ptr<Update::Remains> Update::takeRemains() {
    auto remains = std::make_unique<Remains>();
    for (const std::unique_ptr<DocumentChange>& change : m_changes) {
        remains->documents.push_back(change->takeUnused());
    }
    remains->changes = std::move(m_changes);
    remains->refused = std::move(m_refusedChanges);
    return remains;
}

} // namespace Kiln::Tessel::Streaming::detail
