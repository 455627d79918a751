#include <tessel_asset_loading/support/world_fixture.h>

#include <generic_components/transform_component.h>
#include <tessel_asset_loading/loading/loaded_callback_impl.h>

#include <gmock/gmock.h>

#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::EntryPoint;
using Tessel::GameObject;
using Tessel::GameObjectManager;
using Tessel::HierarchyComponent;
using Tessel::TransformComponent;
using Tessel::Loading::LoadedCallbackImpl;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The callback that the loading functions pass to the service, called directly.
class LoadedCallback : public WorldFixture {
protected:
    [[nodiscard]] GameObject makeParent(bool isActive) const {
        const GameObject parent = manager().createGameObject();
        if (isActive) {
            manager().activateGameObject(parent);
        }
        return parent;
    }

    [[nodiscard]] static SmartPointer<LoadedCallbackImpl> make(GameObject parent = GameObject::INVALID_GAME_OBJECT,
                                                               const std::optional<Matrix>& transform = std::nullopt) {
        return makeSmart<LoadedCallbackImpl>(Tessel::Loading::LoadedFunction(),
                                             Tessel::Loading::HierarchyLoadedFunction(), parent, transform);
    }

    [[nodiscard]] static SmartPointer<LoadedCallbackImpl>
    makeWith(Tessel::Loading::LoadedFunction function, Tessel::Loading::HierarchyLoadedFunction hierarchyFunction = {},
             GameObject parent = GameObject::INVALID_GAME_OBJECT) {
        return makeSmart<LoadedCallbackImpl>(std::move(function), std::move(hierarchyFunction), parent, std::nullopt);
    }

    /// Both functions count their calls and agree.
    [[nodiscard]] static SmartPointer<LoadedCallbackImpl>
    makeCounting(int& calls, GameObject parent = GameObject::INVALID_GAME_OBJECT) {
        const auto count = [&calls](auto&&...) {
            ++calls;
            return true;
        };
        return makeWith(count, count, parent);
    }

    void addTransform(GameObject object) const {
        manager().addComponent(object, world().getStorage<TransformComponent>().create(TransformComponent::Config()),
                               Tessel::NativeComponent<TransformComponent>::getType());
    }

    void addHierarchy(GameObject object, GameObject parent) const {
        manager().addComponent(object, world().getStorage<HierarchyComponent>().create(parent),
                               Tessel::NativeComponent<HierarchyComponent>::getType());
    }

    GameObject root = manager().createGameObject();
};

TEST_F(LoadedCallback, onPreactivate_withoutParentAndTransform_changesNothingAndAgrees) {
    EXPECT_TRUE(make()->onPreactivate(root, manager()));

    EXPECT_THAT(manager().componentTypes(root), IsEmpty());
    EXPECT_FALSE(manager().isActive(root));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadedCallback, onPreactivate_withoutParent_doesNotCareForADeadRoot) {
    manager().removeGameObject(root);

    EXPECT_TRUE(make()->onPreactivate(root, manager()));
}

TEST_F(LoadedCallback, onPreactivate_activeParent_attachesAndAgrees) {
    const GameObject parent = makeParent(true);

    EXPECT_TRUE(make(parent)->onPreactivate(root, manager()));

    ASSERT_NE(find<HierarchyComponent>(root), nullptr);
    EXPECT_EQ(find<HierarchyComponent>(root)->parent(), parent);
    EXPECT_EQ(manager().getParent(root), parent);
    EXPECT_THAT(manager().componentTypes(root), ElementsAre(Tessel::NativeComponent<HierarchyComponent>::getType()));
    EXPECT_FALSE(manager().isActive(root));
}

TEST_F(LoadedCallback, onPreactivate_inactiveParent_attachesAndRefuses) {
    const GameObject parent = makeParent(false);

    EXPECT_FALSE(make(parent)->onPreactivate(root, manager()));

    EXPECT_EQ(manager().getParent(root), parent);
}

TEST_F(LoadedCallback, onPreactivate_enabledParentBelowInactiveOne_attachesAndRefuses) {
    const GameObject parent = makeParent(true);
    addHierarchy(parent, makeParent(false));
    ASSERT_TRUE(manager().isEnabled(parent));

    EXPECT_FALSE(make(parent)->onPreactivate(root, manager()));

    EXPECT_EQ(manager().getParent(root), parent);
}

TEST_F(LoadedCallback, onPreactivate_parentOfAnotherWorld_componentIsMadeInTheManagersWorld) {
    const Tessel::ComponentTypeId type = Tessel::NativeComponent<HierarchyComponent>::getType();
    const int otherId = EntryPoint::instance().createWorld();
    Tessel::World& other = *EntryPoint::instance().findValidWorld(otherId);
    const GameObject otherRoot = other.manager().createGameObject();

    EXPECT_FALSE(make(makeParent(true))->onPreactivate(otherRoot, other.manager()));

    ASSERT_NE(other.findStorage(type), nullptr);
    EXPECT_EQ(other.findStorage(type)->componentsCount(), 1U);
    EXPECT_EQ(world().findStorage(type), nullptr);
    EXPECT_TRUE(other.manager().hasComponent(otherRoot, type));
    EntryPoint::instance().destroyWorld(otherId);
}

TEST_F(LoadedCallback, onPreactivate_callsNoFunction) {
    int calls = 0;
    const auto callback = makeCounting(calls, makeParent(true));

    EXPECT_TRUE(callback->onPreactivate(root, manager()));

    EXPECT_EQ(calls, 0);
}

TEST_F(LoadedCallback, onPreactivate_worldWithoutHierarchyStorage_makesOne) {
    const Tessel::ComponentTypeId type = Tessel::NativeComponent<HierarchyComponent>::getType();
    EXPECT_EQ(world().findStorage(type), nullptr);

    EXPECT_TRUE(make(makeParent(true))->onPreactivate(root, manager()));

    ASSERT_NE(world().findStorage(type), nullptr);
    EXPECT_EQ(world().findStorage(type)->componentsCount(), 1U);
}

TEST_F(LoadedCallback, onPreactivate_deadParent_removesRootSilentlyAndRefuses) {
    const GameObject parent = makeParent(true);
    manager().removeGameObject(parent);

    EXPECT_FALSE(make(parent, Matrix())->onPreactivate(root, manager()));

    EXPECT_FALSE(manager().isGameObjectValid(root));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadedCallback, onPreactivate_deadRootWithParent_refusesSilently) {
    const GameObject parent = makeParent(true);
    manager().removeGameObject(root);

    EXPECT_FALSE(make(parent, Matrix())->onPreactivate(root, manager()));

    EXPECT_TRUE(manager().isGameObjectValid(parent));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadedCallback, onPreactivate_rootIsParent_throws) {
    try {
        make(root)->onPreactivate(root, manager());
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Impossible: prefab's root is equal to prefab's parent!");
    }
    EXPECT_TRUE(manager().isGameObjectValid(root));
    EXPECT_EQ(find<HierarchyComponent>(root), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadedCallback, onPreactivate_rootIsParent_throwsBeforeItPlaces) {
    addTransform(root);

    EXPECT_THROW(make(root, Matrix::translation(1, 2, 3))->onPreactivate(root, manager()), std::runtime_error);

    EXPECT_EQ(find<TransformComponent>(root)->local, Matrix());
    EXPECT_EQ(find<TransformComponent>(root)->state, 0);
}

TEST_F(LoadedCallback, onPreactivate_deadRootThatIsParent_refusesBeforeItThrows) {
    manager().removeGameObject(root);

    EXPECT_FALSE(make(root)->onPreactivate(root, manager()));
}

TEST_F(LoadedCallback, onPreactivate_managerOfDestroyedWorld_isReported) {
    // A world that is destroyed within a frame lives until the frame ends, though it is not valid any more.
    bool isDone = false;
    const int reaction = world().addTickReaction("Test", "inside a frame", [this, &isDone] {
        const int otherId = EntryPoint::instance().createWorld();
        GameObjectManager& other = *Tessel::getGameObjectManager(otherId);
        EntryPoint::instance().destroyWorld(otherId);
        make(makeParent(true))->onPreactivate(root, other);
        isDone = true;
    });
    tick();
    world().removeTickReaction(reaction);

    EXPECT_TRUE(isDone);
    EXPECT_THAT(logged(), ElementsAre("5: Failed to find valid world"));
    EXPECT_EQ(find<HierarchyComponent>(root), nullptr);
}

TEST_F(LoadedCallback, onPreactivate_transform_isWrittenAndMarkedChanged) {
    addTransform(root);
    manager().findComponent<TransformComponent>(root)->state = 0x84;
    const Matrix matrix = Matrix::translation(1, 2, 3);

    EXPECT_TRUE(make(GameObject::INVALID_GAME_OBJECT, matrix)->onPreactivate(root, manager()));

    const auto* const transform = find<TransformComponent>(root);
    EXPECT_EQ(transform->local, matrix);
    EXPECT_EQ(transform->world, matrix);
    EXPECT_EQ(transform->state, 2);
}

TEST_F(LoadedCallback, onPreactivate_transformWithoutComponent_isReportedAndAgrees) {
    EXPECT_TRUE(make(GameObject::INVALID_GAME_OBJECT, Matrix())->onPreactivate(root, manager()));

    EXPECT_THAT(logged(), ElementsAre("5: Transform component not found\n"));
}

TEST_F(LoadedCallback, onPreactivate_transformUnderInactiveParent_isWrittenThoughRefused) {
    addTransform(root);

    EXPECT_FALSE(make(makeParent(false), Matrix::translation(1, 2, 3))->onPreactivate(root, manager()));

    EXPECT_EQ(find<TransformComponent>(root)->local, Matrix::translation(1, 2, 3));
}

TEST_F(LoadedCallback, onObjectLoaded_emptyFunction_keepsRoot) {
    make()->onObjectLoaded(root, manager());
    make()->onObjectLoadedIntoHierarchy(root, manager());

    EXPECT_TRUE(manager().isGameObjectValid(root));
}

TEST_F(LoadedCallback, onObjectLoaded_answerDecidesAboutRoot) {
    makeWith([](auto, auto&) { return true; })->onObjectLoaded(root, manager());
    EXPECT_TRUE(manager().isGameObjectValid(root));

    makeWith([](auto, auto&) { return false; })->onObjectLoaded(root, manager());
    EXPECT_FALSE(manager().isGameObjectValid(root));
}

TEST_F(LoadedCallback, onObjectLoaded_deadRoot_callsNothing) {
    int calls = 0;
    const auto callback = makeCounting(calls);
    manager().removeGameObject(root);

    callback->onObjectLoaded(root, manager());
    callback->onObjectLoadedIntoHierarchy(root, manager());

    EXPECT_EQ(calls, 0);
}

TEST_F(LoadedCallback, onObjectLoaded_everyCall_callsFunction) {
    int calls = 0;
    const auto callback = makeWith([&calls](auto, auto&) {
        ++calls;
        return true;
    });

    callback->onObjectLoaded(root, manager());
    callback->onObjectLoaded(root, manager());

    EXPECT_EQ(calls, 2);
}

TEST_F(LoadedCallback, onObjectLoadedIntoHierarchy_getsParentAndAnswerDecides) {
    const GameObject parent = makeParent(true);
    GameObject seen;
    bool answer = true;
    const auto callback = makeWith(
        {},
        [&](GameObject, GameObjectManager&, GameObject itsParent) {
            seen = itsParent;
            return answer;
        },
        parent);

    callback->onObjectLoadedIntoHierarchy(root, manager());
    EXPECT_EQ(seen, parent);
    EXPECT_TRUE(manager().isGameObjectValid(root));

    answer = false;
    callback->onObjectLoadedIntoHierarchy(root, manager());
    EXPECT_FALSE(manager().isGameObjectValid(root));
}

TEST_F(LoadedCallback, releaseCallback_releasesOnlyTheFunction) {
    const auto token = std::make_shared<int>(0);
    int hierarchyCalls = 0;
    const auto callback = makeWith([token](auto, auto&) { return false; },
                                   [&hierarchyCalls](auto, auto&, auto) {
                                       ++hierarchyCalls;
                                       return true;
                                   });

    callback->releaseCallback();

    EXPECT_EQ(token.use_count(), 1);
    callback->onObjectLoaded(root, manager());
    EXPECT_TRUE(manager().isGameObjectValid(root));
    callback->onObjectLoadedIntoHierarchy(root, manager());
    EXPECT_EQ(hierarchyCalls, 1);
}

TEST_F(LoadedCallback, releaseCallback_keepsParentAndTransform) {
    addTransform(root);
    const GameObject parent = makeParent(true);
    const auto callback = make(parent, Matrix::translation(1, 2, 3));

    callback->releaseCallback();

    EXPECT_TRUE(callback->onPreactivate(root, manager()));
    EXPECT_EQ(manager().getParent(root), parent);
    EXPECT_EQ(find<TransformComponent>(root)->local, Matrix::translation(1, 2, 3));
}

TEST_F(LoadedCallback, releaseCallback_twice_isHarmless) {
    const auto callback = makeWith([](auto, auto&) { return false; });

    callback->releaseCallback();
    callback->releaseCallback();
    callback->onObjectLoaded(root, manager());

    EXPECT_TRUE(manager().isGameObjectValid(root));
}

} // namespace
} // namespace Kiln::TestSupport
