#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class TextOutput : public KilnPrefabFixture {
protected:
    TextOutput() {
        write("lamp.prefab", PrefabText()
                                 .object(id(1), "Lamp")
                                 .object(id(2), "Bulb")
                                 .object(id(3), "Switch", 1)
                                 .parent(1, id(1))
                                 .parent(2, id(1)));
        write("quay.prefab", PrefabText()
                                 .object(id(1), "Quay")
                                 .object(id(2), "North lamp")
                                 .object(id(3), "Bollard")
                                 .parent(1, id(1))
                                 .parent(2, id(1))
                                 .nest(1, "lamp.prefab")
                                 .component("TransformComponent", 0));
    }
};

TEST_F(TextOutput, instance_isATreeAndASummary) {
    const TestSupport::ProcessResult result =
        spawn({"--instance-uuid", "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001", "quay.prefab"});
    EXPECT_THAT(lines(result.output),
                ElementsAre("quay.prefab, instance 5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001",
                            "Quay [PrefabComponent, TransformComponent] from quay.prefab",
                            "├── North lamp [HierarchyComponent, PrefabComponent] from lamp.prefab",
                            "│   ├── Bulb [HierarchyComponent]", "│   └── Switch [HierarchyComponent] (inactive)",
                            "└── Bollard [HierarchyComponent]",
                            MatchesRegex("5 objects, 2 prefab files, [0-9]+ frames?, [0-9]+\\.[0-9] ms")));
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(TextOutput, oneObject_isCountedInTheSingular) {
    write("a.prefab", simplePrefab());
    EXPECT_THAT(spawn({"a.prefab"}).output, HasSubstr("\n1 object, 1 prefab file, "));
}

TEST_F(TextOutput, fileNestedTwice_countsOnce) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "One")
                          .object(id(3), "Two")
                          .parent(1, id(1))
                          .parent(2, id(1))
                          .nest(1, "lamp.prefab")
                          .nest(2, "lamp.prefab"));
    EXPECT_THAT(spawn({"a.prefab"}).output, HasSubstr("\n7 objects, 2 prefab files, "));
}

TEST_F(TextOutput, rootUnderInactiveParent_isTheTopOfTheTree) {
    EXPECT_THAT(spawn({"--under-inactive-parent", "lamp.prefab"}).output,
                HasSubstr("\nLamp [HierarchyComponent, PrefabComponent] (inactive) from lamp.prefab\n"
                          "├── Bulb [HierarchyComponent] (inactive)\n"));
}

TEST_F(TextOutput, objectWithoutParent_isATreeOfItsOwn) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "Stray").parent(1, id(77)));
    EXPECT_THAT(spawn({"a.prefab"}).output,
                HasSubstr("\nA [PrefabComponent] from a.prefab\nStray [HierarchyComponent] (inactive)\n"));
}

TEST_F(TextOutput, severalInstances_haveATotal) {
    const std::vector<std::string> output = lines(spawn({"--instances", "2", "quay.prefab", "lamp.prefab"}).output);
    ASSERT_FALSE(output.empty());
    EXPECT_THAT(output.back(), MatchesRegex("total: 4 of 4 instances, 16 objects, 2 prefab files, [0-9]+ frames, "
                                            "[0-9]+\\.[0-9] ms"));
}

TEST_F(TextOutput, total_isTheNumberOfCreatedInstances) {
    EXPECT_THAT(spawn({"gone.prefab", "lamp.prefab"}).output,
                HasSubstr("\ntotal: 1 of 2 instances, 3 objects, 1 prefab file, "));
}

TEST_F(TextOutput, failedInstance_writesNothingToStdout) {
    EXPECT_THAT(spawn({"gone.prefab"}).output, IsEmpty());
}

TEST_F(TextOutput, controlCharactersInNames_areShownAsCodes) {
    write("a.prefab", PrefabText().object(id(1), "A\x1B[31m\nB"));
    EXPECT_THAT(spawn({"a.prefab"}).output, HasSubstr("\nA\\x1b[31m\\x0aB [PrefabComponent] from a.prefab\n"));
}

TEST_F(TextOutput, deepHierarchy_isWrittenWholeAndIndentedUpToDepth40) {
    constexpr std::size_t DEPTH = 300;
    PrefabText prefab;
    for (std::size_t level = 0; level < DEPTH; ++level) {
        prefab.object(id(level + 1), "Level " + std::to_string(level));
        if (level > 0) {
            prefab.parent(level, id(level));
        }
    }
    write("deep.prefab", prefab);
    const TestSupport::ProcessResult result = spawn({"deep.prefab"});
    EXPECT_EQ(result.exitStatus, 0);
    const std::string indent(std::size_t{4} * 39, ' ');
    EXPECT_THAT(
        result.output,
        HasSubstr("\n" + indent + "└── Level 40 [HierarchyComponent]\n(41) Level 41 [HierarchyComponent]\n(42) "));
    EXPECT_THAT(result.output, HasSubstr("\n(299) Level 299 [HierarchyComponent]\n300 objects, "));
    EXPECT_THAT(result.output, Not(HasSubstr("├")));
}

TEST_F(TextOutput, branchBelowTheIndentedDepth_isFollowedByTheRestOfTheTree) {
    constexpr std::size_t DEPTH = 43;
    PrefabText prefab;
    for (std::size_t level = 0; level < DEPTH; ++level) {
        prefab.object(id(level + 1), "Level " + std::to_string(level));
        if (level > 0) {
            prefab.parent(level, id(level));
        }
    }
    prefab.object(id(100), "Second 42").parent(DEPTH, id(DEPTH - 1));
    prefab.object(id(101), "Second 1").parent(DEPTH + 1, id(1));
    write("deep.prefab", prefab);
    EXPECT_THAT(spawn({"deep.prefab"}).output,
                HasSubstr("\n(41) Level 41 [HierarchyComponent]\n(42) Level 42 [HierarchyComponent]\n"
                          "(42) Second 42 [HierarchyComponent]\n└── Second 1 [HierarchyComponent]\n45 objects, "));
}

} // namespace

} // namespace Kiln::PrefabToolTests
