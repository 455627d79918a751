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

/// The object that a link with a certain UUID means.
class LinkTarget {
public:
    /// Null for any other UUID.
    [[nodiscard]] const Tessel::GameObject* find(const Uuid& link) const noexcept {
        return m_object && m_link == link ? &*m_object : nullptr;
    }
    void note(const Uuid& link, Tessel::GameObject object) noexcept {
        m_link = link;
        m_object = object;
    }
    void forget() noexcept { m_object.reset(); }

private:
    Uuid m_link;
    std::optional<Tessel::GameObject> m_object;
};

/// The creation of objects, instance by instance, for the descriptors that it works through: the world, what links are
/// resolved through, and the UUID of the instance that it is at. Refers to world and map; owns nothing. Main thread.
class ObjectCreation {
public:
    ObjectCreation(Tessel::World& world, const UuidMap& uuidMap, const Uuid& instanceUuid)
        : m_world(world), m_uuidMap(uuidMap), m_instanceUuid(instanceUuid) {}

    [[nodiscard]] Tessel::World& world() const noexcept { return m_world; }
    [[nodiscard]] const UuidMap& uuidMap() const noexcept { return m_uuidMap; }
    [[nodiscard]] const Uuid& instanceUuid() const noexcept { return m_instanceUuid; }

    /// Goes on to the objects of another instance.
    void enterInstance(const Uuid& instanceUuid) noexcept {
        m_instanceUuid = instanceUuid;
        m_combiner.reset();
        m_lastTarget.forget();
    }

    /// The UUID that an object, or the target of a link, has in the instance.
    [[nodiscard]] Uuid inInstance(const Uuid& uuid) noexcept {
        if (!m_combiner) {
            m_combiner.emplace(m_instanceUuid);
        }
        return (*m_combiner)(uuid);
    }

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

    /// What the link resolved last means: neighbours in a document often have one parent. For links whose UUID is one
    /// of the document, within the instance; for those with the UUID of a live object, in the whole creation.
    [[nodiscard]] LinkTarget& lastTarget(bool isLiveUuid) noexcept {
        return isLiveUuid ? m_lastLiveTarget : m_lastTarget;
    }

private:
    Tessel::World& m_world;
    const UuidMap& m_uuidMap;
    Uuid m_instanceUuid;
    std::optional<UuidCombiner> m_combiner; ///< Made when it is needed: many instances are without a link to resolve.
    Tessel::GameObject m_object;
    Tessel::GameObjectRecord* m_record = nullptr;
    LinkTarget m_lastTarget;
    LinkTarget m_lastLiveTarget;
};

} // namespace Kiln
