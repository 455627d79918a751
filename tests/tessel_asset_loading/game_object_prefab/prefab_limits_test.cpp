#include <tessel_asset_loading/prefab_limits.h>
#include <tessel_asset_loading/support/creation_fixture.h>

#include <cstddef>
#include <string>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObjectPrefab;
using Tessel::PrefabLimits;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The limits of documents and instances.
class PrefabLimitsTest : public CreationFixture {
protected:
    ~PrefabLimitsTest() override { Tessel::setPrefabLimits(PrefabLimits()); }

    /// A root with children that have two components each.
    [[nodiscard]] static PrefabText family(std::size_t children) {
        PrefabText prefab;
        prefab.root(id(1), "Root");
        for (std::size_t i = 0; i < children; ++i) {
            prefab.component("TagComponent", prefab.child(id(2 + i), "Child", id(1)));
        }
        return prefab;
    }

    [[nodiscard]] static std::size_t nodesOf(const PrefabText& prefab) {
        return GameObjectPrefab::loadHierarchy(prefab.section(), nullptr)->nodesCount();
    }
};

TEST_F(PrefabLimitsTest, documentWithTheLimitOfObjects_isRead) {
    Tessel::setPrefabLimits({.objects = 4});

    EXPECT_EQ(nodesOf(family(3)), 4U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, documentWithMoreObjects_isRefusedWithItsFile) {
    writePrefab("big.prefab", family(4));
    Tessel::setPrefabLimits({.objects = 4});

    const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy("big.prefab", nullptr);

    ASSERT_NE(prefab, nullptr);
    EXPECT_TRUE(prefab->isEmpty());
    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. 'big.prefab': It has 5 game objects; the limit "
                                      "is 4."));
}

TEST_F(PrefabLimitsTest, objectWithTheLimitOfComponents_isRead) {
    Tessel::setPrefabLimits({.componentsPerObject = 2});

    EXPECT_EQ(nodesOf(family(1)), 2U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, objectWithMoreComponents_makesTheDocumentRefused) {
    writePrefab("big.prefab", family(1));
    Tessel::setPrefabLimits({.componentsPerObject = 1});

    EXPECT_TRUE(GameObjectPrefab::loadHierarchy("big.prefab", nullptr)->isEmpty());

    EXPECT_THAT(logged(), ElementsAre("5: Failed to deserialize prefab. 'big.prefab': The game object with index "
                                      "1 has 2 components; the limit is 1."));
}

TEST_F(PrefabLimitsTest, overrideDataOfTheLimit_isRead) {
    PrefabText prefab;
    prefab.root(id(1), "Root");
    prefab.nested(id(2), "Point", id(1), "inner.prefab", "<overrides></overrides>");
    Tessel::setPrefabLimits({.overrideTextBytes = 23});

    EXPECT_EQ(nodesOf(prefab), 2U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, longerOverrideData_makesTheDocumentRefused) {
    PrefabText prefab;
    prefab.root(id(1), "Root");
    prefab.nested(id(2), "Point", id(1), "inner.prefab", "<overrides></overrides>");
    Tessel::setPrefabLimits({.overrideTextBytes = 22});

    EXPECT_EQ(nodesOf(prefab), 0U);

    ASSERT_EQ(logged().size(), 1U);
    EXPECT_THAT(logged()[0], ::testing::HasSubstr("The override data of the game object with index 1 has 23 bytes; the "
                                                  "limit is 22."));
}

TEST_F(PrefabLimitsTest, nameAndPathOfTheLimit_areRead) {
    PrefabText prefab;
    prefab.root(id(1), "four");
    prefab.nested(id(2), "Nest", id(1), "path");
    Tessel::setPrefabLimits({.nameBytes = 4});

    EXPECT_EQ(nodesOf(prefab), 2U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, longerName_makesTheDocumentRefused) {
    PrefabText prefab;
    prefab.root(id(1), "fives");
    Tessel::setPrefabLimits({.nameBytes = 4});

    EXPECT_EQ(nodesOf(prefab), 0U);

    ASSERT_EQ(logged().size(), 1U);
    EXPECT_THAT(logged()[0],
                ::testing::HasSubstr("The game object with index 0 has a name or a path of 5 bytes; the limit is 4."));
}

TEST_F(PrefabLimitsTest, longerPath_makesTheDocumentRefused) {
    PrefabText prefab;
    prefab.root(id(1), "Root");
    prefab.nested(id(2), "Nest", id(1), "paths");
    Tessel::setPrefabLimits({.nameBytes = 4});

    EXPECT_EQ(nodesOf(prefab), 0U);
}

TEST_F(PrefabLimitsTest, refusedDocument_isReportedToTheHandler) {
    std::vector<std::string> problems;
    Tessel::DeseriralizeErrorHandler handler;
    handler.context = "Checking";
    handler.callback = [&problems](const std::string& text) { problems.push_back(text); };
    writePrefab("big.prefab", family(4));
    Tessel::setPrefabLimits({.objects = 4});

    EXPECT_TRUE(GameObjectPrefab::loadHierarchy("big.prefab", &handler)->isEmpty());

    EXPECT_THAT(problems, ElementsAre("Checking. 'big.prefab': It has 5 game objects; the limit is 4."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, refusedDocument_keepsNodesThatWereReadBefore) {
    GameObjectPrefab prefab;
    prefab.deserialize(family(0).section(), nullptr);
    Tessel::setPrefabLimits({.componentsPerObject = 1});

    prefab.deserialize(family(1).section(), nullptr);

    EXPECT_EQ(prefab.nodesCount(), 1U);
}

TEST_F(PrefabLimitsTest, instanceWithTheLimitOfObjects_isCreated) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1), "Inner").child(id(2), "Leaf", id(1)));
    PrefabBuilder outer;
    outer.root(id(1), "Outer").nested(id(2), "Point", id(1), "inner.prefab");
    Tessel::setPrefabLimits({.instanceObjects = 3});

    EXPECT_EQ(create(outer.build()).size(), 3U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(PrefabLimitsTest, instanceWithMoreOverrideData_fails) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1), "Inner"));
    PrefabBuilder outer;
    outer.root(id(1), "Outer").nested(id(2), "Point", id(1), "inner.prefab", "<overrides></overrides>");
    outer.nested(id(3), "Point", id(1), "inner.prefab", "<overrides></overrides>");
    Tessel::setPrefabLimits({.instanceOverrideBytes = 46});
    EXPECT_EQ(create(outer.build()).size(), 3U);

    Tessel::setPrefabLimits({.instanceOverrideBytes = 45});
    EXPECT_THAT(create(outer.build()), ElementsAre(Tessel::GameObject::INVALID_GAME_OBJECT));

    EXPECT_THAT(logged(), ElementsAre("5: An instance of 'Outer' has more bytes of override data than the limit of 45.",
                                      "5: Failed to create prefab instance.\n"));
}

TEST_F(PrefabLimitsTest, largerInstance_failsBeforeAnObjectExists) {
    cachePrefab("inner.prefab", PrefabBuilder().root(id(1), "Inner").child(id(2), "Leaf", id(1)));
    PrefabBuilder outer;
    outer.root(id(1), "Outer").nested(id(2), "Point", id(1), "inner.prefab");
    outer.nested(id(3), "Point", id(1), "inner.prefab");
    Tessel::setPrefabLimits({.instanceObjects = 4});

    EXPECT_THAT(create(outer.build()), ElementsAre(Tessel::GameObject::INVALID_GAME_OBJECT));

    EXPECT_EQ(manager().gameObjectsCount(), 0U);
    EXPECT_THAT(logged(), ElementsAre("5: An instance of 'Outer' has more game objects than the limit of 4.",
                                      "5: Failed to create prefab instance.\n"));
}

} // namespace
} // namespace Kiln::TestSupport
