#include <object_serialization/component_descriptor.h>

#include <object_serialization/link_resolution.h>

namespace Kiln {

const char* const IComponentDescriptor::DEFAULT_CATEGORY = "General";

IComponentDescriptor::~IComponentDescriptor() = default;

void IComponentDescriptor::resolveLinks(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap) {
    if (hasLinks()) {
        LinkResolver(object, name(), instanceUuid, uuidMap).resolve(viewConfiguration());
    }
}

bool IComponentDescriptor::needToDeserialize(Tessel::ComponentOptions options) {
    return options.hasAny(Tessel::processRoles());
}

} // namespace Kiln
