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
inline constexpr std::bitset<6> INACTIVE_BY_DEFAULT{0x01};
inline constexpr std::bitset<6> STATIC{0x02};
inline constexpr std::bitset<6> HIDDEN{0x04};
inline constexpr std::bitset<6> EDITOR_ONLY{0x08};
inline constexpr std::bitset<6> DO_NOT_SAVE{0x10};
inline constexpr std::bitset<6> LOCKED{0x20};
} // namespace GameObjectFlag

/// The game objects of one world: their life, components, hierarchy and activation.
///
/// An object is active when it is enabled and its parent, if any, is active. Activating an object enables it and
/// activates its enabled descendants with it; deactivating it deactivates all of them. A new object is enabled but
/// inactive, and neither enabling flags nor a parent activate it by themselves: its own activation or that of an
/// ancestor does. Components are active with their object.
///
/// Owner: its World. Threads: the main thread. Failure: a handle to an object that is not alive in this world makes
/// every operation do nothing and yield nothing.
class KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManager : NonCopyable {
public:
    [[nodiscard]] int worldId() const noexcept { return m_worldId; }

    /// A new, inactive object without name, UUID or components.
    GameObject createGameObject();

    /// Removes the object after its descendants, with all their components.
    void removeGameObject(GameObject object);

    [[nodiscard]] bool isGameObjectValid(GameObject object) const;

    [[nodiscard]] std::string getGameObjectName(GameObject object) const;
    void setGameObjectName(GameObject object, std::string_view name);

    /// Uuid::ZERO for an object that was not given one.
    [[nodiscard]] Uuid getGameObjectUuid(GameObject object) const;
    void setGameObjectUuid(GameObject object, const Uuid& uuid);

    /// The object with that UUID (the earliest created, should there be several), or the invalid object. The first
    /// call makes an index, linear in the number of objects, which is kept up to date from then on.
    [[nodiscard]] GameObject findGameObject(const Uuid& uuid);

    [[nodiscard]] std::bitset<6> getGameObjectFlags(GameObject object) const;

    /// Sets the flags and, from INACTIVE_BY_DEFAULT, whether the object is enabled. Activates nothing.
    void setGameObjectFlags(GameObject object, std::bitset<6> flags);

    /// Takes a component over, activates it when the object is active, and returns it. Refused, with an error in the
    /// log and null as result, when the object is not alive, has a component of that type or `component` is null.
    ///
    /// A HierarchyComponent also attaches the object to its parent. A parent that is the object itself or one of its
    /// descendants is refused with an error: the component stays, its parent becomes the invalid object.
    IComponent* addComponent(GameObject object, ComponentPointer component, ComponentTypeId type);

    /// Removes and destroys the component of that type, if there is one. Removing the HierarchyComponent detaches the
    /// object from its parent and leaves it as active as it is.
    void removeComponent(GameObject object, ComponentTypeId type);

    [[nodiscard]] bool hasComponent(GameObject object, ComponentTypeId type) const;
    [[nodiscard]] IComponent* findComponent(GameObject object, ComponentTypeId type) const;

    /// The object's component of type T, or null.
    template <class T>
    [[nodiscard]] T* findComponent(GameObject object) const {
        return static_cast<T*>(findComponent(object, NativeComponent<T>::getType()));
    }

    /// Type ids in the order in which the components were added.
    [[nodiscard]] std::vector<ComponentTypeId> componentTypes(GameObject object) const;

    [[nodiscard]] bool isActive(GameObject object) const;

    /// Whether the object is active as soon as its parent is.
    [[nodiscard]] bool isEnabled(GameObject object) const;
    void activateGameObject(GameObject object);
    void deactivateGameObject(GameObject object);

    /// The invalid object when there is none.
    [[nodiscard]] GameObject getParent(GameObject object) const;

    /// Children in the order in which they were attached.
    [[nodiscard]] std::vector<GameObject> getChildren(GameObject object) const;

    [[nodiscard]] std::size_t gameObjectsCount() const;

    /// All objects that were created after `serial`, in the order of their creation.
    [[nodiscard]] std::vector<GameObject> gameObjects(std::uint64_t serial = 0) const;

    /// Serial number of the object created last; 0 before the first.
    [[nodiscard]] std::uint64_t lastSerial() const;

protected:
    explicit GameObjectManager(int worldId);
    ~GameObjectManager();

    struct State;

    int m_worldId;
    std::unique_ptr<State> m_state;
};

/// What only the framework itself and reactive managers may ask of a manager.
class KILN_OBJECT_FRAMEWORK_EXPORT GameObjectManagerInternal final : public GameObjectManager {
public:
    using QueryFactory = std::function<std::unique_ptr<QueryBase>()>;

    explicit GameObjectManagerInternal(int worldId);
    ~GameObjectManagerInternal();

    /// The world's query of class `QueryClass` for a configuration: made with the factory on first use, shared by all
    /// who hold it, and gone with the last of them.
    template <class QueryClass>
    [[nodiscard]] std::shared_ptr<QueryClass> getQuery(const QueryConfig& config, const QueryFactory& factory) {
        return std::static_pointer_cast<QueryClass>(getQuery(config, typeid(QueryClass), factory));
    }

    /// Removes every object.
    void clear();

    /// Gives an object its UUID and name and returns its record for addComponent(); null when it is not alive. Records
    /// stay where they are as long as the manager does.
    GameObjectRecord* describeGameObject(GameObject object, const Uuid& uuid, const SharedText& name);

    using GameObjectManager::addComponent;
    /// The same for an object whose record is at hand; the object may be gone from it. What is refused is not taken.
    IComponent* addComponent(GameObjectRecord& record, GameObject object, ComponentPointer&& component,
                             ComponentTypeId type);

private:
    friend class QueryBase;

    void forgetQuery(const QueryBase& query);
    [[nodiscard]] std::shared_ptr<QueryBase> getQuery(const QueryConfig& config, std::type_index queryClass,
                                                      const QueryFactory& factory);
};

} // namespace Kiln::Tessel
