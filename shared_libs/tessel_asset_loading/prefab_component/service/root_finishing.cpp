#include <tessel_asset_loading/prefab_component/service/root_finishing.h>

#include <object_serialization/component_library.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <utility>

namespace Kiln::Tessel::detail {

bool offerToListener(ICreationListener* listener, const GameObjectPrefab& prefab, int worldId, const Uuid& instanceUuid,
                     UuidMap&& uuidMap) {
    return !listener || !listener->acceptsPrefab(prefab) ||
           listener->processInstance(worldId, {instanceUuid, std::move(uuidMap)});
}

void stampRoot(GameObjectManager& manager, GameObject root, const Uuid& instanceUuid) {
    if (auto* const component = manager.findComponent<PrefabComponent>(root)) {
        component->setInstanceUuid(instanceUuid);
    } else {
        Report::warning("Root GO [%s], is missing PrefabComponent", manager.getGameObjectName(root).c_str());
    }
}

} // namespace Kiln::Tessel::detail
