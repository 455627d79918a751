#include <tessel_asset_loading/prefab_post_load_manager.h>

#include <object_framework/world.h>

namespace Kiln::Tessel {

PrefabPostLoadManager::PrefabPostLoadManager() = default;
PrefabPostLoadManager::~PrefabPostLoadManager() = default;

void PrefabPostLoadManager::init(World& world) {
    const QueryConfig config = RootsQuery::makeConfig();
    QueryIsUniqueAsserter::enter(config, typeid(RootsQuery));
    m_query = world.manager().getQuery<RootsQuery>(config, [] { return std::make_unique<RootsQuery>(); });

    const auto deactivateUnderInactiveParent = [&world, query = m_query.get()](GameObject added) {
        query->visit(
            added, [&world](const PrefabComponent& /*prefab*/, const HierarchyComponent& hierarchy, GameObject object) {
                if (!world.manager().isActive(hierarchy.parent())) {
                    world.manager().deactivateGameObject(object);
                }
            });
    };
    m_reactionIds.push_back(world.addTriggerReaction(ReactionGroup::SYNC_INIT,
                                                     "[ADDED_TO_QUERY] " + readableTypeName(typeid(RootsQuery)),
                                                     *m_query, deactivateUnderInactiveParent));
}

void PrefabPostLoadManager::fini(World& world) {
    for (const int id : m_reactionIds) {
        switch (ReactionId::kind(id)) {
        case ReactionKind::TICK:
            world.removeTickReaction(id);
            break;
        case ReactionKind::TRIGGER:
            world.removeTriggerReaction(id);
            break;
        }
    }
}

} // namespace Kiln::Tessel
