#pragma once

#include <core/non_copyable.h>
#include <object_framework/game_object.h>
#include <tessel_foundation/component.h>

#include <algorithm>
#include <compare>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <typeindex>
#include <vector>

namespace Kiln::Tessel {

class GameObjectManager;

struct QueryConfig {
    std::vector<ComponentTypeId> types; ///< Ascending.
    bool includesGameObject = false;
    friend auto operator<=>(const QueryConfig&, const QueryConfig&) = default;
};

class MINIMAL_API QueryIsUniqueAsserter {
public:
    /// Logs an error when another class has entered the configuration before.
    static void enter(const QueryConfig& config, std::type_index queryClass);
};

[[nodiscard]] MINIMAL_API std::string readableTypeName(std::type_index type);

/// The active objects of a world that have all components of a configuration; the manager keeps it up to date.
class MINIMAL_API QueryBase : NonCopyable {
public:
    virtual ~QueryBase();

    [[nodiscard]] const QueryConfig& config() const { return m_config; }
    [[nodiscard]] bool contains(GameObject object) const {
        return std::find(m_objects.begin(), m_objects.end(), object) != m_objects.end();
    }

protected:
    explicit QueryBase(QueryConfig config) : m_config(std::move(config)) {}
    [[nodiscard]] IComponent& component(GameObject object, ComponentTypeId type) const;

private:
    friend class GameObjectManager;
    friend class World;

    QueryConfig m_config;
    std::vector<GameObject> m_objects;
    std::function<void(GameObject)> m_onAdded; ///< Of the only trigger reaction; empty for none.
};

template <class... Types>
class Query final : public QueryBase {
public:
    Query() : QueryBase(makeConfig()) {}

    [[nodiscard]] static QueryConfig makeConfig() {
        QueryConfig config;
        (enter<Types>(config), ...);
        std::sort(config.types.begin(), config.types.end());
        return config;
    }

    /// Calls the function with the parts of a member; ignores other objects.
    template <class Function>
    void visit(GameObject object, Function&& function) const {
        if (contains(object)) {
            function(part<Types>(object)...);
        }
    }

private:
    template <class Type>
    static void enter(QueryConfig& config) {
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
            return static_cast<Type&>(component(object, NativeComponent<Type>::getType()));
        }
    }
};

} // namespace Kiln::Tessel
