#include <tessel_streaming/updates/document_change.h>

#include <object_framework/hierarchy_component.h>
#include <reflection/reflected_object.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Whether live components that are made from either of them, in one creation, would be equal.
[[nodiscard]] bool areEqual(IComponentDescriptor& older, IComponentDescriptor& newer) {
    if (older.type() != newer.type() || older.name() != newer.name() ||
        older.getInstanceOptions() != newer.getInstanceOptions()) {
        return false;
    }
    const mirra::ReflectedObject a = older.viewConfiguration();
    const mirra::ReflectedObject b = newer.viewConfiguration();
    return !a.isValid() || arePropertiesEqual(*a.metaObject(), a.object(), b.object());
}

[[nodiscard]] bool isIntegrationPoint(const GameObjectDescriptor& node) {
    return node.parentLink() && findPrefabDescriptor(node);
}

} // namespace

DocumentChange::DocumentChange(SmartPointer<LoadedFile> older, SmartPointer<LoadedFile> newer)
    : m_older(std::move(older)), m_newer(std::move(newer)) {
    m_isStructural = m_older->prefab()->nodesCount() != m_newer->prefab()->nodesCount();
    m_newerUuids.reserve(m_newer->prefab()->nodesCount()); // So that no step has to move all of them.
}

bool DocumentChange::compare(const Tessel::detail::Deadline& deadline) {
    do {
        if (m_isIndexing) {
            indexNext();
        } else if (m_nextNode < m_newer->prefab()->nodesCount()) {
            compareNext();
        } else {
            finish();
            return true;
        }
    } while (!deadline.hasPassed());
    return false;
}

void DocumentChange::indexNext() {
    const GameObjectPrefab& older = *m_older->prefab();
    if (m_nextIndexed < older.nodesCount()) {
        m_index.try_emplace(older.getGameObject(m_nextIndexed)->uuid(), m_nextIndexed);
        ++m_nextIndexed;
    } else {
        m_isIndexing = false;
    }
}

/// The node of the same index if its UUID is equal, otherwise the first node with that UUID; null if there is none, and
/// if the index of UUIDs has to be made first.
SmartPointer<GameObjectDescriptor> DocumentChange::findOlder(const GameObjectDescriptor& newer) {
    const GameObjectPrefab& document = *m_older->prefab();
    if (m_nextNode < document.nodesCount()) {
        SmartPointer<GameObjectDescriptor> neighbour = document.getGameObject(m_nextNode);
        if (neighbour->uuid() == newer.uuid()) {
            return neighbour;
        }
    }
    m_isStructural = true;
    if (m_nextIndexed == 0) {
        m_isIndexing = true;
        return nullptr;
    }
    const auto found = m_index.find(newer.uuid());
    return found == m_index.end() ? nullptr : document.getGameObject(found->second);
}

void DocumentChange::compareNext() {
    const SmartPointer<GameObjectDescriptor> newer = m_newer->prefab()->getGameObject(m_nextNode);
    const SmartPointer<GameObjectDescriptor> older = findOlder(*newer);
    if (m_isIndexing) {
        return;
    }
    check(*newer);
    if (older) {
        m_shared.push_back(share(older, newer));
    } else {
        m_shared.push_back(newer);
    }
    ++m_nextNode;
}

void DocumentChange::check(const GameObjectDescriptor& newer) {
    m_rootsCount += newer.parentLink() ? 0 : 1;
    if (!m_newerUuids.insert(newer.uuid()).second && !m_duplicate) {
        m_duplicate = newer.uuid();
    }
}

std::vector<LoadFailure> DocumentChange::findFailures() const {
    std::vector<LoadFailure> failures;
    const auto add = [&](FailureCode code, std::string text) {
        failures.push_back({code, path(), 0, {path()}, std::move(text)});
    };
    if (m_rootsCount == 0) {
        add(FailureCode::NO_ROOT, "The prefab has no root.");
    } else if (m_rootsCount > 1) {
        add(FailureCode::NOT_A_PREFAB, "The prefab has more than one game object without a parent.");
    }
    if (m_duplicate) {
        add(FailureCode::CREATION_FAILED, "Two game objects have the UUID " + m_duplicate->toString() + ".");
    }
    return failures;
}

/// The older descriptor if both are equal, otherwise one with the newer values that shares equal components.
SmartPointer<GameObjectDescriptor> DocumentChange::share(const SmartPointer<GameObjectDescriptor>& older,
                                                         const SmartPointer<GameObjectDescriptor>& newer) {
    NodeChange change{
        older, makeSmart<GameObjectDescriptor>(), older->name() != newer->name(), older->flags() != newer->flags(), {}};
    GameObjectDescriptor& shared = *change.newer;
    shared.setUuid(newer->uuid());
    shared.setName(change.isRenamed ? newer->sharedName() : older->sharedName());
    shared.setFlags(newer->flags());
    for (const SmartPointer<IComponentDescriptor>& component : newer->components()) {
        IComponentDescriptor* const before = older->findComponent(component->type());
        if (before && areEqual(*before, *component)) {
            shared.addComponent(SmartPointer<IComponentDescriptor>::share(before));
        } else {
            shared.addComponent(component);
            change.components.push_back({component->type(), component});
        }
    }
    for (const SmartPointer<IComponentDescriptor>& component : older->components()) {
        if (!newer->hasComponent(component->type())) {
            change.components.push_back({component->type(), nullptr});
        }
    }
    if (!change.isRenamed && !change.areFlagsChanged &&
        std::equal(shared.components().begin(), shared.components().end(), older->components().begin(),
                   older->components().end())) {
        return older;
    }
    classify(change);
    SmartPointer<GameObjectDescriptor> result = change.newer;
    m_changes.push_back(std::move(change));
    return result;
}

void DocumentChange::classify(const NodeChange& change) {
    const ComponentTypeId hierarchyType = NativeComponent<HierarchyComponent>::getType();
    const ComponentTypeId prefabType = NativeComponent<PrefabComponent>::getType();
    m_isRootChanged = m_isRootChanged || !change.older->parentLink();
    m_isStructural =
        m_isStructural || isIntegrationPoint(*change.older) || isIntegrationPoint(*change.newer) ||
        std::any_of(change.components.begin(), change.components.end(), [=](const ComponentChange& component) {
            return component.type == hierarchyType || component.type == prefabType;
        });
}

void DocumentChange::finish() {
    GameObjectPrefab document;
    for (SmartPointer<GameObjectDescriptor>& node : m_shared) {
        document.addGameObject(std::move(node));
    }
    m_unused = std::exchange(*m_newer->entry->prefab.get(), std::move(document));
    m_shared.clear();
}

} // namespace Kiln::Tessel::Streaming::detail
