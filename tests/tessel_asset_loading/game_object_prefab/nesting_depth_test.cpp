#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NestingDepth : public CreationFixture {
protected:
    [[nodiscard]] static std::string path(int level) { return "level" + std::to_string(level) + ".prefab"; }

    /// A prefab that nests a chain of `levels` prefabs, each in the one before.
    [[nodiscard]] static PrefabBuilder chain(int levels) {
        PrefabBuilder last;
        last.root(id(1), "bottom");
        cachePrefab(path(levels), last);
        for (int level = levels - 1; level > 0; --level) {
            PrefabBuilder prefab;
            prefab.root(id(1), "level").nested(id(2), "Level " + std::to_string(level + 1), id(1), path(level + 1));
            cachePrefab(path(level), prefab);
        }
        PrefabBuilder top;
        top.root(id(1), "Top").nested(id(2), "Level 1", id(1), path(1));
        return top;
    }
};

TEST_F(NestingDepth, fiveNestedPrefabs_succeed) {
    EXPECT_THAT(createdNames(chain(5)), ElementsAre("Top", "Level 1", "Level 2", "Level 3", "Level 4", "Level 5"));
    EXPECT_EQ(parentOf("Level 5"), "Level 4");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(NestingDepth, sixNestedPrefabs_failAsAWhole) {
    EXPECT_THAT(create(chain(6)), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_TRUE(config.uuidMap.empty());
}

TEST_F(NestingDepth, sixNestedPrefabs_theSixthWithoutNodesOfItsOwn_failToo) {
    const PrefabBuilder top = chain(6);
    service().clearCached(path(6));
    cachePrefab(path(6), PrefabBuilder().root(id(1), "only a root"));
    EXPECT_THAT(create(top), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
}

TEST_F(NestingDepth, sixthPrefabIsMissing_isDroppedBeforeTheLimitIsReached) {
    const PrefabBuilder top = chain(6);
    service().clearCached(path(6));
    EXPECT_EQ(create(top).size(), 6U);
    EXPECT_THAT(logged(), ElementsAre("5: Prefab not found level6.prefab"));
}

TEST_F(NestingDepth, limitIsReachedBeforeLaterNodesAreLookedAt) {
    PrefabBuilder top = chain(6);
    top.nested(id(3), "Gone", id(1), "no/such.prefab");
    create(top);
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
}

TEST_F(NestingDepth, prefabThatNestsItself_failsWithOneMessage) {
    PrefabText document;
    document.root(id(1), "Self");
    document.nested(id(2), "Again", id(1), "self.prefab");
    writePrefab("self.prefab", document);
    EXPECT_THAT(create(*service().loadPrefabData("self.prefab")), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_F(NestingDepth, twoPrefabsThatNestEachOther_fail) {
    PrefabBuilder even;
    even.root(id(1), "even").nested(id(2), "odd", id(1), "odd.prefab");
    PrefabBuilder odd;
    odd.root(id(1), "odd").nested(id(2), "even", id(1), "even.prefab");
    cachePrefab("even.prefab", even);
    cachePrefab("odd.prefab", odd);
    EXPECT_THAT(create(even), IsFailure());
    EXPECT_THAT(logged(), ElementsAre(TOO_DEEP, FAILED));
}

TEST_F(NestingDepth, siblings_doNotAddUp) {
    cachePrefab("leaf.prefab", PrefabBuilder().root(id(1), "leaf"));
    PrefabBuilder builder;
    builder.root(id(1), "Root");
    for (std::uint64_t i = 2; i < 12; ++i) {
        builder.nested(id(i), "Leaf", id(1), "leaf.prefab");
    }
    EXPECT_EQ(create(builder).size(), 11U);
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
