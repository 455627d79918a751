#include <tessel_asset_loading/game_object_prefab/instance_gathering.h>

#include <object_framework/hierarchy_component.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/game_object_prefab/document_name.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace Kiln::Tessel::detail {

namespace {

using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;
using HierarchyDescriptor = ComponentDescriptor<HierarchyComponent>;

[[nodiscard]] HierarchyDescriptor* findHierarchy(const GameObjectDescriptor& node) {
    return static_cast<HierarchyDescriptor*>(node.findComponent(NativeComponent<HierarchyComponent>::getType()));
}

/// What an integration point nests, after applying the enclosing instance's overrides of the point's own
/// PrefabComponent (null for none), which `owner` holds. They are applied as long as this lives, so that they reach
/// this instance alone.
class NestedReference : NonCopyable {
public:
    NestedReference(PointRecords& pointRecords, PrefabDescriptor& component, const ComponentOverrideRecords* outer,
                    const SmartPointer<OverrideRecords>& owner)
        : m_restoring{component} {
        if (!outer && component.prefabProperties().overridesData.empty()) {
            component.setupOverrides(nullptr);
            return;
        }
        PointRecords::Point& point = pointRecords.point(component);
        point.reportOwnProblems();
        component.setupOverrides(outer);
        m_records = point.find(config().overridesData, outer, owner);
    }

    [[nodiscard]] const std::string& resource() const { return config().resource; }

    /// For the nested instance; may be null. Shared with other instances.
    [[nodiscard]] const SmartPointer<OverrideRecords>& records() const { return m_records; }

private:
    [[nodiscard]] const PrefabComponent::Config& config() const {
        return std::as_const(m_restoring.component).config();
    }

    struct Restoring {
        PrefabDescriptor& component;
        ~Restoring() { component.setupOverrides(nullptr); }
    };

    Restoring m_restoring; ///< The first member, so that it also restores when the constructor throws.
    SmartPointer<OverrideRecords> m_records;
};

/// The merged node's records: those for the nested instance, and the outer overrides of the integration point's own
/// PrefabComponent, stored under the key by which the merged node's records are looked up: its UUID or, for the first
/// item without records of its own, the zero UUID.
[[nodiscard]] SmartPointer<OverrideRecords> mergedNodeRecords(const SmartPointer<OverrideRecords>& records,
                                                              const Uuid& mergedUuid, bool isFirstItem,
                                                              const ComponentOverrideRecords* outer) {
    if (!outer) {
        return records;
    }
    SmartPointer<OverrideRecords> withOuter = records ? records->clone() : makeSmart<OverrideRecords>();
    const bool isFoundByZero = isFirstItem && !withOuter->getRecord(mergedUuid);
    withOuter->addBefore(isFoundByZero ? Uuid::ZERO : mergedUuid, *outer);
    return withOuter;
}

} // namespace

bool InstanceGathering::enter(const GameObjectPrefab& prefab, const Uuid& instanceUuid,
                              SmartPointer<OverrideRecords> overrides, bool skipRoots, int depth) {
    if (depth > GameObjectPrefab::MAX_NESTING_DEPTH) {
        Report::nestingTooDeep();
        return false;
    }
    if (!prefab.isEmpty()) {
        m_levels.push_back({&prefab, 0, instanceUuid, std::move(overrides), skipRoots, depth, nullptr});
    }
    return true;
}

inline void InstanceGathering::assignOverrideFlag(const Level& level, PrefabDescriptor& component) {
    const bool hasOverrides = level.overrides && !level.overrides->empty();
    component.setState(&PrefabComponent::Config::hasOverrides, hasOverrides);
    if (m_canPause) {
        m_overrideFlags.store(component, hasOverrides);
    }
}

inline bool InstanceGathering::visitNode(Level& level, const SmartPointer<GameObjectDescriptor>& node) {
    const bool isRoot = !findHierarchy(*node);
    if (level.skipRoots && isRoot) {
        return true;
    }
    PrefabDescriptor* const component = findPrefabDescriptor(*node);
    if (component) {
        m_overrideBytes += component->prefabProperties().overridesData.size();
        assignOverrideFlag(level, *component);
        if (!isRoot) {
            return visitIntegrationPoint(level, node, *component);
        }
    }
    m_items.push_back({node, level.instanceUuid, level.overrides});
    return true;
}

inline bool InstanceGathering::isWithinLimit() const {
    if (m_items.size() <= m_limits.instanceObjects && m_overrideBytes <= m_limits.instanceOverrideBytes) {
        return true;
    }
    const std::string name = documentName(*m_levels.front().prefab);
    if (m_items.size() > m_limits.instanceObjects) {
        Report::error("An instance of '%s' has more game objects than the limit of %zu.", name.c_str(),
                      m_limits.instanceObjects);
    } else {
        Report::error("An instance of '%s' has more bytes of override data than the limit of %zu.", name.c_str(),
                      m_limits.instanceOverrideBytes);
    }
    return false;
}

bool InstanceGathering::visitNodes(const Deadline& deadline) {
    m_canPause = m_canPause || deadline.isSet();
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.nextNode == level.prefab->m_nodes.size()) {
            m_levels.pop_back();
            continue;
        }
        if (!visitNode(level, level.prefab->m_nodes[level.nextNode++]) || !isWithinLimit()) {
            return false;
        }
        if (deadline.hasPassed()) {
            break;
        }
    }
    return true;
}

/// Appends the item of the merged node and goes down into the nested prefab. A point whose prefab can't be loaded or
/// has no root is left out.
bool InstanceGathering::visitIntegrationPoint(Level& level, const SmartPointer<GameObjectDescriptor>& node,
                                              PrefabDescriptor& component) {
    if (!level.nesting) {
        level.nesting = std::make_unique<Nesting>(level.instanceUuid);
    }
    const ComponentOverrideRecords* const outer =
        level.overrides ? level.overrides->getComponentRecord(node->uuid(), component.name()) : nullptr;
    const GameObjectPrefab* nested = nullptr;
    SmartPointer<GameObjectDescriptor> merged;
    SmartPointer<OverrideRecords> records;
    {
        const NestedReference reference(m_pointRecords, component, outer, level.overrides);
        nested = loadNested(*level.nesting, reference.resource());
        if (!nested) {
            return true;
        }
        merged = level.prefab->mergePrefabIntoIntegrationPoint(nested, node);
        if (!merged) {
            Report::error("Failed to instantiate prefab '%s'\n", reference.resource().c_str());
            return true;
        }
        records = reference.records();
    }
    // The parent belongs to the enclosing instance, but the merged node belongs to the nested one. Therefore set the
    // UUID of the live parent.
    if (HierarchyDescriptor* const hierarchy = findHierarchy(*merged)) {
        GameObjectLink& parent = hierarchy->config().parent;
        parent.setUuid(level.nesting->liveParent(parent.uuid()));
        parent.setLiveUuid(true);
    }
    const Uuid nestedInstanceUuid = level.nesting->enclosingInstance(node->uuid());
    SmartPointer<OverrideRecords> mergedRecords = mergedNodeRecords(records, merged->uuid(), m_items.empty(), outer);
    m_items.push_back({std::move(merged), nestedInstanceUuid, std::move(mergedRecords)});
    return enter(*nested, nestedInstanceUuid, std::move(records), true, level.depth + 1);
}

const GameObjectPrefab* InstanceGathering::loadNested(Nesting& nesting, const std::string& resource) {
    if (!nesting.lastNested.get() || nesting.lastResource != resource) {
        nesting.lastNested = request(resource);
        nesting.lastResource = resource;
    }
    return nesting.lastNested.get();
}

NestedPrefab InstanceGathering::request(const std::string& resource) const {
    if (!m_nestedPrefabs) {
        return loadNestedPrefab(resource);
    }
    std::array<const GameObjectPrefab*, GameObjectPrefab::MAX_NESTING_DEPTH + 1> enclosing{};
    std::ranges::transform(m_levels, enclosing.begin(), &Level::prefab);
    return m_nestedPrefabs->load(resource, std::span(enclosing).first(m_levels.size()));
}

const Uuid& InstanceGathering::Nesting::liveParent(const Uuid& parent) noexcept {
    if (!lastLiveParent || lastParent != parent) {
        lastParent = parent;
        lastLiveParent = enclosingInstance(parent);
    }
    return *lastLiveParent;
}

} // namespace Kiln::Tessel::detail
