#include <tessel_asset_loading/game_object_prefab.h>

#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <tessel_asset_loading/detail/reporting.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>

#include <utility>

namespace Kiln::Tessel {

namespace {

using PrefabDescriptor = ComponentDescriptor<PrefabComponent>;
using HierarchyDescriptor = ComponentDescriptor<HierarchyComponent>;

[[nodiscard]] HierarchyDescriptor* findHierarchy(const GameObjectDescriptor& node) {
    return static_cast<HierarchyDescriptor*>(node.findComponent(NativeComponent<HierarchyComponent>::getType()));
}

/// What an integration point nests, with the overrides in force applied.
struct NestedReference {
    std::string resource;
    SmartPointer<OverrideRecords> records; ///< For the nested instance; may be null.
};

/// Reads an integration point's reference. `outer` are the enclosing instance's overrides of the point's own
/// PrefabComponent, null for none; they are in force only while this runs, so that they reach this instance alone.
[[nodiscard]] NestedReference readReference(PrefabDescriptor& component, const ComponentOverrideRecords* outer) {
    SmartPointer<OverrideRecords> before = OverrideRecords::create(component.prefabProperties().overridesData);
    component.setupOverrides(outer);
    const PrefabComponent::Config& config = std::as_const(component).config();
    NestedReference reference{config.resource, OverrideRecords::create(config.overridesData)};
    component.setupOverrides(nullptr);
    if (before) {
        if (reference.records) {
            before->merge(*reference.records);
        }
        reference.records = std::move(before);
    }
    return reference;
}

/// Turns the merged node's parent, which lives in the enclosing instance, into the UUID of the live object: the node
/// itself belongs to the nested instance.
void rebaseParent(const GameObjectDescriptor& merged, const Uuid& enclosingInstanceUuid) {
    if (HierarchyDescriptor* const hierarchy = findHierarchy(merged)) {
        GameObjectLink& parent = hierarchy->config().parent;
        parent.setUuid(Uuid::combine(enclosingInstanceUuid, parent.uuid()));
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

/// A hierarchy component with the same parent as the integration point's; null, with an error in the log, when there
/// is no such component type.
[[nodiscard]] SmartPointer<IComponentDescriptor> copyHierarchy(const IComponentDescriptor& original) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t id = library.findComponent(typeid(HierarchyComponent));
    if (id == ComponentLibrary::INVALID_ID) {
        Report::componentTypeNotRegistered();
        return nullptr;
    }
    SmartPointer<IComponentDescriptor> copy = library.createDescriptor(id);
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
        const NestedReference reference = readReference(*component, outer);
        const Uuid nestedInstanceUuid = Uuid::combine(instanceUuid, node->uuid());
        const SmartPointer<DescriptorCacheData> nested =
            EntryPoint::instance().getService<PrefabService>()->loadSharedPrefab(reference.resource);
        const GameObjectPrefab* const nestedPrefab = nested->prefab.get();
        if (!nestedPrefab) {
            continue;
        }
        SmartPointer<GameObjectDescriptor> merged = mergePrefabIntoIntegrationPoint(nestedPrefab, node);
        if (!merged) {
            Report::error("Failed to instantiate prefab '%s'\n", reference.resource.c_str());
            continue;
        }
        rebaseParent(*merged, instanceUuid);
        SmartPointer<OverrideRecords> mergedRecords =
            mergedNodeRecords(reference.records, merged->uuid(), items.empty(), outer);
        items.push_back({std::move(merged), nestedInstanceUuid, std::move(mergedRecords)});
        if (!nestedPrefab->gatherGameObjectsRecursively(items, nestedInstanceUuid, reference.records, true,
                                                        depth + 1)) {
            return false;
        }
    }
    return true;
}

SmartPointer<GameObjectDescriptor>
GameObjectPrefab::mergePrefabIntoIntegrationPoint(const GameObjectPrefab* nested,
                                                  SmartPointer<GameObjectDescriptor> integrationPoint) const {
    const SmartPointer<GameObjectDescriptor> root = nested->findRootGameObject();
    if (!root) {
        return nullptr;
    }
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
