#include <tessel_asset_loading/support/service_fixture.h>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace Loading = Tessel::Loading;

/// The functions of Loading that only fill and clear the cache.
class LoadingCache : public ServiceFixture {
protected:
    LoadingCache() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) { preloaded.push_back(config.tag); };
        for (const char* const path : {"a.prefab", "b.prefab", "c.prefab"}) {
            cachePrefab(path, PrefabBuilder().root(id(1)).with<HookComponent>({path}));
        }
    }

    std::vector<std::string> preloaded;
};

TEST_F(LoadingCache, loadDescriptorSync_givesTheCachedPrefab) {
    writeRoot("lamp.prefab", "Lamp");

    const Tessel::GameObjectPrefab* const prefab = Loading::loadDescriptorSync("lamp.prefab");

    ASSERT_NE(prefab, nullptr);
    EXPECT_EQ(prefab, service().loadPrefabData("lamp.prefab"));
    EXPECT_EQ(Loading::loadDescriptorSync("lamp.prefab"), prefab);
}

TEST_F(LoadingCache, loadDescriptorSync_missingFile_isNull) {
    EXPECT_EQ(Loading::loadDescriptorSync("none.prefab"), nullptr);
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(LoadingCache, loadDescriptorAsync_cachesWithoutPreloadingAndIsNotAnswered) {
    writeHookedRoot("lamp.prefab", "lamp");
    int calls = 0;

    Loading::loadDescriptorAsync("lamp.prefab", [&calls](Tessel::GameObjectPrefab*) { ++calls; });
    EXPECT_EQ(requestsCount(), 1U);
    finishLoads();

    EXPECT_EQ(requestsCount(), 1U);
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(preloaded, IsEmpty());
    writeRoot("lamp.prefab", "Changed");
    EXPECT_EQ(Loading::loadDescriptorSync("lamp.prefab")->getGameObject(0)->name(), "lamp");
}

TEST_F(LoadingCache, loadDescriptorAsync_answeredRequest_callsTheFunctionOnce) {
    std::vector<bool> answers;

    // A task without a path parses no section: only this request is answered, with a prefab without nodes.
    Loading::loadDescriptorAsync(
        "", [&answers](Tessel::GameObjectPrefab* prefab) { answers.push_back(prefab && prefab->isEmpty()); });
    finishLoads();
    finishLoads();

    EXPECT_THAT(answers, ElementsAre(true));
    EXPECT_EQ(requestsCount(), 0U);
}

TEST_F(LoadingCache, cacheGameObjects_false_preloads) {
    Loading::cacheGameObjects({"b.prefab", "a.prefab"}, false);

    EXPECT_THAT(preloaded, ElementsAre("b.prefab", "a.prefab"));
}

TEST_F(LoadingCache, cacheGameObjects_true_doesNotPreload) {
    Loading::cacheGameObjects({"a.prefab", "b.prefab"}, true);

    EXPECT_THAT(preloaded, IsEmpty());
}

TEST_F(LoadingCache, cacheGameObjects_parsesFilesAtOnce) {
    writeRoot("lamp.prefab", "Lamp");

    Loading::cacheGameObjects({"lamp.prefab", "none.prefab"}, true);

    writeRoot("lamp.prefab", "Changed");
    EXPECT_EQ(Loading::loadDescriptorSync("lamp.prefab")->getGameObject(0)->name(), "Lamp");
    EXPECT_EQ(log.count("Prefab not found none.prefab"), 1U);
}

TEST_F(LoadingCache, cacheGameObjects_noPaths_doesNothing) {
    Loading::cacheGameObjects({}, false);

    EXPECT_THAT(preloaded, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LoadingCache, clearGameObjectsCache_dropsThosePaths) {
    Loading::clearGameObjectsCache({"a.prefab", "unknown.prefab", "c.prefab"});

    EXPECT_EQ(Loading::loadDescriptorSync("a.prefab"), nullptr);
    EXPECT_NE(Loading::loadDescriptorSync("b.prefab"), nullptr);
    EXPECT_EQ(Loading::loadDescriptorSync("c.prefab"), nullptr);
}

TEST_F(LoadingCache, clearGameObjectsCache_noPaths_keepsEverything) {
    Loading::clearGameObjectsCache({});

    EXPECT_NE(Loading::loadDescriptorSync("a.prefab"), nullptr);
}

TEST_F(LoadingCache, fullyClearCache_dropsEverything) {
    Loading::fullyClearCache();

    EXPECT_EQ(Loading::loadDescriptorSync("a.prefab"), nullptr);
    EXPECT_EQ(Loading::loadDescriptorSync("b.prefab"), nullptr);
    EXPECT_EQ(Loading::loadDescriptorSync("c.prefab"), nullptr);
}

} // namespace
} // namespace Kiln::TestSupport
