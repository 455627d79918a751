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
#include <utility>
#include <vector>

namespace Kiln::Tessel {

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

    void describeGameObject(GameObject object, const Uuid& uuid, const std::string& name);
    [[nodiscard]] std::string getGameObjectName(GameObject object) const;
    [[nodiscard]] Uuid getGameObjectUuid(GameObject object) const;
    [[nodiscard]] GameObject getParent(GameObject object) const;
    [[nodiscard]] std::vector<GameObject> gameObjects() const;

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
    struct Record {
        std::uint64_t serial = 0; ///< 0 while the slot is free.
        Uuid uuid;
        std::string name;
        GameObject parent;
        std::vector<GameObject> children;
        std::vector<std::pair<ComponentTypeId, ComponentPointer>> components;
        bool isEnabled = true;
        bool isActive = false;
    };

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
