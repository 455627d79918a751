#include <tessel_asset_loading/support/service_fixture.h>

namespace Kiln::TestSupport {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* TOO_DEEP =
    "5: Nested prefabs depth has exceeded limit. It can be result of recursive references.";

/// PrefabService::cachePrefabData(path, backgroundLoad). Prefabs that are cached from memory do not name themselves.
class CacheWalk : public ServiceFixture {
protected:
    CacheWalk() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) { preloaded.push_back(config.tag); };
    }

    [[nodiscard]] static std::string level(int number) { return "level" + std::to_string(number) + ".prefab"; }

    /// Caches level0.prefab to level<levels - 1>.prefab, each of which nests the next one; the last nests a path that
    /// does not exist. Each has a HookComponent.
    static void cacheChain(int levels) {
        for (int number = 0; number < levels; ++number) {
            PrefabBuilder prefab;
            prefab.root(id(1)).with<HookComponent>({std::to_string(number)});
            prefab.nested(id(2), "Point", id(1), level(number + 1));
            cachePrefab(level(number), prefab);
        }
    }

    /// A file whose only reference is its root's, to the file itself; every prefab that is loaded by path has that one.
    void writeHooked(const std::string& path) const { writeHookedRoot(path, "hook"); }

    std::vector<std::string> preloaded;
};

TEST_F(CacheWalk, missingFile_isReportedOnce) {
    service().cachePrefabData("none.prefab", true);

    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

TEST_F(CacheWalk, nestedFiles_areCached) {
    PrefabText outer;
    outer.root(id(1), "Outer");
    outer.nested(id(2), "Point", id(1), "inner.prefab");
    writePrefab("outer.prefab", outer);
    writeRoot("inner.prefab", "Inner");

    service().cachePrefabData("outer.prefab", false);

    writeRoot("inner.prefab", "Changed");
    const Tessel::GameObjectPrefab* const inner = service().loadPrefabData("inner.prefab");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->getGameObject(0)->name(), "Inner");
}

TEST_F(CacheWalk, nestedPrefabs_areVisitedDepthFirstInNodeOrder) {
    PrefabBuilder outer;
    outer.root(id(1));
    outer.nested(id(2), "First", id(1), "inner.prefab").nested(id(3), "Second", id(1), "second.prefab");
    cachePrefab("outer.prefab", outer);
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).nested(id(2), "Deep", id(1), "deep.prefab"));

    service().cachePrefabData("outer.prefab", false);

    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found deep.prefab", "5: Prefab not found second.prefab"));
}

TEST_F(CacheWalk, sixLevels_areVisited) {
    cacheChain(5);
    cachePrefab(level(5), PrefabBuilder().root(id(1)));

    service().cachePrefabData(level(0), false);

    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CacheWalk, seventhLevel_isReportedAndNotVisited) {
    cacheChain(6);

    service().cachePrefabData(level(0), false);

    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
}

TEST_F(CacheWalk, seventhLevelTwice_isReportedPerReference) {
    cacheChain(5);
    PrefabBuilder last;
    last.root(id(1)).nested(id(2), "One", id(1), "deep.prefab").nested(id(3), "Two", id(1), "deep.prefab");
    cachePrefab(level(5), last);

    service().cachePrefabData(level(0), false);

    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, TOO_DEEP));
}

TEST_F(CacheWalk, fileThatNamesItself_reportsOnce) {
    writeHooked("self.prefab");

    service().cachePrefabData("self.prefab", false);

    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
    EXPECT_THAT(preloaded, IsEmpty());
}

TEST_F(CacheWalk, prefabThatNestsItself_isCachedOnceAndReportsOnce) {
    cachePrefab("self.prefab", PrefabBuilder().root(id(1)).nested(id(2), "Again", id(1), "self.prefab"));
    const Tessel::GameObjectPrefab* const prefab = service().loadPrefabData("self.prefab");

    service().cachePrefabData("self.prefab", false);

    EXPECT_EQ(service().loadPrefabData("self.prefab"), prefab);
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP));
}

TEST_F(CacheWalk, withBackgroundLoad_innerPrefabsAreLoadedBeforeOuter) {
    PrefabBuilder outer;
    outer.root(id(1)).with<HookComponent>({"outer"}).nested(id(2), "Point", id(1), "inner.prefab");
    cachePrefab("outer.prefab", outer);
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1)).with<HookComponent>({"inner"}));

    service().cachePrefabData("outer.prefab", true);

    // The inner one by the walk itself; then the outer one, whose own background load follows its nested prefabs.
    EXPECT_THAT(preloaded, ElementsAre("inner", "outer", "inner"));
}

TEST_F(CacheWalk, withoutBackgroundLoad_nothingIsPreloaded) {
    cacheChain(3);

    service().cachePrefabData(level(0), false);

    EXPECT_THAT(preloaded, IsEmpty());
}

TEST_F(CacheWalk, withBackgroundLoad_fileThatNamesItself_reportsOncePerWalk) {
    writeHooked("self.prefab");

    service().cachePrefabData("self.prefab", true);

    // Six levels are cached, and each of the six starts a background load, which preloads at depths 0 to 6.
    EXPECT_EQ(log.count("Nested prefabs depth has exceeded limit. It can be result of recursive references."), 1U);
    EXPECT_EQ(log.count("Nested prefabs depth has exceeded limit. It can be result of recursive references. "
                        "(backgroundLoad)"),
              6U);
    EXPECT_EQ(log.messages().size(), 7U);
    EXPECT_EQ(preloaded.size(), 42U);
}

TEST_F(CacheWalk, emptyReference_isLookedUpUnchanged) {
    cachePrefab("outer.prefab", PrefabBuilder().root(id(1)).nested(id(2), "Point", id(1), ""));

    service().cachePrefabData("outer.prefab", false);

    EXPECT_EQ(log.count("Prefab not found "), 1U);
}

TEST_F(CacheWalk, referenceAtRoot_isFollowedToo) {
    PrefabBuilder outer;
    outer.root(id(1)).with<Tessel::PrefabComponent>({"none.prefab", "", false});
    cachePrefab("outer.prefab", outer);

    service().cachePrefabData("outer.prefab", false);

    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found none.prefab"));
}

} // namespace
} // namespace Kiln::TestSupport
