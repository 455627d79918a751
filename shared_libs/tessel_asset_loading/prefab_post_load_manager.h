#pragma once

#include <object_framework/hierarchy_component.h>
#include <object_framework/query.h>
#include <object_framework/reactive_manager.h>
#include <tessel_asset_loading/export.h>
#include <tessel_asset_loading/prefab_component.h>

#include <memory>
#include <vector>

namespace Kiln::Tessel {

/// Keeps prefab instances from running under inactive parents: a prefab root that enters its query while the parent in
/// its HierarchyComponent is not active is deactivated. Every world has one. Main thread.
class KILN_TESSEL_ASSET_LOADING_EXPORT PrefabPostLoadManager final : public ReactiveManager<PrefabPostLoadManager> {
public:
    PrefabPostLoadManager();
    ~PrefabPostLoadManager() override;

    void init(World& world) override;
    void fini(World& world) override;

private:
    using RootsQuery = Query<PrefabComponent, HierarchyComponent, GameObject>;

    std::shared_ptr<RootsQuery> m_query;
    std::vector<int> m_reactionIds;
};

} // namespace Kiln::Tessel
