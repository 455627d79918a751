#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <object_framework/world.h>

#include <optional>
#include <unordered_map>
#include <utility>

namespace Kiln {

/// Live objects by their UUIDs.
using UuidMap = std::unordered_map<Uuid, Tessel::GameObject>;

/// The creation of one instance's objects, for the descriptors that it works through: the world, what links are
/// resolved through, and the instance's UUID. Refers to world and map; owns nothing. Main thread.
class ObjectCreation {
public:
    ObjectCreation(Tessel::World& world, const UuidMap& uuidMap, const Uuid& instanceUuid)
        : m_world(world), m_uuidMap(uuidMap), m_instance(instanceUuid) {}

    [[nodiscard]] Tessel::World& world() const noexcept { return m_world; }
    [[nodiscard]] const UuidMap& uuidMap() const noexcept { return m_uuidMap; }

    /// Gives the UUID that an object, or the target of a link, has in the instance.
    [[nodiscard]] const UuidCombiner& instance() const noexcept { return m_instance; }

    /// Goes on to the components of an object.
    void enterObject(Tessel::GameObject object, Tessel::GameObjectRecord& record) noexcept {
        m_object = object;
        m_record = &record;
    }
    [[nodiscard]] Tessel::GameObject object() const noexcept { return m_object; }

    /// Adds a component to the object, see GameObjectManager::addComponent.
    Tessel::IComponent* addComponent(Tessel::ComponentPointer&& component, Tessel::ComponentTypeId type) const {
        return m_world.manager().addComponent(*m_record, m_object, std::move(component), type);
    }

    /// The object that the link resolved last means, if this link of the same instance has the same UUID; null
    /// otherwise. Neighbours in a document often have one parent.
    [[nodiscard]] const Tessel::GameObject* lastTarget(const Uuid& link) const noexcept {
        return m_lastTarget && m_lastLink == link ? &*m_lastTarget : nullptr;
    }
    void noteTarget(const Uuid& link, Tessel::GameObject target) noexcept {
        m_lastLink = link;
        m_lastTarget = target;
    }

private:
    Tessel::World& m_world;
    const UuidMap& m_uuidMap;
    UuidCombiner m_instance;
    Tessel::GameObject m_object;
    Tessel::GameObjectRecord* m_record = nullptr;
    Uuid m_lastLink;
    std::optional<Tessel::GameObject> m_lastTarget;
};

} // namespace Kiln
