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

/// The roots of nested prefabs among the objects of a creation. The code that creates the objects implements this;
/// links to integration points are resolved through it. Main thread.
class INestedRoots {
public:
    /// The object that stands for the root of the prefab nested with that instance UUID; the invalid object when the
    /// creation has none.
    [[nodiscard]] virtual Tessel::GameObject findNestedRoot(const Uuid& nestedInstanceUuid) = 0;

protected:
    INestedRoots() = default;
    /// @{
    /// For derived classes.
    INestedRoots(const INestedRoots&) = default;
    INestedRoots& operator=(const INestedRoots&) = default;
    /// @}
    ~INestedRoots() = default;
};

/// The object that links with a certain UUID refer to.
class LinkTarget {
public:
    /// Null for any other UUID.
    [[nodiscard]] const Tessel::GameObject* find(const Uuid& uuid) const noexcept {
        return m_object && m_uuid == uuid ? &*m_object : nullptr;
    }
    /// Remembers the object of a UUID instead of the previous one.
    void note(const Uuid& uuid, Tessel::GameObject object) noexcept {
        m_uuid = uuid;
        m_object = object;
    }
    /// Forgets the object, so that find() yields null.
    void forget() noexcept { m_object.reset(); }

private:
    Uuid m_uuid;
    std::optional<Tessel::GameObject> m_object;
};

/// The context of a creation, which it passes to each descriptor: the world, the data for resolving links, and the UUID
/// of the current instance. It refers to the world, to the map and to the nested roots; the map must not change between
/// the first and the last component. Main thread.
class ObjectCreation {
public:
    /// `nestedRoots` is null when the caller knows none; links to integration points then resolve to nothing.
    ObjectCreation(Tessel::World& world, const UuidMap& uuidMap, const Uuid& instanceUuid, INestedRoots* nestedRoots)
        : m_world(world), m_uuidMap(uuidMap), m_instanceUuid(instanceUuid), m_nestedRoots(nestedRoots) {}

    /// @{
    /// The world, the live objects by their UUIDs, and the UUID of the current instance, see enterInstance().
    [[nodiscard]] Tessel::World& world() const noexcept { return m_world; }
    [[nodiscard]] const UuidMap& uuidMap() const noexcept { return m_uuidMap; }
    [[nodiscard]] const Uuid& instanceUuid() const noexcept { return m_instanceUuid; }
    /// @}

    /// See INestedRoots::findNestedRoot().
    [[nodiscard]] Tessel::GameObject findNestedRoot(const Uuid& nestedInstanceUuid) const {
        return m_nestedRoots ? m_nestedRoots->findNestedRoot(nestedInstanceUuid)
                             : Tessel::GameObject::INVALID_GAME_OBJECT;
    }

    /// Continues with the objects of another instance.
    void enterInstance(const Uuid& instanceUuid) noexcept {
        m_instanceUuid = instanceUuid;
        m_combiner.reset();
        m_documentTarget.forget();
    }

    /// The UUID that an object, or the target of a link, has in the current instance.
    [[nodiscard]] Uuid inInstance(const Uuid& uuid) noexcept {
        if (!m_combiner) {
            m_combiner.emplace(m_instanceUuid);
        }
        return (*m_combiner)(uuid);
    }

    /// Continues with the components of another object.
    void enterObject(Tessel::GameObject object, Tessel::GameObjectRecord& record) noexcept {
        m_object = object;
        m_record = &record;
    }
    /// The current object, see enterObject().
    [[nodiscard]] Tessel::GameObject object() const noexcept { return m_object; }

    /// Adds a component to the current object, see GameObjectManager::addComponent.
    Tessel::IComponent* addComponent(Tessel::ComponentPointer&& component, Tessel::ComponentTypeId type) const {
        return m_world.manager().addComponent(*m_record, m_object, std::move(component), type);
    }

    /// A target within the current instance that needs no lookup: that of the link resolved last, since neighbours in a
    /// document often have the same parent, or one that the caller knows already.
    [[nodiscard]] LinkTarget& documentTarget() noexcept { return m_documentTarget; }
    /// The same for links that hold the UUID of a live object, whatever the instance.
    [[nodiscard]] LinkTarget& liveTarget() noexcept { return m_liveTarget; }

private:
    Tessel::World& m_world;
    const UuidMap& m_uuidMap;
    Uuid m_instanceUuid;
    INestedRoots* m_nestedRoots;            ///< May be null.
    std::optional<UuidCombiner> m_combiner; ///< Made for the first link whose target is not known.
    Tessel::GameObject m_object;
    Tessel::GameObjectRecord* m_record = nullptr;
    LinkTarget m_documentTarget;
    LinkTarget m_liveTarget;
};

} // namespace Kiln
