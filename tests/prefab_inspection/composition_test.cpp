#include "composition_fixture.h"

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A root with the name "Inner" and a plate, and a child "Leaf" with a plate.
[[nodiscard]] PrefabText inner() {
    return PrefabText()
        .object(id(11), "Inner", 2)
        .object(id(12), "Leaf")
        .parent(1, id(11))
        .component("PlateComponent", 0, element("text", "of the root"))
        .component("PlateComponent", 1, element("text", "of the leaf"))
        .component("TransformComponent", 0);
}

/// A root "Outer" with an integration point "Point" for inner.prefab.
[[nodiscard]] PrefabText outer(const std::string& overrides = {}) {
    return PrefabText()
        .object(id(1), "Outer")
        .object(id(2), "Point", 1)
        .parent(1, id(1))
        .nest(1, "inner.prefab", overrides);
}

using CompositionTest = CompositionFixture;

TEST_F(CompositionTest, objects_areTheRootAndThenTheOthersInTheOrderOfTheFile) {
    write("a.prefab", PrefabText()
                          .object(id(1), "First")
                          .object(id(2), "Root")
                          .object(id(3), "Last")
                          .parent(0, id(2))
                          .parent(2, id(1)));
    compose("a.prefab");
    EXPECT_THAT(paths(), ElementsAre("Root", "Root/First", "Root/First/Last"));
    EXPECT_EQ(m_composition->objects()[2].uuid, Uuid::combine(id(100), id(3)));
}

TEST_F(CompositionTest, integrationPoint_isMergedWithTheNestedRoot) {
    write("inner.prefab", inner());
    write("outer.prefab", outer());
    compose("outer.prefab");
    EXPECT_THAT(paths(), ElementsAre("Outer", "Outer/Point", "Outer/Point/Leaf"));
    const Composition::Object& point = m_composition->objects()[1];
    EXPECT_TRUE(point.isPoint);
    EXPECT_EQ(point.uuid, Uuid::combine(Uuid::combine(id(100), id(2)), id(11)));
    EXPECT_EQ(point.flags, 3U);
    EXPECT_EQ(m_composition->pointUuid(1), id(2));
    EXPECT_EQ(m_composition->fileUuid(1), id(11));
    EXPECT_EQ(*m_composition->origin(1).file, "outer.prefab");
    EXPECT_EQ(*m_composition->rootOrigin(1).file, "inner.prefab");
}

TEST_F(CompositionTest, uuid_isDerivedFromTheWholeInstanceToTheObject) {
    write("inner.prefab", inner());
    write("outer.prefab", outer());
    compose("outer.prefab");
    const std::vector<Composition::UuidStep> steps = m_composition->uuidSteps(2);
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].first, id(100));
    EXPECT_EQ(steps[0].second, id(2));
    EXPECT_EQ(steps[0].result, Uuid::combine(id(100), id(2)));
    EXPECT_EQ(steps[0].place.text, "Point");
    EXPECT_EQ(steps[1].first, steps[0].result);
    EXPECT_EQ(steps[1].second, id(12));
    EXPECT_EQ(steps[1].result, m_composition->objects()[2].uuid);
    EXPECT_THAT(texts(m_composition->chain(2)), ElementsAre("outer.prefab:1: Point"));
}

TEST_F(CompositionTest, componentsOfAPoint_areItsOwnAndThoseOfTheRootThatItLacks) {
    write("inner.prefab", inner());
    write("outer.prefab", outer());
    compose("outer.prefab");
    EXPECT_THAT(componentTypes("Outer"), ElementsAre("added"));
    EXPECT_THAT(componentTypes("Outer/Point"), ElementsAre("HierarchyComponent", "PrefabComponent", "PlateComponent"));
    EXPECT_EQ(text("Outer/Point", "PlateComponent", "text"), "of the root");
}

TEST_F(CompositionTest, componentOfBothPointAndRoot_isThatOfThePoint) {
    write("inner.prefab", inner());
    write("outer.prefab", outer().component("PlateComponent", 1, element("text", "of the point")));
    compose("outer.prefab");
    EXPECT_EQ(text("Outer/Point", "PlateComponent", "text"), "of the point");
}

TEST_F(CompositionTest, secondComponentOfAType_isLeftOut) {
    write("a.prefab", PrefabText()
                          .object(id(1), "A")
                          .component("PlateComponent", 0, element("text", "one"))
                          .component("PlateComponent", 0, element("text", "two")));
    compose("a.prefab");
    EXPECT_THAT(componentTypes("A"), ElementsAre("PlateComponent", "added"));
    EXPECT_EQ(text("A", "PlateComponent", "text"), "one");
}

TEST_F(CompositionTest, missingNestedFile_leavesThePointOut) {
    write("outer.prefab", outer().object(id(3), "Below").parent(2, id(2)));
    compose("outer.prefab");
    EXPECT_THAT(paths(), ElementsAre("Outer", "Below"));
    EXPECT_EQ(failure(), "");
    EXPECT_THAT(problems(), ElementsAre("outer.prefab:1: 'Point' is left out, because the nested prefab 'inner.prefab' "
                                        "is missing"));
}

TEST_F(CompositionTest, brokenNestedFile_leavesThePointOut) {
    write("inner.prefab", "<prefab>");
    write("outer.prefab", outer());
    compose("outer.prefab");
    EXPECT_THAT(paths(), ElementsAre("Outer"));
    EXPECT_THAT(problems(), ElementsAre(testing::StartsWith("outer.prefab:1: 'Point' is left out, because the nested "
                                                            "prefab 'inner.prefab' is not well formed: ")));
}

TEST_F(CompositionTest, nestedFileWithoutRoot_leavesThePointOut) {
    write("inner.prefab", PrefabText().object(id(11), "Inner").parent(0, id(12)));
    write("outer.prefab", outer());
    compose("outer.prefab");
    EXPECT_THAT(problems(), ElementsAre("outer.prefab:1: 'Point' is left out, because the nested prefab 'inner.prefab' "
                                        "has no root"));
}

TEST_F(CompositionTest, missingFile_fails) {
    compose("gone.prefab");
    EXPECT_EQ(failure(), "The file is missing");
    EXPECT_THAT(paths(), IsEmpty());
}

TEST_F(CompositionTest, directory_fails) {
    std::filesystem::create_directory(m_directory.path() / "a.prefab");
    compose("a.prefab");
    EXPECT_EQ(failure(), "The file is a directory");
}

TEST_F(CompositionTest, otherFormatVersion_fails) {
    write("a.prefab", PrefabText().object(id(1), "A").formatVersion(2));
    compose("a.prefab");
    EXPECT_EQ(failure(), "The document has another format version");
}

TEST_F(CompositionTest, emptyPrefab_fails) {
    write("a.prefab", PrefabText());
    compose("a.prefab");
    EXPECT_EQ(failure(), "The prefab has no game objects");
}

TEST_F(CompositionTest, severalRoots_failAndAreNamed) {
    write("a.prefab", PrefabText().object(id(1), "One").object(id(2), "Two"));
    compose("a.prefab");
    EXPECT_EQ(failure(), "The prefab has more than one root");
    EXPECT_THAT(texts(m_composition->failure()->places),
                ElementsAre("a.prefab:1: 'One' is a root", "a.prefab:1: 'Two' is a root"));
}

TEST_F(CompositionTest, prefabWithoutRoot_fails) {
    write("a.prefab", PrefabText().object(id(1), "One").parent(0, id(7)));
    compose("a.prefab");
    EXPECT_EQ(failure(), "The prefab has no root");
}

TEST_F(CompositionTest, repeatedUuid_failsAndNamesBothObjects) {
    write("a.prefab", PrefabText().object(id(1), "One").object(id(1), "Two").parent(1, id(1)));
    compose("a.prefab");
    EXPECT_EQ(failure(), "Two objects of the instance have the UUID " + Uuid::combine(id(100), id(1)).toString());
    EXPECT_THAT(texts(m_composition->failure()->places), ElementsAre("a.prefab:1: 'One'", "a.prefab:1: 'Two'"));
}

TEST_F(CompositionTest, nestingBeyondTheLimit_failsWithTheChain) {
    for (int level = 0; level < 7; ++level) {
        const auto number = static_cast<std::uint64_t>(level);
        PrefabText prefab;
        prefab.object(id(10 * number + 1), "Root").object(id(10 * number + 2), "Point").parent(1, id(10 * number + 1));
        if (level < 6) {
            prefab.nest(1, "level" + std::to_string(level + 1) + ".prefab");
        }
        write("level" + std::to_string(level) + ".prefab", prefab);
    }
    compose("level1.prefab");
    EXPECT_EQ(failure(), "");
    compose("level0.prefab");
    EXPECT_EQ(failure(), "'level6.prefab' is nested deeper than the limit of 5");
    ASSERT_EQ(m_composition->failure()->places.size(), 6U);
    EXPECT_EQ(m_composition->failure()->places[0].text, "'Point' nests 'level1.prefab'");
    EXPECT_EQ(m_composition->failure()->places[5].text, "'Point' nests 'level6.prefab'");
}

TEST_F(CompositionTest, prefabThatNestsItself_fails) {
    write("inner.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)).nest(1, "inner.prefab"));
    compose("inner.prefab");
    EXPECT_EQ(failure(), "The prefab nests itself: 'inner.prefab' is nested deeper than the limit of 5");
}

TEST_F(CompositionTest, moreObjectsThanTheLimit_fail) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)));
    compose("a.prefab", 2);
    EXPECT_EQ(failure(), "");
    compose("a.prefab", 1);
    EXPECT_EQ(failure(), "The instance has more than 1 objects");
}

TEST_F(CompositionTest, parentLinkThatClosesACycle_isRefused) {
    write("a.prefab", PrefabText()
                          .object(id(1), "Root")
                          .object(id(2), "One")
                          .object(id(3), "Two")
                          .object(id(4), "Own")
                          .parent(1, id(3))
                          .parent(2, id(2))
                          .parent(3, id(4)));
    compose("a.prefab");
    EXPECT_THAT(paths(), ElementsAre("Root", "Two/One", "Two", "Own"));
}

TEST_F(CompositionTest, parentInsideOfANestedPrefab_isFound) {
    write("inner.prefab", inner());
    write("outer.prefab", outer().object(id(3), "Sign").parent(2, Uuid::combine(id(2), id(12))));
    compose("outer.prefab");
    EXPECT_THAT(paths(), ElementsAre("Outer", "Outer/Point", "Outer/Point/Leaf", "Outer/Point/Leaf/Sign"));
}

TEST_F(CompositionTest, parentThatIsAnIntegrationPoint_isTheMergedObject) {
    write("inner.prefab", inner());
    write("outer.prefab", outer().object(id(3), "Sign").parent(2, id(2)));
    compose("outer.prefab");
    EXPECT_EQ(paths().back(), "Outer/Point/Sign");
}

TEST_F(CompositionTest, overrideOfAParent_movesTheObject) {
    write("inner.prefab", inner().object(id(13), "Twig").parent(2, id(11)));
    write("outer.prefab",
          outer(OverridesText().record(id(13), "HierarchyComponent", element("parent", id(12).toString())).text()));
    compose("outer.prefab");
    EXPECT_EQ(paths().back(), "Outer/Point/Leaf/Twig");
}

TEST_F(CompositionTest, link_resolvesWithinTheInstanceOfItsObject) {
    write("inner.prefab", inner());
    write("outer.prefab", outer());
    compose("outer.prefab");
    EXPECT_EQ(m_composition->resolveLink(2, id(11)), 1U);
    EXPECT_EQ(m_composition->resolveLink(0, id(2)), 1U);
    EXPECT_EQ(m_composition->resolveLink(0, id(11)), Composition::NONE);
    EXPECT_EQ(m_composition->resolveLink(0, Uuid::ZERO), Composition::NONE);
}

} // namespace

} // namespace Kiln::PrefabInspection
