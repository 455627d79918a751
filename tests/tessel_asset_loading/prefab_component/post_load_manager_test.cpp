#include <tessel_asset_loading/support/virtual_slot.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <object_framework/hierarchy_component.h>
#include <tessel_asset_loading/prefab_post_load_manager.h>

#include <gmock/gmock.h>

#include <functional>
#include <utility>
#include <vector>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::HierarchyComponent;
using Tessel::PrefabComponent;
using Tessel::PrefabPostLoadManager;
using Tessel::QueryIsUniqueAsserter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using RootsQuery = Tessel::Query<PrefabComponent, HierarchyComponent, GameObject>;

/// Calls a function when it has been deactivated: in the middle of the deactivation of a whole tree.
class TripwireComponent final : public Tessel::PoolableComponent<TripwireComponent, Tessel::IComponent> {
public:
    explicit TripwireComponent(std::function<void()> function) : m_function(std::move(function)) {}

    void deactivate() override {
        PoolableComponent::deactivate();
        m_function();
    }

private:
    std::function<void()> m_function;
};

/// Opens a private member to the tests: an explicit instantiation may name it.
template <auto Member>
struct Opened {
    friend std::vector<int>& reactionIdsOf(PrefabPostLoadManager& manager) { return manager.*Member; }
};
std::vector<int>& reactionIdsOf(PrefabPostLoadManager& manager);
template struct Opened<&PrefabPostLoadManager::m_reactionIds>;

class PostLoadManager : public WorldFixture {
protected:
    [[nodiscard]] static std::vector<PrefabPostLoadManager*> managersOf(const Tessel::World& ofWorld) {
        std::vector<PrefabPostLoadManager*> managers;
        for (int managerId = 0; EntryPoint::instance().findReactiveManagerRecord(managerId); ++managerId) {
            if (auto* const found = dynamic_cast<PrefabPostLoadManager*>(ofWorld.findReactiveManager(managerId))) {
                managers.push_back(found);
            }
        }
        return managers;
    }

    /// Ids of the world's reactions.
    [[nodiscard]] std::vector<int> reactions() const {
        std::vector<int> order;
        world().reactions().fillTickingOrder(order);
        return order;
    }

    /// Reactions that were added since.
    [[nodiscard]] std::vector<int> reactionsSince(const std::vector<int>& before) const {
        std::vector<int> added;
        for (const int reaction : reactions()) {
            if (std::find(before.begin(), before.end(), reaction) == before.end()) {
                added.push_back(reaction);
            }
        }
        return added;
    }

    GameObject makeObject(bool isActive) const {
        const GameObject object = manager().createGameObject();
        if (isActive) {
            manager().activateGameObject(object);
        }
        return object;
    }

    void addPrefab(GameObject object) const {
        manager().addComponent(object, world().getStorage<PrefabComponent>().create(PrefabComponent::Config()),
                               Tessel::NativeComponent<PrefabComponent>::getType());
    }
    void addHierarchy(GameObject object, GameObject parent) const {
        manager().addComponent(object, world().getStorage<HierarchyComponent>().create(parent),
                               Tessel::NativeComponent<HierarchyComponent>::getType());
    }
};

TEST_F(PostLoadManager, everyWorld_hasOne) {
    const int otherId = EntryPoint::instance().createWorld();
    const std::vector<PrefabPostLoadManager*> own = managersOf(world());
    const std::vector<PrefabPostLoadManager*> others = managersOf(*EntryPoint::instance().findValidWorld(otherId));

    ASSERT_EQ(own.size(), 1U);
    ASSERT_EQ(others.size(), 1U);
    EXPECT_NE(own[0], others[0]);
    EntryPoint::instance().destroyWorld(otherId);
}

TEST_F(PostLoadManager, init_registersOneTriggerReactionInTheInitialisationGroup) {
    const std::vector<int> before = reactions();
    PrefabPostLoadManager other;
    other.init(world());

    const std::vector<int> added = reactionsSince(before);
    ASSERT_EQ(added.size(), 1U);
    EXPECT_EQ(static_cast<unsigned>(added[0]) >> 30U, 1U);
    const Tessel::TickingGraph::Reaction* const reaction = world().reactions().find(added[0]);
    EXPECT_EQ(reaction->group, "SyncInit");
    EXPECT_EQ(reaction->name, "[ADDED_TO_QUERY] Kiln::Tessel::Query<Kiln::Tessel::PrefabComponent, "
                              "Kiln::Tessel::HierarchyComponent, Kiln::Tessel::GameObject>");
    other.fini(world());
}

TEST_F(PostLoadManager, fini_removesJustItsOwnReaction) {
    const int foreign = world().addTickReaction("SyncInit", "foreign", [] {});
    const std::vector<int> before = reactions();
    PrefabPostLoadManager other;
    other.init(world());
    EXPECT_EQ(reactions().size(), before.size() + 1);

    other.fini(world());

    EXPECT_EQ(reactions(), before);
    EXPECT_NE(world().reactions().find(foreign), nullptr);
    world().removeTickReaction(foreign);
}

TEST_F(PostLoadManager, fini_removesReactionsOfBothKindsAndSkipsOthers) {
    const std::vector<int> before = reactions();
    PrefabPostLoadManager other;
    other.init(world());
    const std::vector<int> trigger = reactionsSince(before);
    EXPECT_EQ(reactionIdsOf(other), trigger);
    const int tickReaction = world().addTickReaction("SyncInit", "of both kinds", [] {});
    const int kindTwo = static_cast<int>(0x8000'0001U);
    const int kindThree = static_cast<int>(0xC000'0001U);
    reactionIdsOf(other) = {kindTwo, tickReaction, kindThree, trigger[0]};

    other.fini(world());

    EXPECT_EQ(reactions(), before);
}

TEST_F(PostLoadManager, finishedManager_reactsNoMore) {
    managersOf(world())[0]->fini(world());
    const GameObject object = makeObject(true);
    addPrefab(object);
    addHierarchy(object, GameObject::INVALID_GAME_OBJECT);
    tick();

    EXPECT_TRUE(manager().isActive(object));
}

TEST_F(PostLoadManager, init_sharesTheQueryOfTheWorld) {
    const auto query =
        world().manager().getQuery<RootsQuery>(RootsQuery::makeConfig(), []() -> std::unique_ptr<Tessel::QueryBase> {
            ADD_FAILURE() << "the manager holds the query";
            return std::make_unique<RootsQuery>();
        });

    EXPECT_EQ(query->size(), 0U);
    EXPECT_TRUE(query->config().includesGameObject);
}

TEST_F(PostLoadManager, rootWithActiveParent_isLeftAlone) {
    const GameObject parent = makeObject(true);
    const GameObject root = makeObject(false);
    addPrefab(root);
    addHierarchy(root, parent);
    manager().activateGameObject(root);
    tick();

    EXPECT_TRUE(manager().isActive(root));
}

TEST_F(PostLoadManager, rootWithParentThatCouldNotBeHad_isDeactivated) {
    const GameObject dead = makeObject(true);
    manager().removeGameObject(dead);
    const GameObject root = makeObject(true);
    addPrefab(root);
    addHierarchy(root, dead);
    EXPECT_TRUE(manager().isActive(root));
    tick();

    EXPECT_FALSE(manager().isActive(root));
    EXPECT_FALSE(manager().isEnabled(root));
}

TEST_F(PostLoadManager, parentDeactivatedBeforeReaction_takesTheRootWithIt) {
    const GameObject parent = makeObject(true);
    const GameObject root = makeObject(false);
    addPrefab(root);
    addHierarchy(root, parent);
    manager().activateGameObject(root);
    manager().deactivateGameObject(parent);
    tick();

    EXPECT_FALSE(manager().isActive(root));
    EXPECT_TRUE(manager().isEnabled(root));
}

TEST_F(PostLoadManager, reactionWhileParentIsDeactivated_deactivatesTheRootItself) {
    const GameObject grandparent = makeObject(true);
    const GameObject parent = makeObject(true);
    addHierarchy(parent, grandparent);
    const GameObject sibling = makeObject(false);
    addHierarchy(sibling, parent);
    manager().addComponent(sibling, world().getStorage<TripwireComponent>().create([this] { world().runReactions(); }),
                           Tessel::NativeComponent<TripwireComponent>::getType());
    manager().activateGameObject(sibling);
    const GameObject root = makeObject(false);
    addPrefab(root);
    addHierarchy(root, parent);
    manager().activateGameObject(root);

    manager().deactivateGameObject(grandparent);

    EXPECT_TRUE(manager().isEnabled(parent));
    EXPECT_TRUE(manager().isEnabled(sibling));
    EXPECT_FALSE(manager().isActive(root));
    EXPECT_FALSE(manager().isEnabled(root));
}

TEST_F(PostLoadManager, objectWithoutPrefabComponent_isLeftAlone) {
    const GameObject object = makeObject(true);
    addHierarchy(object, GameObject::INVALID_GAME_OBJECT);
    tick();

    EXPECT_TRUE(manager().isActive(object));
}

TEST_F(PostLoadManager, rootWithoutHierarchyComponent_isLeftAlone) {
    const GameObject object = makeObject(true);
    addPrefab(object);
    tick();

    EXPECT_TRUE(manager().isActive(object));
}

TEST_F(PostLoadManager, descendantsOfDeactivatedRoot_areInactiveToo) {
    const GameObject root = makeObject(true);
    const GameObject child = makeObject(false);
    addHierarchy(child, root);
    manager().activateGameObject(child);
    addPrefab(root);
    addHierarchy(root, GameObject::INVALID_GAME_OBJECT);
    tick();

    EXPECT_FALSE(manager().isActive(child));
    EXPECT_TRUE(manager().isEnabled(child));
}

TEST_F(PostLoadManager, rootActivatedAgainByHand_isDeactivatedAgain) {
    const GameObject root = makeObject(true);
    addPrefab(root);
    addHierarchy(root, GameObject::INVALID_GAME_OBJECT);
    tick();
    manager().activateGameObject(root);
    EXPECT_TRUE(manager().isActive(root));
    tick();

    EXPECT_FALSE(manager().isActive(root));
}

TEST_F(PostLoadManager, queryOfAnotherClass_isReportedAndWorkContinues) {
    const auto entry = QueryIsUniqueAsserter::s_queriesRegistry().find(RootsQuery::makeConfig());
    ASSERT_NE(entry, QueryIsUniqueAsserter::s_queriesRegistry().end());
    EXPECT_EQ(entry->second, typeid(RootsQuery));
    entry->second = typeid(Tessel::QueryBase);

    const int otherId = EntryPoint::instance().createWorld();
    entry->second = typeid(RootsQuery);

    EXPECT_THAT(logged(),
                ElementsAre("5: Query with these arguments already exists! Try this one: Kiln::Tessel::QueryBase"));
    Tessel::World& other = *EntryPoint::instance().findValidWorld(otherId);
    EXPECT_EQ(managersOf(other).size(), 1U);
    const GameObject root = other.manager().createGameObject();
    other.manager().activateGameObject(root);
    other.manager().addComponent(root, other.getStorage<PrefabComponent>().create(PrefabComponent::Config()),
                                 Tessel::NativeComponent<PrefabComponent>::getType());
    other.manager().addComponent(root, other.getStorage<HierarchyComponent>().create(GameObject::INVALID_GAME_OBJECT),
                                 Tessel::NativeComponent<HierarchyComponent>::getType());
    tick();
    EXPECT_FALSE(other.manager().isActive(root));
    EntryPoint::instance().destroyWorld(otherId);
}

TEST_F(PostLoadManager, query_isKeptFromInitOn) {
    const Tessel::QueryConfig config = RootsQuery::makeConfig();
    const auto query = world().manager().getQuery<RootsQuery>(config, [] { return std::make_unique<RootsQuery>(); });
    const long holders = query.use_count();
    PrefabPostLoadManager other;

    other.init(world());
    EXPECT_EQ(query.use_count(), holders + 1);

    other.fini(world());
}

TEST_F(PostLoadManager, factory_ignoresTheInitDataAndMakesAManagerEachTime) {
    struct InitData final : Tessel::IManagerInitData {
        explicit InitData(bool& flag) : isDestroyed(flag) {}
        ~InitData() override { isDestroyed = true; }
        bool& isDestroyed;
    };
    bool isDestroyed = false;

    const auto first = PrefabPostLoadManager::create(std::make_unique<InitData>(isDestroyed));
    const auto second = PrefabPostLoadManager::create(nullptr);

    EXPECT_TRUE(isDestroyed);
    EXPECT_NE(dynamic_cast<PrefabPostLoadManager*>(first.get()), nullptr);
    EXPECT_NE(dynamic_cast<PrefabPostLoadManager*>(second.get()), nullptr);
    EXPECT_NE(first, second);
}

TEST_F(PostLoadManager, otherOperations_keepTheBehaviourOfTheBase) {
    const std::vector<int> before = reactions();
    Tessel::IReactiveManager& own = *managersOf(world())[0];

    own.onMappingLoaded(world());
    own.onMappingUnloaded(world());

    EXPECT_EQ(own.getWatcher(), nullptr);
    EXPECT_EQ(reactions(), before);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PostLoadManager, virtualOperations_areDestructorInitFini) {
    EXPECT_EQ(virtualSlot(&Tessel::IReactiveManager::init), 2U); // After the two entries of the destructor.
    EXPECT_EQ(virtualSlot(&Tessel::IReactiveManager::fini), 3U);
}

TEST_F(PostLoadManager, secondWorld_isNotReported) {
    const int otherId = EntryPoint::instance().createWorld();
    EntryPoint::instance().destroyWorld(otherId);

    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
