#pragma once

#include <object_framework/game_object_manager.h>
#include <object_framework/reactive_manager.h>
#include <tessel_foundation/component_storage.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Kiln::Tessel {

/// In the top two bits of a reaction's id.
enum class ReactionKind { TICK = 0, TRIGGER = 1 };

namespace ReactionId {
[[nodiscard]] constexpr ReactionKind kind(int id) {
    return static_cast<ReactionKind>(static_cast<unsigned>(id) >> 30);
}
} // namespace ReactionId

namespace ReactionGroup {
inline constexpr const char* SYNC_INIT = "SyncInit";
} // namespace ReactionGroup

class MINIMAL_API World : NonCopyable {
public:
    explicit World(int id) : m_manager(id) {}
    ~World();

    [[nodiscard]] GameObjectManager& manager() { return m_manager; }

    template <class T>
    [[nodiscard]] ComponentStorage<T>& getStorage() {
        std::unique_ptr<GenericComponentStorage>& storage = m_storages[NativeComponent<T>::getType()];
        if (!storage) {
            storage = std::make_unique<ComponentStorage<T>>();
        }
        return static_cast<ComponentStorage<T>&>(*storage);
    }

    void createReactiveManager(int managerId);

    /// This platform has trigger reactions only, and one group of them.
    void removeTickReaction(int id);

    /// The reaction runs at the end of the frame for each object that has entered the query.
    int addTriggerReaction(const std::string& group, const std::string& name, QueryBase& query,
                           std::function<void(GameObject)> reaction);
    void removeTriggerReaction(int id);

    void runReactions();

private:
    struct Reaction {
        QueryBase* query;
        std::function<void(GameObject)> function;
        std::vector<GameObject> added;
    };

    std::map<ComponentTypeId, std::unique_ptr<GenericComponentStorage>> m_storages;
    GameObjectManager m_manager; ///< After the storages, to which its components return.
    std::map<int, Reaction> m_reactions;
    int m_lastReaction = 0;
    std::map<int, std::unique_ptr<IReactiveManager>> m_reactiveManagers;
};

} // namespace Kiln::Tessel
