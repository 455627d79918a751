#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <object_framework/query.h>
#include <tessel_foundation/component.h>

#include <bitset>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln {

/// Names are not shared here.
using SharedText = std::string;

} // namespace Kiln

namespace Kiln::Tessel {

namespace GameObjectFlag {
inline constexpr std::bitset<6> INACTIVE_BY_DEFAULT{0x01};
} // namespace GameObjectFlag

struct GameObjectRecord {
    std::uint64_t serial = 0; ///< 0 while the slot is free.
    Uuid uuid;
    std::string name;
    std::bitset<6> flags;
    GameObject parent;
    std::vector<GameObject> children;
    std::vector<std::pair<ComponentTypeId, ComponentPointer>> components;
    bool isEnabled = true;
    bool isActive = false;
};

class GameObjectManager;

/// This platform has one class for all who use it.
using GameObjectManagerInternal = GameObjectManager;

/// The objects of one world. Main thread. Operations on an object that is not alive do nothing.
class MINIMAL_API GameObjectManager : NonCopyable {
public:
    explicit GameObjectManager(int worldId) : m_worldId(worldId) {}
    ~GameObjectManager() { clear(); }

    [[nodiscard]] int worldId() const { return m_worldId; }

    GameObject createGameObject();
    void removeGameObject(GameObject object);
    void clear();
    [[nodiscard]] bool isGameObjectValid(GameObject object) const { return find(object) != nullptr; }

    /// Null for an object that is not alive.
    GameObjectRecord* describeGameObject(GameObject object, const Uuid& uuid, const std::string& name);
    void setGameObjectUuid(GameObject object, const Uuid& uuid);
    void setGameObjectName(GameObject object, std::string_view name);
    [[nodiscard]] std::string getGameObjectName(GameObject object) const;
    [[nodiscard]] Uuid getGameObjectUuid(GameObject object) const;
    [[nodiscard]] GameObject getParent(GameObject object) const;
    [[nodiscard]] std::vector<GameObject> getChildren(GameObject object) const;
    [[nodiscard]] std::vector<GameObject> gameObjects() const;

    [[nodiscard]] std::bitset<6> getGameObjectFlags(GameObject object) const;

    /// An object that is inactive by default is not enabled.
    void setGameObjectFlags(GameObject object, std::bitset<6> flags);

    IComponent* addComponent(GameObject object, ComponentPointer component, ComponentTypeId type);
    void removeComponent(GameObject object, ComponentTypeId type);
    [[nodiscard]] IComponent* findComponent(GameObject object, ComponentTypeId type) const;
    [[nodiscard]] bool hasComponent(GameObject object, ComponentTypeId type) const {
        return findComponent(object, type) != nullptr;
    }
    template <class T>
    [[nodiscard]] T* findComponent(GameObject object) const {
        return static_cast<T*>(findComponent(object, NativeComponent<T>::getType()));
    }

    [[nodiscard]] bool isActive(GameObject object) const;
    [[nodiscard]] bool isEnabled(GameObject object) const;
    void activateGameObject(GameObject object);
    void deactivateGameObject(GameObject object);

    /// The world's query of that class, made on first use and shared.
    template <class QueryClass>
    [[nodiscard]] std::shared_ptr<QueryClass> getQuery(const QueryConfig& config,
                                                       const std::function<std::unique_ptr<QueryBase>()>& factory) {
        for (const std::weak_ptr<QueryBase>& known : m_queries) {
            const std::shared_ptr<QueryBase> query = known.lock();
            if (query && query->config() == config) {
                return std::static_pointer_cast<QueryClass>(query);
            }
        }
        std::shared_ptr<QueryBase> query = factory();
        m_queries.push_back(query);
        for (const GameObject object : gameObjects()) {
            updateQueries(object);
        }
        return std::static_pointer_cast<QueryClass>(query);
    }

private:
    using Record = GameObjectRecord;

    [[nodiscard]] Record* find(GameObject object);
    [[nodiscard]] const Record* find(GameObject object) const {
        return const_cast<GameObjectManager*>(this)->find(object);
    }
    [[nodiscard]] bool isAncestor(GameObject ancestor, GameObject object) const;
    void detach(GameObject object);
    void setActive(GameObject object, bool isActive);
    void updateQueries(GameObject object);

    int m_worldId;
    std::uint64_t m_lastSerial = 0;
    std::deque<Record> m_records;
    std::vector<std::weak_ptr<QueryBase>> m_queries;
};

} // namespace Kiln::Tessel
