#pragma once

#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/object_creation.h>
#include <object_serialization/override_records.h>

#include <bitset>
#include <string>

namespace Kiln::Tessel::Streaming::detail {

/// Changes live objects of one instance, and reports the exceptions of their components.
///
/// A component may do anything when it is constructed, removed or activated: afterwards the object may be gone, and its
/// world as well.
///
/// Owner: an update. Threads: the main thread.
class ObjectEditor : NonCopyable {
public:
    /// `path` names the instance in messages and must outlive this.
    ObjectEditor(const std::string& path, int worldId) noexcept : m_path(path), m_worldId(worldId) {}

    /// Where the links of further components are resolved: in the objects of an instance. Without links, null. The map
    /// must outlive this.
    void setTargets(const UuidMap* objects, INestedRoots* nestedRoots) noexcept {
        m_objects = objects;
        m_nestedRoots = nestedRoots;
    }

    /// Removes the object's component of that type. False if the object does not exist any more.
    bool remove(GameObject object, ComponentTypeId type) const;

    /// Adds a component. `instanceUuid` is that of the prefab instance that the object belongs to; `overrides` are
    /// those of the component, null for none.
    void add(GameObject object, IComponentDescriptor& component, const Uuid& instanceUuid,
             const ComponentOverrideRecords* overrides) const;

    /// Sets the flags of an object. It stays active or inactive, and enabled or disabled unless INACTIVE_BY_DEFAULT has
    /// changed.
    void setFlags(GameObject object, std::bitset<6> flags) const;

    /// Activates an object and its enabled descendants.
    void activate(GameObject object) const;

    /// Removes an object and its descendants.
    void removeObject(GameObject object) const;

private:
    void addChecked(GameObject object, IComponentDescriptor& component, const Uuid& instanceUuid,
                    const ComponentOverrideRecords* overrides) const;
    template <class Action>
    void guard(const char* what, const Action& action) const;

    const std::string& m_path;
    int m_worldId;
    const UuidMap* m_objects = nullptr;
    INestedRoots* m_nestedRoots = nullptr;
};

} // namespace Kiln::Tessel::Streaming::detail
