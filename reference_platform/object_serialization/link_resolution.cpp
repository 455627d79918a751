#include <object_serialization/link_resolution.h>

#include <core/log.h>
#include <object_framework/world.h>

namespace Kiln {

void LinkResolver::resolve(const mirra::BaseStaticMetaObject& meta, void* object) const {
    for (const mirra::Property& property : meta.properties()) {
        resolve(*property.type, property.address(object));
    }
}

void LinkResolver::resolve(const mirra::ValueType& type, void* value) const {
    if (type.kind() == mirra::ValueKind::LINK) {
        Tessel::ILinkConfig& link = static_cast<const Tessel::LinkValueType&>(type).link(value);
        link.setTarget(findTarget(link));
    } else if (type.kind() == mirra::ValueKind::SCALAR || !type.containsLinks()) {
        return;
    } else if (const mirra::BaseStaticMetaObject* const meta = type.metaObject()) {
        resolve(*meta, value);
    } else {
        for (std::size_t i = 0; i < type.elementsCount(value); ++i) {
            resolve(*type.elementType(), type.elementAt(value, i));
        }
    }
}

Tessel::GameObject LinkResolver::findTarget(const Tessel::ILinkConfig& link) const {
    LinkTarget& knownTarget = link.isLiveUuid() ? m_creation.liveTarget() : m_creation.documentTarget();
    if (const Tessel::GameObject* const known = knownTarget.find(link.uuid())) {
        return *known;
    }
    const Uuid key = link.isLiveUuid() ? link.uuid() : m_creation.inInstance(link.uuid());
    const auto found = m_creation.uuidMap().find(key);
    if (found != m_creation.uuidMap().end()) {
        knownTarget.note(link.uuid(), found->second);
        return found->second;
    }
    if (link.uuid() == Uuid::ZERO) {
        return Tessel::GameObject::INVALID_GAME_OBJECT;
    }
    // The key of a link to an integration point is the UUID of the instance that is nested there.
    const Tessel::GameObject nestedRoot = m_creation.findNestedRoot(key);
    if (nestedRoot.isInvalid()) {
        DebugMessageHelper(0, LogSeverity::WARNING, "", "object_serialization/link_resolution")
            .message("Game object '%s', component '%s': the link to %s resolves to nothing",
                     m_creation.world().manager().getGameObjectName(m_object).c_str(), m_componentName.c_str(),
                     link.uuid().toString().c_str());
    }
    return nestedRoot;
}

} // namespace Kiln
