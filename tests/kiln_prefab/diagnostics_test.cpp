#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Diagnostics = KilnPrefabFixture;

TEST_F(Diagnostics, flawlessPrefab_leavesStderrEmpty) {
    write("a.prefab", simplePrefab());
    EXPECT_THAT(spawn({"a.prefab"}).errors, IsEmpty());
}

TEST_F(Diagnostics, verbose_countsTheDepthMessagesOfTheCachingWalk) {
    write("a.prefab", simplePrefab());
    const TestSupport::ProcessResult result = spawn({"--verbose", "a.prefab"});
    EXPECT_EQ(result.errors, "note: the depth limit of the caching walk was reached 7 times\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Diagnostics, warning_isShownAndIsNoError) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(77)));
    const TestSupport::ProcessResult result = spawn({"a.prefab"});
    EXPECT_EQ(result.errors, "warning: Game object 'B', component 'HierarchyComponent': the link to " +
                                 id(77).toString() + " resolves to nothing\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Diagnostics, repeatedMessage_isShownOnceWithItsCount) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .component("TransformComponent", 7)
                          .component("TransformComponent", 8)
                          .component("TransformComponent", 9));
    const std::string text = "Error deserializing component 'TransformComponent'. Game Object index out of range.";
    EXPECT_THAT(lines(spawn({"a.prefab"}).errors),
                ElementsAre("error: " + text + " (3 times)", "kiln-prefab: a.prefab: errors while loading: " + text));
}

TEST_F(Diagnostics, differentMessages_keepTheirOrder) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .component("TransformComponent", 7)
                          .component("HierarchyComponent", 7)
                          .component("TransformComponent", 8));
    const std::string transform = "Error deserializing component 'TransformComponent'. Game Object index out of range.";
    const std::string hierarchy = "Error deserializing component 'HierarchyComponent'. Game Object index out of range.";
    EXPECT_THAT(lines(spawn({"a.prefab"}).errors),
                ElementsAre("error: " + transform + " (2 times)", "error: " + hierarchy,
                            "kiln-prefab: a.prefab: errors while loading: " + transform + "; " + hierarchy));
}

TEST_F(Diagnostics, manyDifferentErrors_areCutShortInTheReason) {
    PrefabText prefab;
    for (std::size_t i = 0; i < 13; ++i) {
        prefab.object(id(i + 1), "A").component("TransformComponent", i, "<local>bad" + std::to_string(i) + "</local>");
        if (i > 0) {
            prefab.parent(i, id(1));
        }
    }
    write("a.prefab", prefab);
    const std::vector<std::string> errors = lines(spawn({"a.prefab"}).errors);
    ASSERT_FALSE(errors.empty());
    EXPECT_THAT(errors, testing::Contains(testing::StartsWith("error: Component 'TransformComponent'")).Times(13));
    EXPECT_THAT(errors.back(), testing::EndsWith("; and 3 more"));
}

TEST_F(Diagnostics, controlCharactersInMessages_areShownAsCodes) {
    EXPECT_THAT(
        lines(spawn({"gone\x1B[31m.prefab"}).errors),
        ElementsAre("error: Cannot read 'gone\\x1b[31m.prefab': the path has a control character",
                    "error: Prefab not found gone\\x1b[31m.prefab",
                    "kiln-prefab: gone\\x1b[31m.prefab: not created: Cannot read 'gone\\x1b[31m.prefab': the path "
                    "has a control character; Prefab not found gone\\x1b[31m.prefab"));
}

TEST_F(Diagnostics, failedPrefab_namesTheReasonAndNotTheCachingWalk) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B"));
    const std::vector<std::string> errors = lines(spawn({"a.prefab"}).errors);
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), "kiln-prefab: a.prefab: not created: Game Objects hierarchy has more than one root.; "
                             "Failed to create prefab instance.");
}

TEST_F(Diagnostics, unknownComponents_areCountedByType) {
    write("inner.prefab", PrefabText().object(id(1), "I").component("NodeComponent", 0).component("NodeComponent", 0));
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .object(id(2), "B")
                          .parent(1, id(1))
                          .nest(1, "inner.prefab")
                          .component("NodeComponent", 0)
                          .component("BuoyComponent", 1));
    const TestSupport::ProcessResult result = spawn({"--instances", "2", "a.prefab"});
    EXPECT_EQ(result.errors, "note: skipped 1 component of unknown type 'BuoyComponent'\n"
                             "note: skipped 3 components of unknown type 'NodeComponent'\n");
    EXPECT_EQ(result.exitStatus, 0);
}

} // namespace

} // namespace Kiln::PrefabToolTests
