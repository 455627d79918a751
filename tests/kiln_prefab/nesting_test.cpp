#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using Nesting = KilnPrefabFixture;

TEST_F(Nesting, nestedObjects_areListedUnderTheirLiveParents) {
    write("inner.prefab", PrefabText().object(id(1), "Inner").object(id(2), "Leaf").parent(1, id(1)));
    write("outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "inner.prefab"));
    const std::vector<Json> instances = spawnJson({"outer.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    ASSERT_EQ(names(instances[0]), (std::vector<std::string>{"Outer", "Point", "Leaf"}));
    EXPECT_EQ(instances[0]["objects"][1]["parent"], 0);
    EXPECT_EQ(instances[0]["objects"][2]["parent"], 1);
}

TEST_F(Nesting, nestingToTheLimit_isCreated) {
    for (int level = 0; level < 5; ++level) {
        write(std::to_string(level) + ".prefab", PrefabText()
                                                     .object(id(1), "Root")
                                                     .object(id(2), "Level " + std::to_string(level + 1))
                                                     .parent(1, id(1))
                                                     .nest(1, std::to_string(level + 1) + ".prefab"));
    }
    write("5.prefab", simplePrefab());
    const std::vector<Json> instances = spawnJson({"0.prefab"});
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(names(instances[0]),
              (std::vector<std::string>{"Root", "Level 1", "Level 2", "Level 3", "Level 4", "Level 5"}));
    EXPECT_EQ(m_result.exitStatus, 0);
    EXPECT_EQ(m_result.errors, "");
}

TEST_F(Nesting, instances_doNotDependOnPrefabsLoadedBefore) {
    write("outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "gone.prefab"));
    const std::vector<Json> instances = spawnJson({"outer.prefab", "gone.prefab"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(logTexts(instances[1]), std::vector<std::string>{"Prefab not found gone.prefab"});
}

} // namespace

} // namespace Kiln::PrefabToolTests
