#include "instance_record.h"

#include <object_framework/game_object_manager.h>
#include <object_serialization/component_library.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <unordered_map>

namespace Kiln::PrefabTool {

namespace {

using Tessel::GameObject;
using Tessel::GameObjectManager;

[[nodiscard]] std::vector<std::string> componentNames(const GameObjectManager& manager, GameObject object) {
    std::vector<std::string> names;
    for (const Tessel::ComponentTypeId type : manager.componentTypes(object)) {
        names.push_back(componentLabel(type));
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

std::string componentLabel(Tessel::ComponentTypeId type) {
    std::string name = ComponentLibrary::instance().componentName(type);
    return name.empty() ? "#" + std::to_string(type) : name;
}

std::vector<ObjectRecord> recordObjects(GameObject root, std::uint64_t serial) {
    const GameObjectManager* const manager = Tessel::getGameObjectManager(root);
    if (!manager || !manager->isGameObjectValid(root)) {
        return {};
    }
    std::vector<GameObject> objects = manager->gameObjects(serial);
    const auto rootPosition = std::find(objects.begin(), objects.end(), root);
    std::rotate(objects.begin(), rootPosition, rootPosition + 1);

    std::unordered_map<GameObject, std::size_t> indices;
    for (std::size_t index = 0; index < objects.size(); ++index) {
        indices.emplace(objects[index], index);
    }
    std::vector<ObjectRecord> records;
    records.reserve(objects.size());
    for (const GameObject object : objects) {
        ObjectRecord& record = records.emplace_back();
        record.name = manager->getGameObjectName(object);
        record.uuid = manager->getGameObjectUuid(object);
        if (const auto parent = indices.find(manager->getParent(object)); parent != indices.end()) {
            record.parent = parent->second;
        }
        record.isActive = manager->isActive(object);
        record.components = componentNames(*manager, object);
        if (const auto* const component = manager->findComponent<Tessel::PrefabComponent>(object)) {
            record.prefab = component->resource();
        }
    }
    return records;
}

} // namespace Kiln::PrefabTool
