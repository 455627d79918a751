#pragma once

#include <object_framework/link_config.h>
#include <object_serialization/component_descriptor.h>
#include <reflection/reflected_object.h>

#include <string>

namespace Kiln {

/// Resolves the links of one component's configuration (see IComponentDescriptor::resolveLinks).
class LinkResolver {
public:
    LinkResolver(Tessel::GameObject object, const std::string& componentName, const Uuid& instanceUuid,
                 const UuidMap& uuidMap)
        : m_object(object), m_componentName(componentName), m_instanceUuid(instanceUuid), m_uuidMap(uuidMap) {}

    /// Walks the object, into structures and vectors, and gives each link its target.
    void resolve(const mirra::ReflectedObject& object) const;

private:
    [[nodiscard]] Tessel::GameObject findTarget(const Tessel::ILinkConfig& link) const;
    [[nodiscard]] Tessel::GameObject findNestedRoot(const Uuid& nestedInstanceUuid) const;

    Tessel::GameObject m_object;
    const std::string& m_componentName;
    const Uuid& m_instanceUuid;
    const UuidMap& m_uuidMap;
};

} // namespace Kiln
