#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>
#include <object_framework/game_object.h>
#include <tessel_foundation/component.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

class GameObjectManagerInternal;

/// What a query selects: the component types that an object must have, and whether callbacks also receive the object.
struct QueryConfig {
    std::vector<ComponentTypeId> types; ///< Ascending.
    bool includesGameObject = false;    ///< Whether callbacks also receive the object.

    friend auto operator<=>(const QueryConfig&, const QueryConfig&) = default;
};

/// Registry of the query classes in use. Two classes with the same configuration are an error: they do the same work
/// twice.
class KILN_OBJECT_FRAMEWORK_EXPORT QueryIsUniqueAsserter {
public:
    /// The query class that first used each configuration. Main thread.
    static std::map<QueryConfig, std::type_index>& s_queriesRegistry();

    /// Registers a configuration. When another class has registered it before, logs an error that names that class.
    static void enter(const QueryConfig& config, std::type_index queryClass);
};

/// Name of a type as it is written in source code.
[[nodiscard]] KILN_OBJECT_FRAMEWORK_EXPORT std::string readableTypeName(std::type_index type);

/// The active objects of a world that have all components of a configuration. Kept up to date by the world's manager
/// as objects are activated and deactivated and components are added and removed. Main thread.
class KILN_OBJECT_FRAMEWORK_EXPORT QueryBase : NonCopyable {
public:
    virtual ~QueryBase();

    /// What the query selects.
    [[nodiscard]] const QueryConfig& config() const noexcept { return m_config; }
    /// Number of members.
    [[nodiscard]] std::size_t size() const noexcept { return m_objects.size(); }

    /// The members, in no particular order; valid until the next change.
    [[nodiscard]] const std::vector<GameObject>& objects() const noexcept { return m_objects; }
    /// Whether the object is a member.
    [[nodiscard]] bool contains(GameObject object) const;

    /// Called with each object as it enters the query. Trigger reactions collect objects with it for the next reaction
    /// phase.
    using AddedListener = std::function<void(GameObject object)>;

    /// Returns an id for removeAddedListener().
    int addAddedListener(AddedListener listener);
    /// Removes the listener with that id.
    void removeAddedListener(int id);

protected:
    /// A query without members.
    explicit QueryBase(QueryConfig config);

    /// A component of a member.
    [[nodiscard]] IComponent* component(GameObject object, ComponentTypeId type) const;

private:
    friend class GameObjectManagerInternal;
    friend class QueryIndex;

    void addObject(GameObject object);
    void removeObject(GameObject object);

    QueryConfig m_config;
    GameObjectManagerInternal* m_manager = nullptr; ///< Null after the world was destroyed.
    std::vector<GameObject> m_objects;
    std::vector<std::uint32_t> m_positions; ///< By object index: position in m_objects plus one, 0 when absent.
    std::vector<std::pair<int, AddedListener>> m_addedListeners;
    int m_lastListenerId = 0;
};

/// A query over component types. When GameObject is among the types, callbacks receive the object too.
///
///     query->forEach([](PrefabComponent& prefab, HierarchyComponent& hierarchy, GameObject object) { … });
template <class... Types>
class Query final : public QueryBase {
    static_assert((!std::is_same_v<Types, GameObject> || ...), "a query asks for at least one component type");

public:
    Query() : QueryBase(makeConfig()) {}

    /// The configuration that follows from the types.
    [[nodiscard]] static QueryConfig makeConfig() {
        QueryConfig config;
        (addTo<Types>(config), ...);
        std::sort(config.types.begin(), config.types.end());
        return config;
    }

    /// Calls `function` for each member. The function must not cause objects to enter or leave the query.
    template <class Function>
    void forEach(Function&& function) const {
        for (const GameObject object : objects()) {
            call(function, object);
        }
    }

    /// Calls `function` for one object; does nothing when the object is not a member.
    template <class Function>
    void visit(GameObject object, Function&& function) const {
        if (contains(object)) {
            call(function, object);
        }
    }

private:
    template <class Type>
    static void addTo(QueryConfig& config) {
        if constexpr (std::is_same_v<Type, GameObject>) {
            config.includesGameObject = true;
        } else {
            config.types.push_back(NativeComponent<Type>::getType());
        }
    }

    template <class Type>
    [[nodiscard]] decltype(auto) part(GameObject object) const {
        if constexpr (std::is_same_v<Type, GameObject>) {
            return GameObject(object);
        } else {
            return static_cast<Type&>(*component(object, NativeComponent<Type>::getType()));
        }
    }

    /// Whether the object's component is of that class; it may be another one that shares the id, see castComponent().
    template <class Type>
    [[nodiscard]] bool hasPart(GameObject object) const {
        if constexpr (std::is_same_v<Type, GameObject>) {
            return true;
        } else {
            const ComponentTypeId type = NativeComponent<Type>::getType();
            return type != IComponent::MAX_TYPES || castComponent<Type>(component(object, type)) != nullptr;
        }
    }

    template <class Function>
    void call(Function& function, GameObject object) const {
        if ((hasPart<Types>(object) && ...)) {
            function(part<Types>(object)...);
        }
    }
};

} // namespace Kiln::Tessel
