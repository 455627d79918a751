#include <tessel_asset_loading/game_object_prefab.h>

#include <object_framework/entry_point.h>
#include <tessel_asset_loading/detail/reporting.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>

namespace Kiln::Tessel {

void GameObjectPrefab::backgroundLoad(int depth) const {
    for (const SmartPointer<GameObjectDescriptor>& node : m_nodes) {
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
        Report::error("Nested prefabs depth has exceeded limit. It can be result of recursive references. "
                      "(backgroundLoad)");
        return;
    }
    const SmartPointer<DescriptorCacheData> nested =
        EntryPoint::instance().getService<PrefabService>()->loadSharedPrefab(component->prefabProperties().resource);
    if (const GameObjectPrefab* const prefab = nested->prefab.get()) {
        prefab->backgroundLoad(depth + 1);
    }
}

} // namespace Kiln::Tessel
