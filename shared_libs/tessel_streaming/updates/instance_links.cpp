#include <tessel_streaming/updates/instance_links.h>

#include <object_framework/link_config.h>
#include <reflection/reflected_object.h>

#include <algorithm>
#include <vector>

namespace Kiln::Tessel::Streaming::detail {

namespace {

/// Appends the links in an object, at any depth.
void appendLinks(const mirra::ReflectedObject& object, std::vector<const ILinkConfig*>& links) {
    for (std::size_t i = 0; i < object.properties(); ++i) {
        const mirra::BoundProperty property = object.propertyAt(i);
        const mirra::ValueType& type = property.type();
        if (type.kind() == mirra::ValueKind::LINK) {
            links.push_back(&static_cast<const LinkValueType&>(type).link(property.value()));
        } else if (type.kind() != mirra::ValueKind::SCALAR && type.containsLinks()) {
            appendLinks(mirra::ReflectedObject(property), links);
        }
    }
}

} // namespace

bool isNestedRoot(const GameObjectPrefab::GameObjectCreationItem& item) {
    const GameObjectLink* const parent = item.descriptor->parentLink();
    return parent && parent->isLiveUuid();
}

bool InstanceLinks::add(const GameObjectPrefab::GameObjectCreationItem& item, const Uuid& uuid, GameObject object) {
    if (isNestedRoot(item)) {
        m_nestedRoots.add(item.instanceUuid, object);
    }
    return m_objects.try_emplace(uuid, object).second;
}

GameObject InstanceLinks::find(const ILinkConfig& link, const Uuid& instanceUuid) {
    const Uuid key = link.isLiveUuid() ? link.uuid() : Uuid::combine(instanceUuid, link.uuid());
    const auto found = m_objects.find(key);
    return found != m_objects.end() ? found->second : m_nestedRoots.findNestedRoot(key);
}

bool hasOtherTargets(IComponentDescriptor& component, const ComponentOverrideRecords* overrides,
                     const Uuid& instanceUuid, InstanceLinks& older, InstanceLinks& newer) {
    if (!component.hasLinks()) {
        return false;
    }
    struct Restoring {
        IComponentDescriptor* component;
        ~Restoring() {
            if (component) {
                component->setupOverrides(nullptr);
            }
        }
    } restoring{overrides ? &component : nullptr};
    if (overrides) {
        component.setupOverrides(overrides);
    }
    std::vector<const ILinkConfig*> links;
    appendLinks(component.viewConfiguration(), links);
    return std::any_of(links.begin(), links.end(), [&](const ILinkConfig* link) {
        return older.find(*link, instanceUuid) != newer.find(*link, instanceUuid);
    });
}

} // namespace Kiln::Tessel::Streaming::detail
