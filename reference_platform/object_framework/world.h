#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>
#include <object_framework/game_object_manager.h>
#include <object_framework/reactive_manager.h>
#include <object_framework/ticking_graph.h>
#include <tessel_foundation/component_storage.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kiln::Tessel {

/// One world: its game objects, the storages of their components, its reactive managers and their reactions.
/// Owner: EntryPoint, which creates and destroys worlds. Main thread.
class KILN_OBJECT_FRAMEWORK_EXPORT World : NonCopyable {
public:
    /// Made by EntryPoint::createWorld().
    explicit World(int id);
    ~World();

    /// Id of the world, from 1.
    [[nodiscard]] int id() const noexcept { return m_manager.worldId(); }
    /// The game objects of the world.
    [[nodiscard]] GameObjectManagerInternal& manager() noexcept { return m_manager; }

    /// The storage of a component type; null while the world has none.
    [[nodiscard]] GenericComponentStorage* findStorage(ComponentTypeId type) const noexcept {
        return type < m_storages.size() ? m_storages[type].get() : nullptr;
    }

    /// Adds the storage of a type. If the type already has one, that one is kept and `storage` is destroyed.
    void addStorage(ComponentTypeId type, std::unique_ptr<GenericComponentStorage> storage);

    /// The storage of component type T, created on first use.
    ///
    /// The types that do not fit into the registry share one id, so only the first of them that a world stores has a
    /// storage. For the others std::length_error is thrown, with a text that names T.
    template <class T>
    [[nodiscard, gnu::always_inline]] ComponentStorage<T>& getStorage() {
        const ComponentTypeId type = NativeComponent<T>::getType();
        GenericComponentStorage* storage = findStorage(type);
        if (!storage) [[unlikely]] {
            storage = makeStorage<T>(type);
        }
        if (type == IComponent::MAX_TYPES && !dynamic_cast<ComponentStorage<T>*>(storage)) [[unlikely]] {
            refuseStorage(typeid(T));
        }
        return static_cast<ComponentStorage<T>&>(*storage);
    }

    /// The storages of the world, by ascending component type.
    [[nodiscard]] std::vector<GenericComponentStorage*> storages() const;

    /// Creates the world's manager of a registered kind (EntryPoint::registerReactiveManager), unless the world has one
    /// or the kind has none of the roles of this process.
    void createReactiveManager(int managerId);

    /// Null when the world has no manager of that kind.
    [[nodiscard]] IReactiveManager* findReactiveManager(int managerId) const;

    /// Registers a function that runs once per frame. Returns an id for removeTickReaction(), which ignores the ids of
    /// trigger reactions.
    int addTickReaction(std::string group, std::string name, std::function<void()> reaction);
    /// Removes the tick reaction with that id.
    void removeTickReaction(int id);

    /// Registers a function for the objects that enter a query: it runs in the next reaction phase, once for each
    /// object that is still in the query then. The query must outlive the reaction. Returns an id for
    /// removeTriggerReaction().
    int addTriggerReaction(std::string group, std::string name, QueryBase& query,
                           std::function<void(GameObject object)> reaction);
    /// Removes the trigger reaction with that id. Its query must still exist.
    void removeTriggerReaction(int id);

    /// The reactions of the world.
    [[nodiscard]] const TickingGraph& reactions() const noexcept { return m_reactions; }

    /// Runs the reaction phase of a frame.
    void runReactions();

    /// Calls fini() of the reactive managers and destroys them, then removes every object. May be called repeatedly;
    /// afterwards the world must not be used for anything else.
    void fini();

private:
    /// Not inlined, so that getStorage() is short enough to be inlined.
    template <class T>
    [[gnu::noinline]] GenericComponentStorage* makeStorage(ComponentTypeId type) {
        addStorage(type, std::make_unique<ComponentStorage<T>>());
        return findStorage(type);
    }

    [[noreturn]] static void refuseStorage(const std::type_info& component);

    struct Trigger {
        QueryBase* query;
        int listenerId;
    };

    std::vector<std::unique_ptr<GenericComponentStorage>> m_storages; ///< By component type.
    GameObjectManagerInternal m_manager; ///< Declared after the storages: its components return to them.
    TickingGraph m_reactions;
    std::vector<std::pair<int, Trigger>> m_triggers;
    std::vector<std::pair<int, std::unique_ptr<IReactiveManager>>> m_reactiveManagers;
};

} // namespace Kiln::Tessel
