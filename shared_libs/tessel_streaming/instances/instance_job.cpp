#include <tessel_streaming/instances/instance_job.h>

#include <object_framework/entry_point.h>
#include <object_framework/game_object_manager.h>
#include <tessel_asset_loading/game_object_prefab/uuid_map_recycling.h>
#include <tessel_asset_loading/loading/root_placing.h>
#include <tessel_asset_loading/prefab_component/service/root_finishing.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

using Clock = FrameBudget::Clock;
using Tessel::detail::InstanceCreation;
using Stage = InstanceCreation::Stage;

/// The parts of a creation's time that its stages take, roughly, by stage.
constexpr std::array<double, 5> STAGE_PARTS{0.15, 0.1, 0.1, 0.15, 0.5};

/// The texts of errors, as one.
[[nodiscard]] std::string joined(const std::vector<std::string>& errors) {
    std::string text;
    for (const std::string& error : errors) {
        if (!text.empty()) {
            text += ' ';
        }
        text += error;
    }
    return text.empty() ? "The objects could not be created." : text;
}

} // namespace

InstanceJob::InstanceJob(InstanceOrder order, const SmartPointer<LoadedFile>& top, const DocumentLibrary& documents,
                         InstanceCosts& costs)
    : m_order(std::move(order)),
      m_top(top),
      m_costs(costs),
      m_resolver(documents, top),
      m_config{m_order.worldId, m_order.instanceUuid, m_order.overrides, std::unordered_map<Uuid, GameObject>(8)} {}

InstanceJob::~InstanceJob() {
    UnitCost cost;
    (void)remove(Tessel::detail::Deadline(), cost);
}

InstanceJob::Outcome InstanceJob::step(FrameBudget& budget) {
    if (m_step != Step::START && !EntryPoint::instance().isWorldValid(m_order.worldId)) {
        fail(FailureCode::INVALID_WORLD, "The world was destroyed while the prefab was loaded.");
        return Outcome::FAILED;
    }
    if (m_step > Step::PLACE) {
        failIfRootIsGone();
        if (m_hasFailed) {
            return Outcome::FAILED;
        }
    }
    using Work = void (InstanceJob::*)(FrameBudget&);
    static constexpr std::array<Work, 9> WORK{
        &InstanceJob::start,          &InstanceJob::gather,          &InstanceJob::create,
        &InstanceJob::place,          &InstanceJob::disableChildren, &InstanceJob::activate,
        &InstanceJob::enableChildren, &InstanceJob::release,         &InstanceJob::doNothing};
    (this->*WORK[static_cast<std::size_t>(m_step)])(budget); // By step.
    if (m_hasFailed) {
        return Outcome::FAILED;
    }
    if (m_step == Step::GATHER && !m_creation) {
        return Outcome::NEEDS_FILES;
    }
    return m_step == Step::DONE ? Outcome::COMPLETE : Outcome::WORKING;
}

UnitCost::Duration InstanceJob::predictedStep() const noexcept {
    switch (m_step) {
    case Step::START:
        return m_costs.start.predicted();
    case Step::GATHER:
    case Step::CREATE:
        return m_costs.creation.predicted();
    case Step::PLACE:
        return m_costs.placing.predicted();
    case Step::ACTIVATE:
        // BY_SUBTREE activates only the root here, and each subtree later.
        return m_costs.activation.predicted() *
               static_cast<UnitCost::Duration::rep>(m_order.activation == Activation::AT_ONCE ? m_objectsTotal : 1);
    case Step::ENABLE_CHILDREN:
        return m_costs.activation.predicted() *
               static_cast<UnitCost::Duration::rep>(m_objectsTotal / std::max<std::size_t>(m_children.size(), 1));
    case Step::DISABLE_CHILDREN:
    case Step::RELEASE:
    case Step::DONE:
        break;
    }
    return m_costs.release.predicted();
}

const char* InstanceJob::stepName() const noexcept {
    switch (m_step) {
    case Step::START:
        return "start";
    case Step::GATHER:
    case Step::CREATE:
        return "creation";
    case Step::PLACE:
        return "placing";
    case Step::DISABLE_CHILDREN:
    case Step::ACTIVATE:
    case Step::ENABLE_CHILDREN:
        return "activation";
    case Step::RELEASE:
    case Step::DONE:
        break;
    }
    return "release";
}

LoadPhase InstanceJob::phase() const noexcept {
    if (m_step <= Step::GATHER) {
        return LoadPhase::READING; // More files may turn out to be needed.
    }
    return m_step <= Step::PLACE ? LoadPhase::CREATING : LoadPhase::ACTIVATING;
}

std::size_t InstanceJob::objectsCreated() const noexcept {
    if (m_step > Step::CREATE) {
        return m_objectsTotal;
    }
    return m_creation && m_creation->stage() == Stage::CREATING_COMPONENTS ? m_creation->doneCount() : 0;
}

double InstanceJob::creationRatio() const noexcept {
    if (m_step > Step::CREATE || !m_creation) {
        return m_step > Step::CREATE ? 1 : 0;
    }
    const auto stage = static_cast<std::size_t>(m_creation->stage());
    double ratio = 0;
    for (std::size_t i = 0; i < std::min(stage, STAGE_PARTS.size()); ++i) {
        ratio += STAGE_PARTS[i];
    }
    if (stage > 0 && stage < STAGE_PARTS.size() && m_creation->itemsCount() > 0) {
        ratio += STAGE_PARTS[stage] * static_cast<double>(m_creation->doneCount()) /
                 static_cast<double>(m_creation->itemsCount());
    }
    return ratio;
}

bool InstanceJob::checkWorldAndParent() {
    const GameObject parent = m_order.parent;
    if (!EntryPoint::instance().isWorldValid(m_order.worldId)) {
        fail(FailureCode::INVALID_WORLD, "World " + std::to_string(m_order.worldId) + " does not exist.");
    } else if (!parent.isInvalid() && parent.getWorldId() != m_order.worldId) {
        fail(FailureCode::PARENT_IN_OTHER_WORLD, "The parent is an object of world " +
                                                     std::to_string(parent.getWorldId()) + ", not of world " +
                                                     std::to_string(m_order.worldId) + ".");
    } else if (!parent.isInvalid() && !isValid(parent)) {
        fail(FailureCode::INVALID_PARENT, "The parent does not exist any more.");
    }
    return !m_hasFailed;
}

void InstanceJob::failIfRootIsGone() {
    if (isValid(m_root)) {
        return;
    }
    if (!m_order.parent.isInvalid() && !isValid(m_order.parent)) {
        fail(FailureCode::INVALID_PARENT, "The parent does not exist any more.");
    } else {
        fail(FailureCode::CREATION_FAILED, "The root was removed before the load was complete.");
    }
}

void InstanceJob::start(FrameBudget& /*budget*/) {
    if (!checkWorldAndParent()) {
        return;
    }
    const Clock::time_point begin = Clock::now();
    // Read the listener first: components may replace it during the creation.
    m_listener = EntryPoint::instance().getService<ComponentLibrary>()->creationListener();
    m_creation.emplace(*m_top->prefab(), m_config, &m_resolver);
    m_step = Step::GATHER;
    m_costs.start.note(Clock::now() - begin, 1);
}

void InstanceJob::gather(FrameBudget& budget) {
    runCreation(budget, Stage::DERIVING_UUIDS);
    if (m_hasFailed || m_creation->stage() == Stage::GATHERING) {
        return;
    }
    if (!m_resolver.unreadFiles().empty()) {
        m_creation.reset();
        return;
    }
    if (!m_resolver.failures().empty()) {
        m_failures = m_resolver.failures();
        if (m_order.failurePolicy == FailurePolicy::FAIL) {
            m_hasFailed = true;
            return;
        }
    }
    m_objectsTotal = m_creation->itemsCount();
    m_step = Step::CREATE;
}

void InstanceJob::create(FrameBudget& budget) {
    runCreation(budget, Stage::SUCCEEDED);
    if (m_hasFailed || !m_creation->isFinished()) {
        return;
    }
    m_objects = m_creation->takeObjects();
    m_root = m_objects.front();
    m_step = Step::PLACE;
}

void InstanceJob::runCreation(FrameBudget& budget, Stage pauseBefore) {
    const Clock::time_point begin = Clock::now();
    const Stage stage = m_creation->stage();
    const std::size_t done = stage == Stage::GATHERING ? m_creation->itemsCount() : m_creation->doneCount();
    const Tessel::detail::Report::ErrorCapture errors;
    try {
        m_creation->step(budget.deadlineFor(m_costs.creation.predicted()), pauseBefore);
    } catch (...) {
        const SmartPointer<IComponentDescriptor>& component = m_creation->failedComponent();
        const std::string activity =
            component ? "Component '" + component->name() + "' threw an exception" : "The creation threw an exception";
        failOnException(component ? FailureCode::COMPONENT_THREW : FailureCode::CREATION_FAILED, activity.c_str(),
                        component ? m_resolver.chainToComponent(*component) : std::vector<std::string>());
        return;
    }
    if (m_creation->stage() == Stage::REMOVING || m_creation->stage() == Stage::FAILED) {
        std::vector<std::string> texts = errors.errors();
        std::erase(texts, "Failed to create prefab instance.");
        fail(EntryPoint::instance().isWorldValid(m_order.worldId) ? FailureCode::CREATION_FAILED
                                                                  : FailureCode::INVALID_WORLD,
             joined(texts));
        return;
    }
    const std::size_t doneNow = stage == Stage::GATHERING ? m_creation->itemsCount() : m_creation->doneCount();
    if (m_creation->stage() == stage && doneNow > done) {
        m_costs.creation.note(Clock::now() - begin, doneNow - done);
    }
}

void InstanceJob::place(FrameBudget& /*budget*/) {
    const Clock::time_point begin = Clock::now();
    if (!checkWorldAndParent()) {
        return;
    }
    try {
        if (offerToListener()) {
            placeRoot(*getGameObjectManager(m_order.worldId));
        }
    } catch (...) {
        failOnException(FailureCode::CREATION_FAILED, "The creation listener or a component threw an exception");
    }
    m_costs.placing.note(Clock::now() - begin, 1);
}

/// Returns false if the job has failed. The listener may do anything.
bool InstanceJob::offerToListener() {
    if (!Tessel::detail::offerToListener(m_listener, *m_top->prefab(), m_order.worldId, m_config.instanceUuid,
                                         std::move(m_config.uuidMap))) {
        fail(FailureCode::REFUSED_BY_LISTENER, "The creation listener refused the instance.");
    } else if (!EntryPoint::instance().isWorldValid(m_order.worldId)) {
        fail(FailureCode::INVALID_WORLD, "The world was destroyed while the prefab was loaded.");
    } else {
        failIfRootIsGone();
    }
    return !m_hasFailed && checkWorldAndParent();
}

void InstanceJob::placeRoot(GameObjectManager& manager) {
    Tessel::detail::stampRoot(manager, m_root, m_config.instanceUuid);
    if (!m_order.parent.isInvalid()) {
        Tessel::detail::attachRoot(m_root, m_order.parent, manager);
    }
    if (m_order.placement) {
        Tessel::detail::placeRoot(m_root, *m_order.placement, manager);
    }
    if (m_order.activation == Activation::NONE) {
        manager.deactivateGameObject(m_root); // Otherwise it would become active with its parent.
    }
    if (!isActivated(manager)) {
        m_step = Step::RELEASE;
    } else if (m_order.activation == Activation::BY_SUBTREE) {
        m_children = manager.getChildren(m_root);
        m_step = Step::DISABLE_CHILDREN;
    } else {
        m_step = Step::ACTIVATE;
    }
}

/// Whether the root is to be activated: not if it is inactive by default or has an inactive parent.
bool InstanceJob::isActivated(GameObjectManager& manager) const {
    const SmartPointer<GameObjectDescriptor> firstNode = m_top->prefab()->getGameObject(0);
    return m_order.activation != Activation::NONE && firstNode && !firstNode->isInactiveByDefault() &&
           (m_order.parent.isInvalid() || manager.isActive(m_order.parent));
}

template <class Unit>
bool InstanceJob::forEachChild(FrameBudget& budget, const Unit& unit) {
    const Clock::time_point begin = Clock::now();
    const std::size_t first = m_nextChild;
    do {
        GameObjectManager* const manager = getGameObjectManager(m_order.worldId);
        if (!manager || m_nextChild == m_children.size()) {
            break;
        }
        unit(*manager, m_children[m_nextChild++]);
    } while (budget.hasRoomFor((Clock::now() - begin) / static_cast<Clock::rep>(m_nextChild - first)));
    return m_nextChild == m_children.size();
}

void InstanceJob::disableChildren(FrameBudget& budget) {
    const bool isDone = forEachChild(budget, [](GameObjectManager& manager, GameObject& child) {
        if (manager.isEnabled(child)) {
            manager.deactivateGameObject(child);
        } else {
            child = GameObject::INVALID_GAME_OBJECT;
        }
    });
    if (isDone) {
        m_nextChild = 0;
        m_step = Step::ACTIVATE;
    }
}

void InstanceJob::activate(FrameBudget& /*budget*/) {
    const Clock::time_point begin = Clock::now();
    const bool isAtOnce = m_order.activation == Activation::AT_ONCE;
    m_step = isAtOnce ? Step::RELEASE : Step::ENABLE_CHILDREN;
    try {
        if (GameObjectManager* const manager = getGameObjectManager(m_order.worldId)) {
            manager->activateGameObject(m_root);
        }
    } catch (...) {
        failOnException(FailureCode::COMPONENT_THREW, "A component threw an exception when it was activated");
    }
    if (isAtOnce) {
        m_costs.activation.note(Clock::now() - begin, m_objectsTotal);
    }
}

void InstanceJob::enableChildren(FrameBudget& budget) {
    try {
        const bool isDone = forEachChild(budget, [](GameObjectManager& manager, GameObject child) {
            manager.activateGameObject(child); // Does nothing for the invalid object.
        });
        if (isDone) {
            m_step = Step::RELEASE;
        }
    } catch (...) {
        failOnException(FailureCode::COMPONENT_THREW, "A component threw an exception when it was activated");
    }
}

void InstanceJob::release(FrameBudget& budget) {
    const Tessel::detail::Deadline deadline = budget.deadlineFor(m_costs.release.predicted());
    if (m_creation && m_order.follow && !m_isKept) {
        m_isKept = keepForUpdates(deadline);
        if (!m_isKept) {
            return;
        }
    }
    if (m_creation && !m_creation->release(deadline)) {
        return;
    }
    m_creation.reset();
    if (Tessel::detail::disposeOf(m_config.uuidMap, deadline)) {
        m_step = Step::DONE;
    }
}

/// Copies what updates need, item by item. Returns whether all have been copied.
bool InstanceJob::keepForUpdates(const Tessel::detail::Deadline& deadline) {
    const InstanceCreation::Items& items = m_creation->items();
    const auto& itemObjects = m_creation->itemObjects();
    if (!m_followed) {
        m_followed = std::make_unique<FollowedInstance>();
        m_followed->path = m_top->path;
        m_followed->worldId = m_order.worldId;
        m_followed->instanceUuid = m_order.instanceUuid;
        m_followed->overrides = m_order.overrides;
        m_followed->placement = m_order.placement;
        m_followed->documentsVersion = m_order.documentsVersion;
        m_followed->items.reserve(items.size());
        m_followed->objects.reserve(items.size());
        m_followed->uuids.reserve(items.size());
    }
    while (m_followed->items.size() < items.size()) {
        const std::size_t index = m_followed->items.size();
        m_followed->objects.push_back(itemObjects[index].object);
        m_followed->uuids.push_back(itemObjects[index].uuid);
        m_followed->items.push_back(items[index]);
        if (deadline.hasPassed()) {
            break;
        }
    }
    return m_followed->items.size() == items.size();
}

std::vector<GameObject> InstanceJob::takeObjects() {
    m_root = GameObject::INVALID_GAME_OBJECT;
    return std::exchange(m_objects, {});
}

std::unique_ptr<FollowedInstance> InstanceJob::takeFollowed() {
    if (m_followed) {
        m_followed->root = m_root;
    }
    return std::move(m_followed);
}

bool InstanceJob::remove(const Tessel::detail::Deadline& deadline, UnitCost& cost) {
    // The creation of a complete instance has nothing left to roll back.
    if (m_creation && m_step <= Step::CREATE && !m_creation->rollBack(deadline)) {
        return false;
    }
    return removeObjects(m_objects, deadline, cost);
}

void InstanceJob::fail(FailureCode code, std::string message, std::vector<std::string> chain) {
    if (chain.empty()) {
        chain = {m_top->path};
    }
    m_hasFailed = true;
    m_failures.clear();
    const std::string culprit = chain.back();
    m_failures.push_back({code, culprit, 0, std::move(chain), std::move(message)});
}

void InstanceJob::failOnException(FailureCode code, const char* activity, std::vector<std::string> chain) {
    std::string message = std::string(activity) + ": ";
    try {
        throw; // cppcheck-suppress rethrowNoCurrentException
    } catch (const std::bad_alloc&) {
        code = FailureCode::OUT_OF_MEMORY;
        message += "There is not enough memory.";
    } catch (const std::exception& exception) {
        message += exception.what();
    } catch (...) {
        message += "unknown exception";
    }
    fail(code, std::move(message), std::move(chain));
}

} // namespace Kiln::Tessel::Streaming::detail
