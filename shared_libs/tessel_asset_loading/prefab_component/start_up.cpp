#include <core/profiler.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/component_registration.h>
#include <tessel_asset_loading/prefab_component.h>
#include <tessel_asset_loading/prefab_post_load_manager.h>
#include <tessel_asset_loading/prefab_service.h>

#include <memory>

namespace Kiln::Tessel {

// Initialized in this order, before the start-up object below. The priority matters in a program that links the
// libraries statically: the module follows the components of the platform and precedes what uses the module.
[[gnu::init_priority(65000)]] const std::string PrefabComponent::OVERRIDES_DATA_PROPERTY = "overridesData";
[[gnu::init_priority(65000)]] const std::string PrefabComponent::RESOURCE_PROPERTY = "resource";

namespace {

constexpr const char* COMPONENT_NAME = "PrefabComponent";

void registerComponentType() {
    const ProfilerScope scope("Engine|Tessel|registerComponent");
    [[maybe_unused]] const ComponentTypeId id = NativeComponent<PrefabComponent>::getType();
}

void registerComponentRecord() {
    ComponentRecord record = makeComponentRecord<PrefabComponent>(COMPONENT_NAME);
    record.displayName = "Prefab";
    record.isUserAddable = false;
    ComponentLibrary::instance().append(std::move(record));
}

void registerPostLoadManager() {
    EntryPoint& entryPoint = EntryPoint::instance();
    const int managerId = entryPoint.registerReactiveManager(&PrefabPostLoadManager::create);
    for (const int worldId : entryPoint.worldIds()) {
        entryPoint.findValidWorld(worldId)->createReactiveManager(managerId);
    }
    entryPoint.findReactiveManagerRecord(managerId)->options = ALL_ROLES;
}

void registerMetaObjects() {
    mirra::StaticMetaObjectBuilder<PrefabComponent::Config> config("Kiln::Tessel::PrefabComponent::Config");
    config.addProperty<&PrefabComponent::Config::resource>(PrefabComponent::RESOURCE_PROPERTY,
                                                           {mirra::Meta::View::Path});
    config.addProperty<&PrefabComponent::Config::overridesData>(PrefabComponent::OVERRIDES_DATA_PROPERTY);
    config.finish();

    mirra::StaticMetaObjectBuilder<PrefabComponent> component("Kiln::Tessel::PrefabComponent");
    component.addProperty<&PrefabComponent::resource>(PrefabComponent::RESOURCE_PROPERTY);
    component.addProperty<&PrefabComponent::overridesData>(PrefabComponent::OVERRIDES_DATA_PROPERTY);
    component.finish();
}

/// Registers the module with the framework while the module is being loaded. It is the only such object of the module,
/// since the order between the static objects of several sources is not defined. Its destructor, at exit, joins the
/// workers.
class StartUp {
public:
    StartUp() {
        registerComponentType();
        registerComponentRecord();
        registerPostLoadManager();
        registerMetaObjects();
        EntryPoint::instance().registerService(typeid(PrefabService), std::make_unique<PrefabService>());
    }

private:
    FileIOTaskManager::ExitGuard m_exitGuard;
};

[[gnu::init_priority(65000)]] const StartUp s_startUp;

} // namespace

} // namespace Kiln::Tessel

void prefab_component() {}
