#pragma once

#include <common/matrix.h>
#include <common/uuid.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_framework/game_object_manager.h>
#include <object_serialization/deseriralize_error_handler.h>
#include <object_serialization/override_records.h>
#include <resource/data_section.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/game_object_prefab.h>

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// The functions that most callers use: they load prefabs into worlds and keep them in the cache. Every function
/// forwards to the process's PrefabService. Main thread. Paths are resource paths and are used exactly as passed.
///
/// Loads are asynchronous: the file is parsed on a worker, and a later frame (EntryPoint::tick) creates the objects.
/// A load that fails is reported in the log; its callback is then never called.
///
///     Loading::loadGameObject("harbour/harbour.prefab", worldId, {}, [](auto root, auto& manager) { return true; });
namespace Kiln::Tessel::Loading {

/// Called with the root of a loaded hierarchy; false removes it again.
using LoadedFunction = std::function<bool(GameObject root, GameObjectManager& manager)>;

/// The same for a root that was attached to `parent`.
using HierarchyLoadedFunction = std::function<bool(GameObject root, GameObjectManager& manager, GameObject parent)>;

/// Loads a prefab into a world. If `transform` is given, the root gets it. The root is activated unless the prefab says
/// otherwise; then, at the end of the frame's tick, `callback` is called if it is not empty. `uuid` is the instance
/// UUID; a new one is generated when it is not given. Does nothing for an empty path or an invalid world.
KILN_TESSEL_ASSET_LOADING_EXPORT void loadGameObject(const std::string& path, int worldId,
                                                     const std::optional<Matrix>& transform, LoadedFunction callback,
                                                     const std::optional<Uuid>& uuid = std::nullopt);

/// Like loadGameObject, but into the world of `parent`: the root is attached to `parent` before it is activated, and it
/// stays inactive while the parent is inactive. If the parent no longer exists at that time, the new objects are
/// removed. `hierarchyCallback` is called after `callback`, in the same frame.
KILN_TESSEL_ASSET_LOADING_EXPORT void loadGameObjectIntoHierarchy(const std::string& path, GameObject parent,
                                                                  const std::optional<Matrix>& transform,
                                                                  LoadedFunction callback,
                                                                  const std::optional<Uuid>& uuid = std::nullopt,
                                                                  HierarchyLoadedFunction hierarchyCallback = {});

/// Like loadGameObject, but from a document in memory and with overrides, which may be null. Nobody may change the
/// document until it is loaded. It is not cached. Does nothing for a null section.
KILN_TESSEL_ASSET_LOADING_EXPORT void loadGameObjectSection(const SmartPointer<DataSection>& section, int worldId,
                                                            const std::optional<Matrix>& transform,
                                                            SmartPointer<OverrideRecords> overrides,
                                                            LoadedFunction callback,
                                                            const std::optional<Uuid>& uuid = std::nullopt);

/// For a non-empty path `callback` is never called; use cacheGameObjects() and loadDescriptorSync() instead. The
/// function queues a request for the document and, unless the path is cached, starts a background load. That load fills
/// the cache and not the request, which stays queued (see PrefabService::loadDescriptor).
KILN_TESSEL_ASSET_LOADING_EXPORT void
loadDescriptorAsync(const std::string& path, const std::function<void(GameObjectPrefab* prefab)>& callback);

/// The document of a path, parsed now unless it is cached; owned by the cache. Null when it can't be loaded.
[[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT GameObjectPrefab* loadDescriptorSync(const std::string& path);

/// The documents of a path and of everything nested in it, at any depth; owned by the cache. Documents that can't be
/// loaded are left out. Empty documents are left out and reported in the log; that of `path` itself only if
/// `reportFailures` is set.
[[nodiscard]] KILN_TESSEL_ASSET_LOADING_EXPORT std::unordered_map<std::string, GameObjectPrefab*>
loadDescriptorsRecursively(const std::string& path, bool reportFailures);

/// Loads paths and their nested prefabs into the cache synchronously; components preload their data unless
/// `withoutBackgroundLoad` is set.
KILN_TESSEL_ASSET_LOADING_EXPORT void cacheGameObjects(const std::vector<std::string>& paths,
                                                       bool withoutBackgroundLoad);

/// @{
/// Removes paths from the cache; loads that are in progress keep the documents that they use.
KILN_TESSEL_ASSET_LOADING_EXPORT void clearGameObjectsCache(const std::vector<std::string>& paths);
KILN_TESSEL_ASSET_LOADING_EXPORT void fullyClearCache();
/// @}

/// Reads a prefab only to report its problems to the handler: the file that the section's child "resource" names, or
/// else the section itself.
KILN_TESSEL_ASSET_LOADING_EXPORT void validateHierarchy(const SmartPointer<DataSection>& section,
                                                        DeseriralizeErrorHandler& handler);

} // namespace Kiln::Tessel::Loading
