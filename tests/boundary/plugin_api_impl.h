#pragma once

#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <tessel_asset_loading/loading.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_service.h>

#include "lantern_component.h"
#include "plugin_api.h"

namespace Kiln::BoundaryTests {

namespace {

[[nodiscard]] Tessel::World& worldOf(Tessel::GameObject object) {
    return *Tessel::EntryPoint::instance().findValidWorld(object.getWorldId());
}

/// Each plug-in compiles its own copy of all this.
const PluginApi s_api{
    [] { return Tessel::NativeComponent<Tessel::PrefabComponent>::getType(); },
    [] { return Tessel::NativeComponent<LanternComponent>::getType(); },
    [] { return ComponentLibrary::instance().findComponent(typeid(LanternComponent)); },
    [] { return mirra::MetaObjectManager::instance().findType(typeid(Tessel::PrefabComponent)); },
    []() -> Tessel::IService* { return Tessel::EntryPoint::instance().getService<Tessel::PrefabService>(); },
    [](const std::string& path, int worldId) {
        Tessel::Loading::loadGameObject(path, worldId, std::nullopt, [](auto, auto&) { return true; });
    },
    [](Tessel::GameObject object) {
        auto component = worldOf(object).getStorage<LanternComponent>().create(LanternComponent::Config{7, 0});
        const std::int32_t brightness = component->brightness;
        worldOf(object).manager().addComponent(object, std::move(component),
                                               Tessel::NativeComponent<LanternComponent>::getType());
        return brightness;
    },
    [](Tessel::GameObject object) {
        const auto* const lantern = worldOf(object).manager().findComponent<LanternComponent>(object);
        return lantern ? lantern->brightness : -1;
    },
    [](Tessel::GameObject object) {
        const auto* const prefab = worldOf(object).manager().findComponent<Tessel::PrefabComponent>(object);
        return prefab ? prefab->resource() : std::string();
    },
    [] { LanternComponent::s_isPreloading.wait(false); },
};

} // namespace

} // namespace Kiln::BoundaryTests

extern "C" __attribute__((visibility("default"))) const Kiln::BoundaryTests::PluginApi* boundary_plugin() {
    return &Kiln::BoundaryTests::s_api;
}
