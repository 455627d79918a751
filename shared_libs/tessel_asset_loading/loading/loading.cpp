#include <tessel_asset_loading/loading.h>

#include <object_framework/entry_point.h>
#include <tessel_asset_loading/loading/loaded_callback_impl.h>
#include <tessel_asset_loading/prefab_service.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <utility>

namespace Kiln::Tessel::Loading {

namespace {

using PrefabsByPath = std::unordered_map<std::string, GameObjectPrefab*>;

[[nodiscard]] PrefabService& service() {
    return *EntryPoint::instance().getService<PrefabService>();
}

[[nodiscard]] Uuid orGenerated(const std::optional<Uuid>& uuid) {
    return uuid ? *uuid : Uuid::generate();
}

void collectRecursively(const std::string& path, bool report, PrefabsByPath& prefabs) {
    GameObjectPrefab* const prefab = service().loadPrefabData(path);
    if (!prefab) {
        return;
    }
    if (prefab->isEmpty()) {
        if (report) {
            detail::Report::error("Failed to load prefab data for '%s'", path.c_str());
        }
        return;
    }
    prefabs.try_emplace(path, prefab);
    for (const std::string& nested : prefab->getNestedPrefabs()) {
        if (!prefabs.contains(nested)) {
            collectRecursively(nested, true, prefabs);
        }
    }
}

} // namespace

void loadGameObject(const std::string& path, int worldId, const std::optional<Matrix>& transform,
                    LoadedFunction callback, const std::optional<Uuid>& uuid) {
    if (path.empty()) {
        return;
    }
    service().loadGameObject(path, worldId, orGenerated(uuid),
                             makeSmart<LoadedCallbackImpl>(std::move(callback), HierarchyLoadedFunction(),
                                                           GameObject::INVALID_GAME_OBJECT, transform),
                             nullptr);
}

void loadGameObjectIntoHierarchy(const std::string& path, GameObject parent, const std::optional<Matrix>& transform,
                                 LoadedFunction callback, const std::optional<Uuid>& uuid,
                                 HierarchyLoadedFunction hierarchyCallback) {
    if (path.empty()) {
        return;
    }
    service().loadGameObject(
        path, parent.getWorldId(), orGenerated(uuid),
        makeSmart<LoadedCallbackImpl>(std::move(callback), std::move(hierarchyCallback), parent, transform), nullptr);
}

void loadGameObjectSection(const SmartPointer<DataSection>& section, int worldId,
                           const std::optional<Matrix>& transform, SmartPointer<OverrideRecords> overrides,
                           LoadedFunction callback, const std::optional<Uuid>& uuid) {
    if (!section) {
        return;
    }
    service().loadGameObject(section, worldId, orGenerated(uuid),
                             makeSmart<LoadedCallbackImpl>(std::move(callback), HierarchyLoadedFunction(),
                                                           GameObject::INVALID_GAME_OBJECT, transform),
                             std::move(overrides));
}

void loadDescriptorAsync(const std::string& path, const std::function<void(GameObjectPrefab* prefab)>& callback) {
    service().loadDescriptor(path, callback, false);
}

GameObjectPrefab* loadDescriptorSync(const std::string& path) {
    return service().loadPrefabData(path);
}

PrefabsByPath loadDescriptorsRecursively(const std::string& path, bool reportFailures) {
    PrefabsByPath prefabs(8);
    collectRecursively(path, reportFailures, prefabs);
    return prefabs;
}

void cacheGameObjects(const std::vector<std::string>& paths, bool withoutBackgroundLoad) {
    for (const std::string& path : paths) {
        service().cachePrefabData(path, !withoutBackgroundLoad);
    }
}

void clearGameObjectsCache(const std::vector<std::string>& paths) {
    service().clearCached(paths);
}

void fullyClearCache() {
    service().clearCache();
}

void validateHierarchy(const SmartPointer<DataSection>& section, DeseriralizeErrorHandler& handler) {
    const std::string path = section ? section->readString("resource") : std::string();
    if (path.empty()) {
        [[maybe_unused]] const auto prefab = GameObjectPrefab::loadHierarchy(section, &handler);
    } else {
        [[maybe_unused]] const auto prefab = GameObjectPrefab::loadHierarchy(path, &handler);
    }
}

} // namespace Kiln::Tessel::Loading
