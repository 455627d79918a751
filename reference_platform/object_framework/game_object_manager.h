#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/shared_text.h>
#include <object_framework/export.h>
#include <object_framework/game_object.h>
#include <object_framework/query.h>
#include <tessel_foundation/component.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <typeindex>
#include <vector>

namespace Kiln::Tessel {

struct GameObjectRecord;

/// The state flags of a game object.
namespace GameObjectFlag {
/// @{
/// A flag of a game object. setGameObjectFlags() enables an object that is not INACTIVE_BY_DEFAULT.
inline constexpr std::bitset<6> INACTIVE_BY_DEFAULT{0x01};
inline constexpr std::bitset<6> STATIC{0x02};
inline constexpr std::bitset<6> HIDDEN{0x04};
inline constexpr std::bitset<6> EDITOR_ONLY{0x08};
inline constexpr std::bitset<6> DO_NOT_SAVE{0x10};
inline constexpr std::bitset<6> LOCKED{0x20};
/// @}
} // namespace GameObjectFlag

/// The game objects of one world: their lifetime, components, hierarchy and activation.
///
/// Activating an object enables it and, unless its parent is inactive, makes it and its enabled descendants active.
/// Deactivating an object disables it and makes it and all its descendants inactive. A new object is enabled but
/// inactive. Flags and parents do not activate an object; only its own activation or that of an ancestor does.
/// Components are active with their object.
///
/// Owner: its World. Threads: the main thread. Failure: with a handle to an object that is not alive in this world,
/// every operation does nothing and returns an empty result.
class KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManager : NonCopyable {
public:
    /// Id of the world that the objects belong to.
    [[nodiscard]] int worldId() const noexcept { return m_worldId; }

    /// Creates an inactive object without name, UUID or components.
    GameObject createGameObject();

    /// Removes the object and its descendants, with all their components. Descendants are removed before their parents.
    void removeGameObject(GameObject object);

    /// Whether the object is alive in this world.
    [[nodiscard]] bool isGameObjectValid(GameObject object) const;

    /// @{
    /// The name of an object; empty if it has none.
    [[nodiscard]] std::string getGameObjectName(GameObject object) const;
    void setGameObjectName(GameObject object, std::string_view name);
    /// @}

    /// Uuid::ZERO for an object that has none.
    [[nodiscard]] Uuid getGameObjectUuid(GameObject object) const;
    /// Sets the UUID. Several objects may have the same one, see findGameObject().
    void setGameObjectUuid(GameObject object, const Uuid& uuid);

    /// The object with that UUID, or the invalid object; if several have it, the one created first. The first call
    /// builds an index in time linear in the number of objects; later changes keep the index up to date.
    [[nodiscard]] GameObject findGameObject(const Uuid& uuid);

    /// The state flags, see GameObjectFlag.
    [[nodiscard]] std::bitset<6> getGameObjectFlags(GameObject object) const;

    /// Sets the flags, and enables the object unless INACTIVE_BY_DEFAULT is among them. Activates nothing.
    void setGameObjectFlags(GameObject object, std::bitset<6> flags);

    /// Takes ownership of a component, activates it when the object is active, and returns it. When the object is not
    /// alive or has a component of that type already, or when `component` is null, logs an error, destroys the
    /// component and returns null.
    ///
    /// A HierarchyComponent also attaches the object to its parent. When that parent is the object itself or one of its
    /// descendants, an error is logged: the component stays, but its parent becomes the invalid object.
    IComponent* addComponent(GameObject object, ComponentPointer component, ComponentTypeId type);

    /// Whether addComponent() accepts a component of that type; otherwise logs the same error. Lets a caller check
    /// before it creates the component.
    [[nodiscard]] bool canAddComponent(GameObject object, ComponentTypeId type) const;

    /// Removes and destroys the component of that type, if there is one. Removing the HierarchyComponent detaches the
    /// object from its parent and does not change whether it is active.
    void removeComponent(GameObject object, ComponentTypeId type);

    /// @{
    /// Whether the object has a component of that type, and the component, or null. The component belongs to the
    /// object.
    [[nodiscard]] bool hasComponent(GameObject object, ComponentTypeId type) const;
    [[nodiscard]] IComponent* findComponent(GameObject object, ComponentTypeId type) const;
    /// @}

    /// The object's component of type T, or null.
    template <class T>
    [[nodiscard]] T* findComponent(GameObject object) const {
        return castComponent<T>(findComponent(object, NativeComponent<T>::getType()));
    }

    /// Type ids in the order in which the components were added.
    [[nodiscard]] std::vector<ComponentTypeId> componentTypes(GameObject object) const;

    /// Whether the object, and with it its components, is active.
    [[nodiscard]] bool isActive(GameObject object) const;

    /// Whether the object becomes active when its parent is activated.
    [[nodiscard]] bool isEnabled(GameObject object) const;
    /// @{
    /// Enables or disables an object, with the effects that the class comment describes.
    void activateGameObject(GameObject object);
    void deactivateGameObject(GameObject object);
    /// @}

    /// The invalid object when the object has no parent.
    [[nodiscard]] GameObject getParent(GameObject object) const;

    /// Children in the order in which they were attached.
    [[nodiscard]] std::vector<GameObject> getChildren(GameObject object) const;

    /// Number of objects that are alive.
    [[nodiscard]] std::size_t gameObjectsCount() const;

    /// The living objects with a serial above `serial`, in the order of their creation.
    [[nodiscard]] std::vector<GameObject> gameObjects(std::uint64_t serial = 0) const;

    /// Serial of the object created last; 0 before the first.
    [[nodiscard]] std::uint64_t lastSerial() const;

protected:
    /// For the derived class: the manager of the world with that id.
    explicit GameObjectManager(int worldId);
    ~GameObjectManager();

    struct State;

    int m_worldId;                  ///< Id of the world.
    std::unique_ptr<State> m_state; ///< The objects; never null.
};

/// Operations that are reserved for the framework itself and for reactive managers.
class KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManagerInternal final : public GameObjectManager {
public:
    /// Makes a query when no holder has one for its configuration.
    using QueryFactory = std::function<std::unique_ptr<QueryBase>()>;

    /// The manager of the world with that id, without objects.
    explicit GameObjectManagerInternal(int worldId);
    ~GameObjectManagerInternal();

    /// The world's query of class `QueryClass` for a configuration: created with the factory on first use, shared by
    /// its holders, and destroyed with the last of them.
    template <class QueryClass>
    [[nodiscard]] std::shared_ptr<QueryClass> getQuery(const QueryConfig& config, const QueryFactory& factory) {
        return std::static_pointer_cast<QueryClass>(getQuery(config, typeid(QueryClass), factory));
    }

    /// Removes every object.
    void clear();

    /// Sets the UUID and name of an object and returns its record for addComponent(); null when the object is not
    /// alive. The record's address is valid as long as the manager exists.
    GameObjectRecord* describeGameObject(GameObject object, const Uuid& uuid, const SharedText& name);

    using GameObjectManager::addComponent;
    /// Like above, but with the object's record from describeGameObject(), which saves a lookup; the object may have
    /// been removed since. When the component is refused, the caller keeps it.
    IComponent* addComponent(GameObjectRecord& record, GameObject object, ComponentPointer&& component,
                             ComponentTypeId type);

private:
    friend class QueryBase;

    void forgetQuery(const QueryBase& query);
    [[nodiscard]] std::shared_ptr<QueryBase> getQuery(const QueryConfig& config, std::type_index queryClass,
                                                      const QueryFactory& factory);
};

} // namespace Kiln::Tessel
