#include <object_serialization/component_descriptor.h>

#include <object_framework/entry_point.h>
#include <object_serialization/link_resolution.h>

namespace Kiln {

const char* const IComponentDescriptor::DEFAULT_CATEGORY = "General";

IComponentDescriptor::~IComponentDescriptor() = default;

void IComponentDescriptor::resolveLinks(Tessel::GameObject object, const Uuid& instanceUuid, const UuidMap& uuidMap) {
    Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(object.getWorldId());
    if (world && hasLinks()) {
        ObjectCreation creation(*world, uuidMap, instanceUuid, nullptr);
        const mirra::ReflectedObject config = viewConfiguration();
        LinkResolver(creation, object, name()).resolve(*config.metaObject(), config.object());
    }
}

void IComponentDescriptor::resolveLinks(ObjectCreation& creation, const mirra::BaseStaticMetaObject& meta,
                                        void* config) const {
    LinkResolver(creation, creation.object(), name()).resolve(meta, config);
}

Tessel::GameObject IComponentDescriptor::findTarget(ObjectCreation& creation, const Tessel::ILinkConfig& link) const {
    return LinkResolver(creation, creation.object(), name()).findTarget(link);
}

bool IComponentDescriptor::needToDeserialize(Tessel::ComponentOptions options) {
    return options.hasAny(Tessel::processRoles());
}

} // namespace Kiln
