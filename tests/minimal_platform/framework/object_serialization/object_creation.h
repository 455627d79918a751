#pragma once

#include <common/uuid.h>
#include <object_framework/world.h>

#include <unordered_map>

namespace Kiln {

using UuidMap = std::unordered_map<Uuid, Tessel::GameObject>;

class INestedRoots {
public:
    [[nodiscard]] virtual Tessel::GameObject findNestedRoot(const Uuid& nestedInstanceUuid) = 0;

protected:
    ~INestedRoots() = default;
};

/// What the links of one creation are resolved through.
class MINIMAL_API ObjectCreation {
public:
    /// Tells the platform a target in advance. This platform looks every target up.
    struct LinkTarget {
        void note(const Uuid& /*uuid*/, Tessel::GameObject /*object*/) {}
    };

    ObjectCreation(Tessel::World& world, const UuidMap& uuidMap, const Uuid& instanceUuid, INestedRoots* nestedRoots)
        : m_world(world), m_uuidMap(uuidMap), m_instanceUuid(instanceUuid), m_nestedRoots(nestedRoots) {}

    [[nodiscard]] Tessel::World& world() const { return m_world; }
    [[nodiscard]] const Uuid& instanceUuid() const { return m_instanceUuid; }
    void enterInstance(const Uuid& instanceUuid) { m_instanceUuid = instanceUuid; }
    [[nodiscard]] LinkTarget documentTarget() const { return {}; }

    /// Components are added to this object from now on. The manager finds its record by itself.
    void enterObject(Tessel::GameObject object, Tessel::GameObjectRecord& /*record*/) { m_object = object; }
    [[nodiscard]] Tessel::GameObject object() const { return m_object; }

    /// The invalid object, with a warning in the log, for a link that resolves to nothing.
    [[nodiscard]] Tessel::GameObject findTarget(const Uuid& uuid, bool isLiveUuid) const;

private:
    Tessel::World& m_world;
    const UuidMap& m_uuidMap;
    Uuid m_instanceUuid;
    INestedRoots* m_nestedRoots; ///< May be null.
    Tessel::GameObject m_object;
};

} // namespace Kiln
