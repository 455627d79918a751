// A host that links only the platform and loads the module, and plug-ins that use it, at run time. Arguments: the
// directory of the libraries, a resource root with lantern.prefab. Errors are reported on stderr with exit status 3;
// otherwise the last line on stdout is "finished".

#include <core/log.h>
#include <core/task_manager.h>
#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/component_library.h>
#include <resource/file_system_utils.h>

#include "plugin_loading.h"

#include <chrono>
#include <cstring>
#include <vector>

namespace {

using namespace Kiln;
using namespace Kiln::BoundaryTests;
using Tessel::EntryPoint;
using Tessel::GameObject;

constexpr const char* COMPONENT_META = "Kiln::Tessel::PrefabComponent";
constexpr const char* CONFIG_META = "Kiln::Tessel::PrefabComponent::Config";
constexpr const char* REACTION =
    "[ADDED_TO_QUERY] Kiln::Tessel::Query<Kiln::Tessel::PrefabComponent, Kiln::Tessel::HierarchyComponent, "
    "Kiln::Tessel::GameObject>";

[[nodiscard]] const mirra::BaseStaticMetaObject* findMeta(const char* name) {
    return mirra::MetaObjectManager::instance().findType(name);
}

[[nodiscard]] Tessel::World& world(int worldId) {
    return *EntryPoint::instance().findValidWorld(worldId);
}

/// Number of reactions of the post-load manager in the world.
[[nodiscard]] int countReactions(int worldId) {
    std::vector<int> order;
    world(worldId).reactions().fillTickingOrder(order);
    int count = 0;
    for (const int reaction : order) {
        count += world(worldId).reactions().find(reaction)->name == REACTION ? 1 : 0;
    }
    return count;
}

void requireUnknownModule() {
    require(ComponentLibrary::instance().findComponent("PrefabComponent") == ComponentLibrary::INVALID_ID,
            "the component is registered before the module is loaded");
    require(!findMeta(COMPONENT_META) && !findMeta(CONFIG_META), "the meta objects are there before the module");
}

void requireRegisteredModule() {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t componentId = library.findComponent("PrefabComponent");
    require(componentId != ComponentLibrary::INVALID_ID, "the component is not registered");
    const ComponentRecord& record = library.componentMeta(componentId);
    require(record.typeId == componentId && record.displayName == "Prefab" && record.options.bits() == 35,
            "the component record is wrong");
    require(record.factory()->name() == "PrefabComponent", "the component's factory is wrong");
    require(findMeta(COMPONENT_META) && findMeta(CONFIG_META), "a meta object is missing");
    require(record.factory()->metaType() == findMeta(COMPONENT_META), "the descriptor finds another meta object");
}

void requireOneIdentity(const PluginApi& lantern, const PluginApi& mirror) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t prefabId = library.findComponent("PrefabComponent");
    require(lantern.prefabTypeId() == prefabId && mirror.prefabTypeId() == prefabId,
            "the plug-ins have other ids for PrefabComponent");
    const std::size_t lanternId = library.findComponent("LanternComponent");
    require(lantern.lanternTypeId() == lanternId && mirror.lanternTypeId() == lanternId,
            "the plug-ins have different ids for LanternComponent");
    require(lantern.lanternRecordId() == lanternId && mirror.lanternRecordId() == lanternId,
            "a plug-in does not find the record of LanternComponent");
    require(lantern.prefabMetaType() == findMeta(COMPONENT_META) && mirror.prefabMetaType() == findMeta(COMPONENT_META),
            "a plug-in finds another meta object");
    require(lantern.prefabService() && lantern.prefabService() == mirror.prefabService(),
            "the plug-ins find different services");
}

void requireSharedComponents(const PluginApi& lantern, const PluginApi& mirror, int worldId) {
    const GameObject object = world(worldId).manager().createGameObject();
    require(lantern.brightness(object) == -1 && mirror.brightness(object) == -1, "there is a lantern already");
    require(mirror.addLantern(object) == 7 && lantern.brightness(object) == 7,
            "one plug-in's component is not found by the other");
    world(worldId).manager().removeGameObject(object);
    require(world(worldId).findStorage(lantern.lanternTypeId())->componentsCount() == 0, "the lantern was not freed");
}

void requireLoads(const PluginApi& lantern, const PluginApi& mirror, int worldId) {
    mirror.load("lantern.prefab", worldId);
    require(FileIOTaskManager::instance().waitForIdle(std::chrono::seconds(60)), "the load does not end");
    EntryPoint::instance().tick();

    const std::vector<GameObject> objects = world(worldId).manager().gameObjects();
    require(objects.size() == 1, "not one object was loaded");
    require(world(worldId).manager().isActive(objects[0]), "the object is not active");
    require(lantern.brightness(objects[0]) == 3 && mirror.brightness(objects[0]) == 3, "the lantern is wrong");
    require(mirror.prefabResource(objects[0]) == "lantern.prefab", "the PrefabComponent is wrong");
}

} // namespace

int main(int argumentsCount, char** arguments) {
    require(argumentsCount == 3, "usage: boundary_late_host <libraries> <resource root>");
    const std::string libraries = arguments[1];
    const ScopedLogSink sink([](const LogMessage& message) {
        // A file's root refers to the file itself, so the walk reaches the limit; nothing else may be reported.
        if (message.text.find("Nested prefabs depth has exceeded limit.") != 0) {
            fail(std::string(message.text));
        }
    });
    FS::Utils::addResourceRoot(arguments[2]);

    const int olderWorld = EntryPoint::instance().createWorld();
    requireUnknownModule();
    require(countReactions(olderWorld) == 0, "the post-load manager is there before the module");

    void* const module = openLibrary(libraries, "libkiln_tessel_asset_loading.so");
    requireRegisteredModule();
    findFunction<void()>(module, "prefab_component")();
    const int youngerWorld = EntryPoint::instance().createWorld();
    require(countReactions(olderWorld) == 1, "the older world did not get its post-load manager");
    require(countReactions(youngerWorld) == 1, "the younger world did not get its post-load manager");

    const PluginApi& mirror = openPlugin(libraries, "libboundary_mirror.so");
    const PluginApi& lantern = openPlugin(libraries, "libboundary_lantern.so");
    requireOneIdentity(lantern, mirror);
    requireSharedComponents(lantern, mirror, olderWorld);
    requireLoads(lantern, mirror, olderWorld);
    requireLoads(lantern, mirror, youngerWorld);

    // Loading the module again returns the same library, and closing that handle unloads nothing.
    require(openLibrary(libraries, "libkiln_tessel_asset_loading.so") == module, "the module was loaded twice");
    dlclose(module);
    dlclose(module);
    requireRegisteredModule();

    std::puts("finished");
    return 0;
}
