#pragma once

#include <common/uuid.h>
#include <object_framework/game_object.h>
#include <object_framework/world.h>

#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln {

/// Live objects by their UUIDs.
using UuidMap = std::unordered_map<Uuid, Tessel::GameObject>;

/// The object that links with a certain UUID mean.
class LinkTarget {
public:
    /// Null for any other UUID.
    [[nodiscard]] const Tessel::GameObject* find(const Uuid& uuid) const noexcept {
        return m_object && m_uuid == uuid ? &*m_object : nullptr;
    }
    void note(const Uuid& uuid, Tessel::GameObject object) noexcept {
        m_uuid = uuid;
        m_object = object;
    }
    void forget() noexcept { m_object.reset(); }

private:
    Uuid m_uuid;
    std::optional<Tessel::GameObject> m_object;
};

/// The creation of objects, instance by instance, for the descriptors that it works through: the world, what links are
/// resolved through, and the UUID of the instance that it is at. Made when the objects have been made, before their
/// components. Refers to the world and to the map, which must not change meanwhile. Main thread.
class ObjectCreation {
public:
    ObjectCreation(Tessel::World& world, const UuidMap& uuidMap, const Uuid& instanceUuid)
        : m_world(world),
          m_uuidMap(uuidMap),
          m_instanceUuid(instanceUuid),
          m_nestedRoots(world.manager().completeNestedRoots()) {}

    [[nodiscard]] Tessel::World& world() const noexcept { return m_world; }
    [[nodiscard]] const UuidMap& uuidMap() const noexcept { return m_uuidMap; }
    [[nodiscard]] const Uuid& instanceUuid() const noexcept { return m_instanceUuid; }
    /// UUIDs of the descriptors that stand for the roots of nested prefabs, each once.
    [[nodiscard]] const std::vector<Uuid>& nestedRoots() const noexcept { return m_nestedRoots; }

    /// Goes on to the objects of another instance.
    void enterInstance(const Uuid& instanceUuid) noexcept {
        m_instanceUuid = instanceUuid;
        m_combiner.reset();
        m_documentTarget.forget();
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

    /// A target within the instance that need not be looked up: of the link resolved last, as neighbours in a document
    /// often have the same parent, or one that the caller has at hand.
    [[nodiscard]] LinkTarget& documentTarget() noexcept { return m_documentTarget; }
    /// The same for links with the UUID of a live object, whatever the instance.
    [[nodiscard]] LinkTarget& liveTarget() noexcept { return m_liveTarget; }

private:
    Tessel::World& m_world;
    const UuidMap& m_uuidMap;
    Uuid m_instanceUuid;
    std::vector<Uuid> m_nestedRoots;        ///< A copy: components may start further creations in the same world.
    std::optional<UuidCombiner> m_combiner; ///< Made for the first link whose target is not known.
    Tessel::GameObject m_object;
    Tessel::GameObjectRecord* m_record = nullptr;
    LinkTarget m_documentTarget;
    LinkTarget m_liveTarget;
};

} // namespace Kiln
