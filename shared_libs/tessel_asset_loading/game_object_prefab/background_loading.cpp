#include <tessel_asset_loading/game_object_prefab.h>

#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>
#include <tessel_asset_loading/game_object_prefab/walk_ahead.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/reporting/messages.h>

namespace Kiln::Tessel {

void GameObjectPrefab::backgroundLoad(int depth) const {
    const detail::WalkAhead walk(*this);
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
        if (walk.isStopping()) {
            return;
        }
        backgroundLoadRecursively(node, depth);
    }
}

void GameObjectPrefab::backgroundLoadRecursively(SmartPointer<GameObjectDescriptor> node, int depth) const {
    for (const SmartPointer<IComponentDescriptor>& component : node->components()) {
        component->preload();
    }
    const ComponentDescriptor<PrefabComponent>* const component = findPrefabDescriptor(*node);
    if (!component) {
        return;
    }
    if (depth > MAX_NESTING_DEPTH) {
        detail::Report::error("Nested prefabs depth has exceeded limit. It can be result of recursive references. "
                              "(backgroundLoad)");
        return;
    }
    detail::WalkAhead walk(*this);
    const std::string& resource = component->prefabProperties().resource;
    const bool isFirstRoot = node == m_nodes.front() && !node->parentLink();
    if (!walk.enter(detail::WalkAhead::Purpose::PRELOADING, resource, depth + 1, isFirstRoot)) {
        return;
    }
    const detail::NestedPrefab nested = detail::loadNestedPrefab(resource);
    if (const GameObjectPrefab* const prefab = nested.get()) {
        prefab->backgroundLoad(depth + 1);
    }
}

} // namespace Kiln::Tessel
