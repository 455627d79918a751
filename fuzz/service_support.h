#pragma once

#include "bundle.h"

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <core/smart_pointer.h>
#include <object_framework/game_object.h>
#include <object_framework/world.h>
#include <object_serialization/override_records.h>
#include <tessel_asset_loading/object_loaded_callback.h>
#include <tessel_asset_loading/prefab_service.h>

#include <cstddef>
#include <string>
#include <vector>

/// What the targets that load instances share.
namespace Kiln::Fuzz {

[[nodiscard]] Tessel::PrefabService& service();

/// Sets limits that keep the time of every input short, because nesting multiplies, and that inputs can reach.
void setSmallLimits();

/// The overrides in the bundle; null when there are none or they are malformed.
[[nodiscard]] SmartPointer<OverrideRecords> overridesOf(const std::vector<BundleFile>& files);

/// The bundle's prefab that is loaded; null when it has none.
[[nodiscard]] const BundleFile* mainFile(const std::vector<BundleFile>& files);

/// Counts the calls for one load and checks their order.
class CountingCallback final : public IObjectLoadedCallback {
public:
    explicit CountingCallback(bool isActivationWanted) : m_isActivationWanted(isActivationWanted) {}

    bool onPreactivate(Tessel::GameObject root, Tessel::GameObjectManager& manager) override;
    void onObjectLoaded(Tessel::GameObject root, Tessel::GameObjectManager& manager) override;
    void onObjectLoadedIntoHierarchy(Tessel::GameObject root, Tessel::GameObjectManager& manager) override;
    void releaseCallback() override;

    /// The invalid object until the load is complete.
    [[nodiscard]] Tessel::GameObject root() const { return m_root; }
    [[nodiscard]] bool isComplete() const { return m_loadedIntoHierarchy == 1; }

private:
    bool m_isActivationWanted;
    std::size_t m_preactivated = 0;
    std::size_t m_loaded = 0;
    std::size_t m_loadedIntoHierarchy = 0;
    Tessel::GameObject m_root;
};

/// A world for one input. At the end, loads that still wait are completed with another prefab and everything is
/// removed; the process is then as it was before the input.
class TemporaryWorld : NonCopyable {
public:
    TemporaryWorld();
    ~TemporaryWorld();

    [[nodiscard]] int id() const { return m_id; }
    [[nodiscard]] Tessel::GameObjectManager& manager() const;
    [[nodiscard]] std::size_t objectsCount() const { return manager().gameObjectsCount(); }

private:
    int m_id;
};

/// Completes all loads that wait, because a loader whose prefab cannot be created would stay in the service for ever.
/// Their worlds must be valid, and no background task may be unfinished.
void completeWaitingLoads();

/// The text of the cached prefab of a path; empty when it could not be loaded.
[[nodiscard]] std::string cachedText(const std::string& path);

} // namespace Kiln::Fuzz
