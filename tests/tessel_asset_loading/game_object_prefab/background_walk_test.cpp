#include <tessel_asset_loading/support/service_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* TOO_DEEP =
    "5: Nested prefabs depth has exceeded limit. It can be result of recursive references. (backgroundLoad)";

/// GameObjectPrefab::backgroundLoad(depth).
class BackgroundWalk : public ServiceFixture {
protected:
    BackgroundWalk() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) { preloaded.push_back(config.tag); };
    }

    /// A prefab with a hook and an integration point.
    [[nodiscard]] static PrefabBuilder nesting(const std::string& tag, const std::string& resource) {
        PrefabBuilder prefab;
        prefab.root(id(1)).with<HookComponent>({tag}).nested(id(2), "Point", id(1), resource);
        return prefab;
    }

    std::vector<std::string> preloaded;
};

TEST_F(BackgroundWalk, emptyPrefab_doesNothing) {
    GameObjectPrefab().backgroundLoad(0);

    EXPECT_THAT(preloaded, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(BackgroundWalk, components_arePreloadedInOrderOfNodesAndComponents) {
    PrefabBuilder prefab;
    prefab.root(id(1)).with<HookComponent>({"root"}).with<TagComponent>().with<HookComponent>({"root again"});
    prefab.child(id(2), "Child", id(1)).with<HookComponent>({"child"});

    prefab.build().backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("root", "root again", "child"));
}

TEST_F(BackgroundWalk, nestedPrefab_followsItsIntegrationPoint) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).with<HookComponent>({"inner"}));
    PrefabBuilder outer;
    outer.root(id(1)).with<HookComponent>({"root"});
    outer.nested(id(2), "Point", id(1), "inner.prefab").with<HookComponent>({"point"});
    outer.child(id(3), "Last", id(1)).with<HookComponent>({"last"});

    outer.build().backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("root", "point", "inner", "last"));
}

TEST_F(BackgroundWalk, nestedFile_isParsedAndCached) {
    writeHookedRoot("inner.prefab", "inner");

    nesting("outer", "inner.prefab").build().backgroundLoad(5);

    writeHookedRoot("inner.prefab", "changed");
    const GameObjectPrefab* const inner = service().loadPrefabData("inner.prefab");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->getGameObject(0)->name(), "inner");
}

TEST_F(BackgroundWalk, missingNestedFile_isReportedAndSkipped) {
    PrefabBuilder outer = nesting("outer", "none.prefab");
    outer.child(id(3), "Last", id(1)).with<HookComponent>({"last"});

    outer.build().backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("outer", "last"));
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(BackgroundWalk, prefabThatNestsItself_endsAtTheLimit) {
    cachePrefab("self.prefab", nesting("self", "self.prefab"));

    service().loadPrefabData("self.prefab")->backgroundLoad(0);

    // Depths 0 to 5 are followed; at depth 6 the components still preload, then the reference is refused.
    EXPECT_EQ(preloaded.size(), 7U);
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
}

TEST_F(BackgroundWalk, depthFive_followsReference) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).with<HookComponent>({"inner"}));

    nesting("outer", "inner.prefab").build().backgroundLoad(5);

    EXPECT_THAT(preloaded, ElementsAre("outer", "inner"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(BackgroundWalk, depthSix_preloadsAndReportsPerReference) {
    PrefabBuilder outer = nesting("outer", "none.prefab");
    outer.nested(id(3), "Another", id(1), "none.prefab").with<HookComponent>({"another"});

    outer.build().backgroundLoad(6);

    EXPECT_THAT(preloaded, ElementsAre("outer", "another"));
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, TOO_DEEP));
}

TEST_F(BackgroundWalk, depthSix_withoutReference_isSilent) {
    PrefabBuilder prefab;
    prefab.root(id(1)).with<HookComponent>({"alone"});

    prefab.build().backgroundLoad(6);

    EXPECT_THAT(preloaded, ElementsAre("alone"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(BackgroundWalk, preload_runsWithoutCacheLock) {
    writeRoot("other.prefab", "Other");
    const GameObjectPrefab* other = nullptr;
    HookComponent::onPreload = [&other](const HookComponent::Config&) {
        std::thread([&other] { other = service().loadPrefabData("other.prefab"); }).join();
    };

    nesting("outer", "none.prefab").build().backgroundLoad(0);

    EXPECT_NE(other, nullptr);
}

TEST_F(BackgroundWalk, cacheClearedByPreload_documentIsStillWalked) {
    PrefabBuilder inner;
    inner.root(id(1)).with<HookComponent>({"first"}).child(id(2), "Child", id(1)).with<HookComponent>({"second"});
    cachePrefab("inner.prefab", inner);
    HookComponent::onPreload = [this](const HookComponent::Config& config) {
        preloaded.push_back(config.tag);
        if (config.tag == "first") {
            service().clearCache();
        }
    };

    nesting("outer", "inner.prefab").build().backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("outer", "first", "second"));
}

} // namespace
} // namespace Kiln::TestSupport
