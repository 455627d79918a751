#include <object_serialization/link_resolution.h>

#include <core/log.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>

namespace Kiln {

void LinkResolver::resolve(const mirra::ReflectedObject& object) const {
    for (std::size_t i = 0; i < object.properties(); ++i) {
        const mirra::BoundProperty property = object.propertyAt(i);
        if (property.type().kind() == mirra::ValueKind::LINK) {
            Tessel::ILinkConfig& link =
                static_cast<const Tessel::LinkValueType&>(property.type()).link(property.value());
            link.setTarget(findTarget(link));
        } else if (property.type().containsLinks()) {
            resolve(mirra::ReflectedObject(property));
        }
    }
}

Tessel::GameObject LinkResolver::findTarget(const Tessel::ILinkConfig& link) const {
    const Uuid key = link.isLiveUuid() ? link.uuid() : Uuid::combine(m_instanceUuid, link.uuid());
    const auto found = m_uuidMap.find(key);
    if (found != m_uuidMap.end()) {
        return found->second;
    }
    if (link.uuid() == Uuid::ZERO) {
        return Tessel::GameObject::INVALID_GAME_OBJECT;
    }
    const Tessel::GameObject nestedRoot = findNestedRoot(key);
    if (nestedRoot.isInvalid()) {
        const Tessel::GameObjectManager* const manager = Tessel::getGameObjectManager(m_object);
        DebugMessageHelper(0, LogSeverity::WARNING, "", "object_serialization/link_resolution")
            .message("Game object '%s', component '%s': the link to %s resolves to nothing",
                     manager ? manager->getGameObjectName(m_object).c_str() : "", m_componentName.c_str(),
                     link.uuid().toString().c_str());
    }
    return nestedRoot;
}

// The object that a nested root became has the UUID combine(nested instance UUID, UUID of the nested root).
Tessel::GameObject LinkResolver::findNestedRoot(const Uuid& nestedInstanceUuid) const {
    if (Tessel::World* const world = Tessel::EntryPoint::instance().findValidWorld(m_object.getWorldId())) {
        for (const Uuid& rootUuid : world->manager().nestedRoots()) {
            const auto found = m_uuidMap.find(Uuid::combine(nestedInstanceUuid, rootUuid));
            if (found != m_uuidMap.end()) {
                return found->second;
            }
        }
    }
    return Tessel::GameObject::INVALID_GAME_OBJECT;
}

} // namespace Kiln
