#include <tessel_asset_loading/support/creation_fixture.h>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::PrefabComponent;
using testing::IsEmpty;

/// A middle prefab nests a leaf; of the two instances of the middle one, one overrides what is in its leaf. The
/// override must reach that leaf and no other, although both instances share every descriptor.
class OverrideReach : public CreationFixture {
protected:
    OverrideReach() {
        PrefabBuilder leaf;
        leaf.root(id(31), "leaf root").child(id(32), "leaf child", id(31)).with<TagComponent>({"own", {}});
        cachePrefab("leaf.prefab", leaf);
        cachePrefab("other.prefab", PrefabBuilder()
                                        .root(id(41), "other root")
                                        .child(id(32), "other child", id(41))
                                        .with<TagComponent>({"other", {}}));
        PrefabBuilder middle;
        middle.root(id(21), "middle root").nested(id(22), "Leaf", id(21), "leaf.prefab");
        cachePrefab("middle.prefab", middle);
    }

    /// The overrides that an instance of the middle prefab has for the leaf inside it.
    [[nodiscard]] static std::string leafData() {
        return OverridesText().record(id(32), "TagComponent", element("tag", "over")).text();
    }
    [[nodiscard]] static std::string middleData() {
        return OverridesText().record(id(22), "PrefabComponent", element("overridesData", cdata(leafData()))).text();
    }
    [[nodiscard]] static std::string middleDataWithAnotherLeaf() {
        return OverridesText().record(id(22), "PrefabComponent", element("resource", "other.prefab")).text();
    }

    [[nodiscard]] static PrefabBuilder outer(const std::string& firstData, const std::string& secondData) {
        PrefabBuilder builder;
        builder.root(id(1), "Outer").nested(id(2), "First", id(1), "middle.prefab", firstData);
        builder.nested(id(3), "Second", id(1), "middle.prefab", secondData);
        return builder;
    }

    /// The only child of an object; fails without it.
    [[nodiscard]] GameObject childOf(GameObject parent) const {
        const std::vector<GameObject> children = manager().getChildren(parent);
        EXPECT_EQ(children.size(), 1U);
        return children.empty() ? GameObject() : children.front();
    }

    /// The leaf's tag, and its live PrefabComponent's texts, below an instance of the middle prefab.
    [[nodiscard]] std::vector<std::string> leafBelow(GameObject middle) const {
        const GameObject leaf = childOf(middle);
        const GameObject leafChild = childOf(leaf);
        const auto* const prefab = find<PrefabComponent>(leaf);
        const auto* const tag = find<TagComponent>(leafChild);
        EXPECT_TRUE(prefab && tag);
        return prefab && tag ? std::vector{tag->config.tag, prefab->resource(), prefab->overridesData()}
                             : std::vector<std::string>();
    }
    [[nodiscard]] std::vector<std::string> leafBelow(const std::string& middle) const {
        return leafBelow(object(middle));
    }

    const std::vector<std::string> OWN{"own", "leaf.prefab", ""};
    const std::vector<std::string> OVERRIDDEN{"over", "leaf.prefab", leafData()};
    const std::vector<std::string> ANOTHER{"other", "other.prefab", ""};
};

TEST_F(OverrideReach, oneCreation_firstInstanceOverrides) {
    create(outer(middleData(), {}));
    EXPECT_EQ(leafBelow("First"), OVERRIDDEN);
    EXPECT_EQ(leafBelow("Second"), OWN);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverrideReach, oneCreation_secondInstanceOverrides) {
    create(outer({}, middleData()));
    EXPECT_EQ(leafBelow("First"), OWN);
    EXPECT_EQ(leafBelow("Second"), OVERRIDDEN);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverrideReach, oneCreation_instancesOverrideDifferently) {
    create(outer(middleDataWithAnotherLeaf(), middleData()));
    EXPECT_EQ(leafBelow("First"), ANOTHER);
    EXPECT_EQ(leafBelow("Second"), OVERRIDDEN);
}

TEST_F(OverrideReach, oneCreation_instancesOverrideDifferentlyTheOtherWayRound) {
    create(outer(middleData(), middleDataWithAnotherLeaf()));
    EXPECT_EQ(leafBelow("First"), OVERRIDDEN);
    EXPECT_EQ(leafBelow("Second"), ANOTHER);
}

class OverrideReachOfTwoCreations : public OverrideReach {
protected:
    /// Creates the middle prefab as a top prefab, twice, with these override data, and returns the roots.
    [[nodiscard]] std::vector<GameObject> createTwice(const std::string& firstData, const std::string& secondData) {
        std::vector<GameObject> roots;
        for (const std::string& data : {firstData, secondData}) {
            GameObjectPrefab::CreateConfig own = makeConfig(id(100 + roots.size()));
            own.overrides = OverrideRecords::create(data);
            roots.push_back(service().loadPrefabData("middle.prefab")->createGameObjects(own).front());
        }
        return roots;
    }
};

TEST_F(OverrideReachOfTwoCreations, firstCreationOverrides) {
    const std::vector<GameObject> roots = createTwice(middleData(), {});
    EXPECT_EQ(leafBelow(roots[0]), OVERRIDDEN);
    EXPECT_EQ(leafBelow(roots[1]), OWN);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverrideReachOfTwoCreations, secondCreationOverrides) {
    const std::vector<GameObject> roots = createTwice({}, middleData());
    EXPECT_EQ(leafBelow(roots[0]), OWN);
    EXPECT_EQ(leafBelow(roots[1]), OVERRIDDEN);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(OverrideReachOfTwoCreations, creationsOverrideDifferently) {
    const std::vector<GameObject> roots = createTwice(middleDataWithAnotherLeaf(), middleData());
    EXPECT_EQ(leafBelow(roots[0]), ANOTHER);
    EXPECT_EQ(leafBelow(roots[1]), OVERRIDDEN);
}

TEST_F(OverrideReachOfTwoCreations, wholeOuterPrefabTwice_isTheSameBothTimes) {
    const GameObjectPrefab prefab = outer(middleData(), {}).build();
    create(prefab);
    GameObjectPrefab::CreateConfig again = makeConfig(id(77));
    const GameObject root = prefab.createGameObjects(again).front();
    const std::vector<GameObject> middles = manager().getChildren(root);
    ASSERT_EQ(middles.size(), 2U);
    EXPECT_EQ(leafBelow(middles[0]), OVERRIDDEN);
    EXPECT_EQ(leafBelow(middles[1]), OWN);
}

TEST_F(OverrideReachOfTwoCreations, failedCreation_leavesNothingForTheNextOne) {
    PrefabBuilder broken = outer(middleData(), {});
    broken.root(id(9), "Second root");
    create(broken);
    ASSERT_EQ(manager().gameObjectsCount(), 0U);
    create(outer({}, {}));
    EXPECT_EQ(leafBelow("First"), OWN);
    EXPECT_EQ(leafBelow("Second"), OWN);
}

} // namespace
} // namespace Kiln::TestSupport
