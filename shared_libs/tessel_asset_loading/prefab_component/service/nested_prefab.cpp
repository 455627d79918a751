#include <tessel_asset_loading/game_object_prefab/nested_prefab.h>

#include <object_framework/entry_point.h>
#include <tessel_asset_loading/prefab_service.h>

namespace Kiln::Tessel::detail {

NestedPrefab loadNestedPrefab(const std::string& resource) {
    const SmartPointer<DescriptorCacheData> entry =
        EntryPoint::instance().getService<PrefabService>()->loadSharedPrefab(resource);
    return {entry->prefab.get(), entry};
}

} // namespace Kiln::Tessel::detail
