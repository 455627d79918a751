#pragma once

#include <object_framework/link_config.h>
#include <object_serialization/component_descriptor.h>
#include <reflection/reflected_object.h>

#include <string>

namespace Kiln {

/// Resolves the links of one component's configuration (see IComponentDescriptor::resolveLinks).
class LinkResolver {
public:
    LinkResolver(ObjectCreation& creation, Tessel::GameObject object, const std::string& componentName)
        : m_creation(creation), m_object(object), m_componentName(componentName) {}

    /// Walks an object of that description, into structures and vectors, and gives each link its target.
    void resolve(const mirra::BaseStaticMetaObject& meta, void* object) const;

    /// The target of a link; reports a link that resolves to nothing.
    [[nodiscard]] Tessel::GameObject findTarget(const Tessel::ILinkConfig& link) const;

private:
    void resolve(const mirra::ValueType& type, void* value) const;

    ObjectCreation& m_creation;
    Tessel::GameObject m_object;
    const std::string& m_componentName;
};

} // namespace Kiln
