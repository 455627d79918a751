#include <tessel_asset_loading/support/service_fixture.h>

#include <generic_components/transform_component.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectManager;
using Tessel::TransformComponent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace Loading = Tessel::Loading;

/// Loading::loadGameObjectIntoHierarchy.
class HierarchyLoading : public ServiceFixture {
protected:
    HierarchyLoading() {
        PrefabBuilder prefab;
        prefab.root(id(1), "Lamp").with<Tessel::PrefabComponent>().with<TransformComponent>();
        prefab.child(id(2), "Bulb", id(1));
        cachePrefab("lamp.prefab", prefab);
        manager().setGameObjectName(parent, "Parent");
        manager().activateGameObject(parent);
    }

    void loadUnderParent(Loading::HierarchyLoadedFunction hierarchyFunction = {},
                         const std::optional<Matrix>& transform = std::nullopt,
                         Loading::LoadedFunction function = {}) const {
        Loading::loadGameObjectIntoHierarchy("lamp.prefab", parent, transform, std::move(function), std::nullopt,
                                             std::move(hierarchyFunction));
    }

    [[nodiscard]] GameObject lamp() const { return findByName(manager(), "Lamp"); }

    GameObject parent = manager().createGameObject();
};

TEST_F(HierarchyLoading, emptyPath_doesNothing) {
    Loading::loadGameObjectIntoHierarchy("", parent, std::nullopt, {});
    finishLoads();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HierarchyLoading, load_usesTheWorldOfTheParent) {
    Loading::loadGameObjectIntoHierarchy("none.prefab", parent, std::nullopt, {}, id(42));

    EXPECT_EQ(service().loadingQueue().back().worldId, worldId);
    EXPECT_EQ(service().loadingQueue().back().uuid, id(42));
}

TEST_F(HierarchyLoading, withoutUuid_getsAFreshOne) {
    Loading::loadGameObjectIntoHierarchy("none.prefab", parent, std::nullopt, {});
    const Uuid first = service().loadingQueue().back().uuid;
    Loading::loadGameObjectIntoHierarchy("none.prefab", parent, std::nullopt, {});

    EXPECT_NE(first, Uuid::ZERO);
    EXPECT_NE(first, service().loadingQueue().back().uuid);
}

TEST_F(HierarchyLoading, load_hasNoOverridesAndGivesTheOnlyReferenceToTheService) {
    Loading::loadGameObjectIntoHierarchy("none.prefab", parent, std::nullopt, {});

    EXPECT_EQ(service().loadingQueue().back().overrides, nullptr);
    EXPECT_EQ(service().loadingQueue().back().callback->refCount(), 1U);
}

TEST_F(HierarchyLoading, functions_areDestroyedWithTheFrameOfTheLoad) {
    const auto token = std::make_shared<int>(0);
    loadUnderParent([token](auto, auto&, auto) { return true; }, std::nullopt, [token](auto, auto&) { return true; });
    EXPECT_EQ(token.use_count(), 3);

    tick();

    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(HierarchyLoading, droppedRequest_destroysFunctions) {
    const auto token = std::make_shared<int>(0);
    Loading::loadGameObjectIntoHierarchy(
        "", parent, std::nullopt, [token](auto, auto&) { return true; }, std::nullopt,
        [token](auto, auto&, auto) { return true; });

    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(HierarchyLoading, invalidParent_hasNoWorldAndIsIgnored) {
    Loading::loadGameObjectIntoHierarchy("lamp.prefab", GameObject::INVALID_GAME_OBJECT, std::nullopt, {});

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HierarchyLoading, activeParent_rootIsAttachedAndActive) {
    loadUnderParent();
    tick();

    EXPECT_EQ(parentNameOf(manager(), lamp()), "Parent");
    EXPECT_EQ(parentNameOf(manager(), findByName(manager(), "Bulb")), "Lamp");
    EXPECT_TRUE(manager().isActive(lamp()));
    EXPECT_TRUE(manager().isActive(findByName(manager(), "Bulb")));
    EXPECT_EQ(find<Tessel::HierarchyComponent>(lamp())->parent(), parent);
}

TEST_F(HierarchyLoading, inactiveParent_rootIsAttachedAndStaysInactive) {
    manager().deactivateGameObject(parent);
    int calls = 0;
    loadUnderParent([&calls](auto, auto&, auto) {
        ++calls;
        return true;
    });
    tick();

    EXPECT_EQ(parentNameOf(manager(), lamp()), "Parent");
    EXPECT_FALSE(manager().isActive(lamp()));
    EXPECT_EQ(calls, 1);
}

TEST_F(HierarchyLoading, parentRemovedBeforeCreation_rootIsRemovedSilentlyAndNothingIsCalled) {
    int calls = 0;
    loadUnderParent(
        [&calls](auto, auto&, auto) {
            ++calls;
            return true;
        },
        std::nullopt,
        [&calls](auto, auto&) {
            ++calls;
            return true;
        });
    manager().removeGameObject(parent);
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(HierarchyLoading, transform_isSetUnderParent) {
    loadUnderParent({}, Matrix::translation(3, 0, 0));
    tick();

    EXPECT_EQ(find<TransformComponent>(lamp())->local, Matrix::translation(3, 0, 0));
    EXPECT_EQ(find<TransformComponent>(lamp())->world, Matrix::translation(3, 0, 0));
}

TEST_F(HierarchyLoading, functions_areCalledInOrderWithTheirArguments) {
    std::vector<std::string> order;
    loadUnderParent(
        [&](GameObject root, GameObjectManager& itsManager, GameObject itsParent) {
            order.emplace_back("hierarchyCallback");
            EXPECT_EQ(root, lamp());
            EXPECT_EQ(&itsManager, &manager());
            EXPECT_EQ(itsParent, parent);
            return true;
        },
        std::nullopt,
        [&](GameObject root, GameObjectManager& itsManager) {
            order.emplace_back("callback");
            EXPECT_EQ(root, lamp());
            EXPECT_EQ(&itsManager, &manager());
            EXPECT_TRUE(itsManager.isActive(root));
            return true;
        });
    tick();

    EXPECT_THAT(order, ElementsAre("callback", "hierarchyCallback"));
    EXPECT_FALSE(lamp().isInvalid());
}

TEST_F(HierarchyLoading, hierarchyFunctionThatRefuses_removesRoot) {
    loadUnderParent([](auto, auto&, auto) { return false; });
    tick();

    EXPECT_TRUE(lamp().isInvalid());
    EXPECT_TRUE(manager().isGameObjectValid(parent));
    EXPECT_EQ(manager().gameObjectsCount(), 1U);
}

TEST_F(HierarchyLoading, functionThatRefuses_removesRootAndHierarchyFunctionIsNotCalled) {
    int calls = 0;
    loadUnderParent(
        [&calls](auto, auto&, auto) {
            ++calls;
            return true;
        },
        std::nullopt, [](auto, auto&) { return false; });
    tick();

    EXPECT_TRUE(lamp().isInvalid());
    EXPECT_EQ(calls, 0);
}

TEST_F(HierarchyLoading, inactiveByDefaultRoot_isNotAttachedButFunctionsGetTheParent) {
    cachePrefab("off.prefab", PrefabBuilder()
                                  .root(id(1), "Off", Tessel::GameObjectFlag::INACTIVE_BY_DEFAULT)
                                  .with<Tessel::PrefabComponent>());
    GameObject seenParent;
    Loading::loadGameObjectIntoHierarchy("off.prefab", parent, std::nullopt, {}, std::nullopt,
                                         [&seenParent](auto, auto&, GameObject itsParent) {
                                             seenParent = itsParent;
                                             return true;
                                         });
    tick();

    EXPECT_EQ(seenParent, parent);
    EXPECT_TRUE(manager().getParent(findByName(manager(), "Off")).isInvalid());
}

TEST_F(HierarchyLoading, parentThatIsRemovedByFunction_takesTheRootBeforeHierarchyFunction) {
    int calls = 0;
    loadUnderParent(
        [&calls](auto, auto&, auto) {
            ++calls;
            return true;
        },
        std::nullopt,
        [this](auto, GameObjectManager& itsManager) {
            itsManager.removeGameObject(parent);
            return true;
        });
    tick();

    EXPECT_EQ(calls, 0);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(HierarchyLoading, parentThatIsALoadedRootOfTheSameFrame_canBeChainedInFunctions) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, [](GameObject root, GameObjectManager&) {
        Loading::loadGameObjectIntoHierarchy("lamp.prefab", root, std::nullopt, {});
        return true;
    });
    tick();
    tick();

    EXPECT_EQ(manager().gameObjectsCount(), 5U);
    EXPECT_EQ(manager().getChildren(lamp()).size(), 2U);
}

} // namespace
} // namespace Kiln::TestSupport
