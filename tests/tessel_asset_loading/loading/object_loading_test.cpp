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

constexpr const char* NO_TRANSFORM = "5: Transform component not found\n";

/// Loading::loadGameObject and loadGameObjectSection.
class ObjectLoading : public ServiceFixture {
protected:
    ObjectLoading() {
        cachePrefab("lamp.prefab", PrefabBuilder()
                                       .root(id(1), "Lamp")
                                       .with<Tessel::PrefabComponent>()
                                       .with<TransformComponent>({translation(1)}));
        cachePrefab("plain.prefab", PrefabBuilder().root(id(1), "Plain").with<Tessel::PrefabComponent>());
    }

    [[nodiscard]] static Matrix translation(float x) { return Matrix::translation(x, 0, 0); }

    /// A function that counts its calls.
    [[nodiscard]] Loading::LoadedFunction counting(bool answer = true) {
        return [this, answer](GameObject root, GameObjectManager& itsManager) {
            ++calls;
            lastRoot = root;
            EXPECT_EQ(&itsManager, &manager());
            return answer;
        };
    }

    [[nodiscard]] static SmartPointer<DataSection> section() {
        PrefabText prefab;
        prefab.component("TagComponent", prefab.root(id(1), "Lamp"), element("tag", "own"));
        return prefab.section();
    }

    [[nodiscard]] Uuid lastQueuedUuid() const { return service().loadingQueue().back().uuid; }

    int calls = 0;
    GameObject lastRoot;
};

TEST_F(ObjectLoading, loadGameObject_emptyPath_doesNothing) {
    Loading::loadGameObject("", worldId, std::nullopt, counting());
    finishLoads();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ObjectLoading, loadGameObject_droppedRequest_destroysFunction) {
    const auto token = std::make_shared<int>(0);
    Loading::loadGameObject("", worldId, std::nullopt, [token](auto, auto&) { return true; });
    Loading::loadGameObject("lamp.prefab", -1, std::nullopt, [token](auto, auto&) { return true; });
    Loading::loadGameObjectSection(nullptr, worldId, std::nullopt, nullptr, [token](auto, auto&) { return true; });

    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(ObjectLoading, loadGameObject_readyPrefab_activatesRootAndCallsFunctionOnce) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting());
    tick();
    tick();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(lastRoot, findByName(manager(), "Lamp"));
    EXPECT_TRUE(manager().isActive(lastRoot));
}

TEST_F(ObjectLoading, loadGameObject_file_isLoadedInTheBackground) {
    writeRoot("file.prefab", "From file");
    Loading::loadGameObject("file.prefab", worldId, std::nullopt, counting());
    finishLoads();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(manager().getGameObjectName(lastRoot), "From file");
}

TEST_F(ObjectLoading, loadGameObject_missingFile_staysQueued) {
    Loading::loadGameObject("none.prefab", worldId, std::nullopt, counting());
    finishLoads();

    EXPECT_EQ(queued().size(), 1U);
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(ObjectLoading, loadGameObject_functionThatRefuses_removesRoot) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting(false));
    tick();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(ObjectLoading, loadGameObject_emptyFunction_keepsRoot) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, {});
    tick();

    EXPECT_TRUE(manager().isActive(findByName(manager(), "Lamp")));
}

TEST_F(ObjectLoading, loadGameObject_givenUuid_isUsedUnchanged) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting(), id(42));
    EXPECT_EQ(lastQueuedUuid(), id(42));
    tick();

    EXPECT_EQ(find<Tessel::PrefabComponent>(lastRoot)->instanceUuid(), id(42));
}

TEST_F(ObjectLoading, loadGameObject_givenZeroUuid_isUsedUnchanged) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting(), Uuid::ZERO);

    EXPECT_EQ(lastQueuedUuid(), Uuid::ZERO);
}

TEST_F(ObjectLoading, loadGameObject_withoutUuid_getsAFreshOneEachTime) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting());
    const Uuid first = lastQueuedUuid();
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting());

    EXPECT_NE(first, Uuid::ZERO);
    EXPECT_NE(lastQueuedUuid(), Uuid::ZERO);
    EXPECT_NE(first, lastQueuedUuid());
}

TEST_F(ObjectLoading, loadGameObject_hasNoOverrides) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting());

    EXPECT_EQ(service().loadingQueue().back().overrides, nullptr);
}

TEST_F(ObjectLoading, loadGameObject_serviceHoldsTheOnlyReferenceToTheCallback) {
    Loading::loadGameObject("none.prefab", worldId, std::nullopt, counting());

    EXPECT_EQ(service().loadingQueue().back().callback->refCount(), 1U);
}

TEST_F(ObjectLoading, section_serviceHoldsTheOnlyReferenceToTheCallback) {
    Loading::loadGameObjectSection(section(), worldId, std::nullopt, nullptr, counting());

    EXPECT_EQ(service().loadingQueue().back().callback->refCount(), 1U);
}

TEST_F(ObjectLoading, function_isDestroyedWithTheFrameOfTheLoad) {
    const auto token = std::make_shared<int>(0);
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, [token](auto, auto&) { return true; });
    EXPECT_EQ(token.use_count(), 2);

    tick();

    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(ObjectLoading, transform_isWrittenToBothMatrices) {
    Loading::loadGameObject("lamp.prefab", worldId, translation(5), counting());
    tick();

    const auto* const transform = find<TransformComponent>(lastRoot);
    ASSERT_NE(transform, nullptr);
    EXPECT_EQ(transform->local, translation(5));
    EXPECT_EQ(transform->world, translation(5));
    EXPECT_EQ(transform->state, 2);
}

TEST_F(ObjectLoading, withoutTransform_prefabsOwnIsKept) {
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, counting());
    tick();

    EXPECT_EQ(find<TransformComponent>(lastRoot)->local, translation(1));
    EXPECT_EQ(find<TransformComponent>(lastRoot)->state, 0);
}

TEST_F(ObjectLoading, transform_withoutTransformComponent_isReportedAndLoadContinues) {
    Loading::loadGameObject("plain.prefab", worldId, translation(5), counting());
    tick();

    EXPECT_THAT(logged(), ElementsAre(NO_TRANSFORM));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(manager().isActive(lastRoot));
}

TEST_F(ObjectLoading, transform_ofInactiveByDefaultRoot_isNotWritten) {
    PrefabBuilder prefab;
    prefab.root(id(1), "Off", Tessel::GameObjectFlag::INACTIVE_BY_DEFAULT).with<Tessel::PrefabComponent>();
    prefab.with<TransformComponent>({translation(1)});
    cachePrefab("off.prefab", prefab);
    Loading::loadGameObject("off.prefab", worldId, translation(5), counting());
    tick();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(find<TransformComponent>(lastRoot)->local, translation(1));
}

TEST_F(ObjectLoading, section_null_doesNothing) {
    Loading::loadGameObjectSection(nullptr, worldId, std::nullopt, nullptr, counting());
    finishLoads();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(ObjectLoading, section_isLoadedWithTransformOverridesAndUuid) {
    PrefabText prefab;
    const std::size_t root = prefab.root(id(1), "Lamp");
    prefab.component("TagComponent", root, element("tag", "own")).component("TransformComponent", root);
    OverridesText overrides;
    overrides.record(id(1), "TagComponent", element("tag", "overridden"));

    Loading::loadGameObjectSection(prefab.section(), worldId, translation(5), OverrideRecords::create(overrides.text()),
                                   counting(), id(42));
    EXPECT_EQ(lastQueuedUuid(), id(42));
    finishLoads();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(configOf<TagComponent>("Lamp").tag, "overridden");
    EXPECT_EQ(find<TransformComponent>(lastRoot)->local, translation(5));
    EXPECT_EQ(manager().getGameObjectUuid(lastRoot), Uuid::combine(id(42), id(1)));
    EXPECT_TRUE(manager().isActive(lastRoot));
}

TEST_F(ObjectLoading, section_overridesArePassedThrough) {
    const SmartPointer<OverrideRecords> overrides = makeSmart<OverrideRecords>();

    Loading::loadGameObjectSection(section(), worldId, std::nullopt, overrides, counting());

    EXPECT_EQ(service().loadingQueue().back().overrides, overrides);
}

TEST_F(ObjectLoading, section_withoutUuid_getsAFreshOneEachTime) {
    Loading::loadGameObjectSection(section(), worldId, std::nullopt, nullptr, counting());
    const Uuid first = lastQueuedUuid();
    Loading::loadGameObjectSection(section(), worldId, std::nullopt, nullptr, counting());

    EXPECT_NE(first, Uuid::ZERO);
    EXPECT_NE(first, lastQueuedUuid());
}

TEST_F(ObjectLoading, section_isNotCached) {
    Loading::loadGameObjectSection(section(), worldId, std::nullopt, nullptr, counting());
    finishLoads();

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Loading::loadDescriptorSync("test document"), nullptr);
}

TEST_F(ObjectLoading, functionThatLoadsMore_chainsThroughFrames) {
    int depth = 0;
    std::function<bool(GameObject, GameObjectManager&)> loadNext = [&](GameObject, GameObjectManager&) {
        if (++depth < 5) {
            Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, loadNext);
        }
        return true;
    };
    Loading::loadGameObject("lamp.prefab", worldId, std::nullopt, loadNext);
    for (int frame = 1; frame <= 5; ++frame) {
        tick();
        EXPECT_EQ(depth, frame);
    }

    EXPECT_EQ(manager().gameObjectsCount(), 5U);
}

TEST_F(ObjectLoading, functionThatDestroysItsWorld_mayRefuseToo) {
    const int otherId = Tessel::EntryPoint::instance().createWorld();
    Loading::loadGameObject("lamp.prefab", otherId, std::nullopt, [otherId](auto, auto&) {
        Tessel::EntryPoint::instance().destroyWorld(otherId);
        return false;
    });
    tick();

    EXPECT_FALSE(Tessel::EntryPoint::instance().isWorldValid(otherId));
    EXPECT_THAT(queued(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
