#pragma once

#include <object_framework/game_object.h>
#include <object_framework/service.h>
#include <reflection/meta_object.h>
#include <tessel_foundation/component.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Kiln::BoundaryTests {

/// The functions that a plug-in of these tests offers its host, in terms of the platform only. "Its view" is what the
/// plug-in's own code and type information return.
struct PluginApi {
    Tessel::ComponentTypeId (*prefabTypeId)();  ///< Its view of PrefabComponent's type id.
    Tessel::ComponentTypeId (*lanternTypeId)(); ///< Its view of LanternComponent's type id.
    std::size_t (*lanternRecordId)();           ///< What the component library finds for its LanternComponent.
    const mirra::BaseStaticMetaObject* (*prefabMetaType)(); ///< What reflection finds for its PrefabComponent.
    Tessel::IService* (*prefabService)();                   ///< What the entry point finds for its PrefabService.
    void (*load)(const std::string& path, int worldId);
    std::int32_t (*addLantern)(Tessel::GameObject object); ///< Adds a lantern and returns its brightness.
    std::int32_t (*brightness)(Tessel::GameObject object); ///< -1 without a lantern.
    std::string (*prefabResource)(Tessel::GameObject object);
    void (*awaitPreload)(); ///< Returns when a worker is in a lantern's preload.
};

using PluginEntry = const PluginApi*();

/// The name under which a plug-in exports its PluginEntry.
inline constexpr const char* PLUGIN_ENTRY = "boundary_plugin";

} // namespace Kiln::BoundaryTests
