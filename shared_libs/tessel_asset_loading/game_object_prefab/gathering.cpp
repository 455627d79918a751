#include <tessel_asset_loading/game_object_prefab.h>

#include <core/non_copyable.h>
#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/detail/reporting.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>

#include <optional>
#include <utility>

namespace Kiln::Tessel {

namespace {

using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;
using HierarchyDescriptor = ComponentDescriptor<HierarchyComponent>;

[[nodiscard]] HierarchyDescriptor* findHierarchy(const GameObjectDescriptor& node) {
    return static_cast<HierarchyDescriptor*>(node.findComponent(NativeComponent<HierarchyComponent>::getType()));
}

/// What an integration point nests, with the overrides in force applied: those of the point's own PrefabComponent
/// that the enclosing instance has, null for none. They are in force as long as this lives, so that they reach this
/// instance alone.
class NestedReference : NonCopyable {
public:
    NestedReference(PrefabDescriptor& component, const ComponentOverrideRecords* outer)
        : m_restoring{component}, m_records(OverrideRecords::create(component.prefabProperties().overridesData)) {
        component.setupOverrides(outer);
        const SmartPointer<OverrideRecords> after = OverrideRecords::create(config().overridesData);
        if (!m_records) {
            m_records = after;
        } else if (after) {
            m_records->merge(*after);
        }
    }

    [[nodiscard]] const std::string& resource() const { return config().resource; }

    /// For the nested instance; may be null.
    [[nodiscard]] const SmartPointer<OverrideRecords>& records() const { return m_records; }

private:
    [[nodiscard]] const PrefabComponent::Config& config() const {
        return std::as_const(m_restoring.component).config();
    }

    struct Restoring {
        PrefabDescriptor& component;
        ~Restoring() { component.setupOverrides(nullptr); }
    };

    Restoring m_restoring; ///< The first member, so that it works when the constructor fails, too.
    SmartPointer<OverrideRecords> m_records;
};

/// What the integration points of one prefab have in common, made for the first of them.
class NestingContext : NonCopyable {
public:
    explicit NestingContext(const Uuid& instanceUuid) : enclosingInstance(instanceUuid) {}

    /// The prefab that a point nests, or null. It is kept until another one is asked for: neighbours often nest the
    /// same, and then the service is asked once.
    [[nodiscard]] const GameObjectPrefab* load(const std::string& resource) {
        if (!m_nested || !m_nested->prefab || m_resource != resource) {
            m_nested = m_service.loadSharedPrefab(resource);
            m_resource = resource;
        }
        return m_nested->prefab.get();
    }

    /// What a point's parent has as UUID in the enclosing instance. Neighbours often have the same parent.
    [[nodiscard]] const Uuid& liveParent(const Uuid& parent) noexcept {
        if (!m_liveParent || m_parent != parent) {
            m_parent = parent;
            m_liveParent = enclosingInstance(parent);
        }
        return *m_liveParent;
    }

    const UuidCombiner enclosingInstance;

private:
    Uuid m_parent;
    std::optional<Uuid> m_liveParent;
    PrefabService& m_service = *EntryPoint::instance().getService<PrefabService>();
    std::string m_resource;
    SmartPointer<DescriptorCacheData> m_nested;
};

/// Turns the merged node's parent, which lives in the enclosing instance, into the UUID of the live object: the node
/// itself belongs to the nested instance.
void rebaseParent(const GameObjectDescriptor& merged, NestingContext& context) {
    if (HierarchyDescriptor* const hierarchy = findHierarchy(merged)) {
        GameObjectLink& parent = hierarchy->config().parent;
        parent.setUuid(context.liveParent(parent.uuid()));
        parent.setLiveUuid(true);
    }
}

/// The merged node's records: those for the nested instance, and the outer overrides of the integration point's own
/// PrefabComponent, filed where the merged node's records are looked up: under its UUID or, for the first item without
/// records of its own, the zero UUID.
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

/// The id of the hierarchy component in the component library. A component that is registered stays so: an id that was
/// found once is not looked up again.
[[nodiscard]] std::size_t findHierarchyComponent() {
    const auto find = [] { return ComponentLibrary::instance().findComponent(typeid(HierarchyComponent)); };
    static const std::size_t s_found = find();
    return s_found != ComponentLibrary::INVALID_ID ? s_found : find();
}

/// A hierarchy component with the same parent as the integration point's; null, with an error in the log, when there
/// is no such component type.
[[nodiscard]] SmartPointer<IComponentDescriptor> copyHierarchy(const IComponentDescriptor& original) {
    const std::size_t id = findHierarchyComponent();
    if (id == ComponentLibrary::INVALID_ID) {
        Report::componentTypeNotRegistered();
        return nullptr;
    }
    SmartPointer<IComponentDescriptor> copy = ComponentLibrary::instance().createDescriptor(id);
    if (copy) {
        static_cast<HierarchyDescriptor&>(*copy).config().parent.setUuid(
            static_cast<const HierarchyDescriptor&>(original).config().parent.uuid());
    }
    return copy;
}

} // namespace

bool GameObjectPrefab::gatherGameObjectsRecursively(std::vector<GameObjectCreationItem>& items,
                                                    const Uuid& instanceUuid, SmartPointer<OverrideRecords> overrides,
                                                    bool skipRoots, int depth) const {
    if (depth > MAX_NESTING_DEPTH) {
        Report::nestingTooDeep();
        return false;
    }
    std::optional<NestingContext> context;
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        const bool isRoot = !findHierarchy(*node);
        if (skipRoots && isRoot) {
            continue;
        }
        PrefabDescriptor* const component = findPrefabDescriptor(*node);
        if (component) {
            component->setState(&PrefabComponent::Config::hasOverrides, overrides && !overrides->empty());
        }
        if (!component || isRoot) {
            items.push_back({node, instanceUuid, overrides});
            continue;
        }

        const ComponentOverrideRecords* const outer =
            overrides ? overrides->getComponentRecord(node->uuid(), component->name()) : nullptr;
        std::optional<NestedReference> reference(std::in_place, *component, outer);
        if (!context) {
            context.emplace(instanceUuid);
        }
        const Uuid nestedInstanceUuid = context->enclosingInstance(node->uuid());
        const GameObjectPrefab* const nestedPrefab = context->load(reference->resource());
        if (!nestedPrefab) {
            continue;
        }
        SmartPointer<GameObjectDescriptor> merged = mergePrefabIntoIntegrationPoint(nestedPrefab, node);
        if (!merged) {
            Report::error("Failed to instantiate prefab '%s'\n", reference->resource().c_str());
            continue;
        }
        rebaseParent(*merged, *context);
        const SmartPointer<OverrideRecords> records = reference->records();
        reference.reset();
        SmartPointer<OverrideRecords> mergedRecords = mergedNodeRecords(records, merged->uuid(), items.empty(), outer);
        items.push_back({std::move(merged), nestedInstanceUuid, std::move(mergedRecords)});
        if (!nestedPrefab->gatherGameObjectsRecursively(items, nestedInstanceUuid, records, true, depth + 1)) {
            return false;
        }
    }
    return true;
}

SmartPointer<GameObjectDescriptor>
GameObjectPrefab::mergePrefabIntoIntegrationPoint(const GameObjectPrefab* nested,
                                                  SmartPointer<GameObjectDescriptor> integrationPoint) const {
    const SmartPointer<GameObjectDescriptor>* const firstRoot = nested->findRoot();
    if (!firstRoot) {
        return nullptr;
    }
    const GameObjectDescriptor* const root = firstRoot->get();
    const ComponentTypeId hierarchyType = NativeComponent<HierarchyComponent>::getType();
    const ComponentTypeId transformType = NativeComponent<TransformComponent>::getType();
    SmartPointer<GameObjectDescriptor> merged = makeSmart<GameObjectDescriptor>();
    for (const SmartPointer<IComponentDescriptor>& component : integrationPoint->components()) {
        merged->addComponent(component->type() == hierarchyType ? copyHierarchy(*component) : component);
    }
    merged->setName(integrationPoint->sharedName());
    merged->setUuid(root->uuid());
    merged->setFlags(integrationPoint->flags() | root->flags());
    for (const SmartPointer<IComponentDescriptor>& component : root->components()) {
        const ComponentTypeId type = component->type();
        if (type != transformType && type != hierarchyType && !merged->hasComponent(type)) {
            merged->addComponent(component);
        }
    }
    return merged;
}

} // namespace Kiln::Tessel
