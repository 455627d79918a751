#include <prefab_merging/check_validation.h>
#include <prefab_merging/merge.h>
#include <prefab_merging/resolution.h>
#include <resource/file_system_utils.h>
#include <support/prefab_text.h>
#include <support/temporary_directory.h>

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabMerging {
namespace {

using TestSupport::cdata;
using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;

/// A root with one child that has a lamp.
[[nodiscard]] std::string lampPrefab(const std::string& name, const std::string& properties, unsigned version = 1) {
    PrefabText prefab;
    prefab.root(id(1), "Pier");
    const std::size_t lamp = prefab.child(id(2), name, id(1));
    prefab.component("LampComponent", lamp, properties).poolVersion("LampComponent", version);
    return prefab.text();
}

[[nodiscard]] std::string lamp(const std::string& brightness, const std::string& colour = "red") {
    return element("brightness", brightness) + element("colour", colour);
}

/// The places of the conflicts in words, with their reasons.
[[nodiscard]] std::vector<std::string> conflictsOf(const MergeResult& result) {
    std::vector<std::string> texts;
    for (const Conflict& conflict : result.conflicts) {
        texts.push_back(describe(conflict.place) + ": " + conflict.reason);
    }
    return texts;
}

const std::string OBJECT_2 = id(2).toString();
const std::string OBJECT_3 = id(3).toString();
const std::string BOTH = "both sides have changed it";
const std::string NEEDED = "one side has removed an object that a change of the other side needs";

TEST(Merge, changesOfDifferentProperties_areBothTaken) {
    const MergeResult result = mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")),
                                            lampPrefab("Lamp", lamp("1", "blue")));
    EXPECT_EQ(result.text, lampPrefab("Lamp", lamp("2", "blue")));
    EXPECT_EQ(result.takenCount, 1U);
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

TEST(Merge, differentChangesOfOneProperty_areAConflictWithAllThreeValues) {
    const MergeResult result =
        mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")), lampPrefab("Lamp", lamp("3")));
    ASSERT_THAT(conflictsOf(result), testing::ElementsAre("LampComponent.brightness of " + OBJECT_2 + ": " + BOTH));
    EXPECT_EQ(result.conflicts[0].base, element("brightness", "1"));
    EXPECT_EQ(result.conflicts[0].ours, element("brightness", "2"));
    EXPECT_EQ(result.conflicts[0].theirs, element("brightness", "3"));
    EXPECT_THAT(result.text, testing::HasSubstr("--><brightness>2</brightness>"));
}

TEST(Merge, theSameChangeOfBothSides_isNoConflict) {
    const MergeResult result =
        mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")), lampPrefab("Bulb", lamp("2")));
    EXPECT_EQ(result.text, lampPrefab("Bulb", lamp("2")));
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

TEST(Merge, escapesAndWhiteSpaceBetweenElements_areNoChanges) {
    const MergeResult result = mergePrefabs(lampPrefab("Lamp", element("sign", "a&lt;b")),
                                            lampPrefab("Lamp", element("sign", cdata("a<b")) + "\n"),
                                            lampPrefab("Lamp", element("sign", "a<!-- -->&lt;c")));
    EXPECT_EQ(result.text, lampPrefab("Lamp", element("sign", "a<!-- -->&lt;c") + "\n"));
}

TEST(Merge, propertiesThatBothSidesAdd_areBothKept) {
    const MergeResult result = mergePrefabs(lampPrefab("Lamp", ""), lampPrefab("Lamp", element("glow", "1")),
                                            lampPrefab("Lamp", element("tint", "2")));
    EXPECT_EQ(result.text, lampPrefab("Lamp", element("glow", "1") + element("tint", "2")));
}

TEST(Merge, objectsThatBothSidesAdd_areBothKeptWithTheirComponents) {
    PrefabText base;
    base.root(id(1), "Pier");
    PrefabText ours = base;
    ours.component("TagComponent", ours.child(id(2), "Lamp", id(1)), element("tag", "ours"));
    PrefabText theirs = base;
    theirs.component("TagComponent", theirs.child(id(3), "Mast", id(1)), element("tag", "theirs"));
    PrefabText both = base;
    both.component("TagComponent", both.child(id(2), "Lamp", id(1)), element("tag", "ours"));
    both.component("TagComponent", both.child(id(3), "Mast", id(1)), element("tag", "theirs"));
    const MergeResult result = mergePrefabs(base.text(), ours.text(), theirs.text());
    EXPECT_EQ(result.text, both.text());
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

TEST(Merge, removalOfAnObject_changesTheIndicesOfTheOthers) {
    PrefabText base;
    base.root(id(1), "Pier");
    base.child(id(2), "Lamp", id(1));
    base.child(id(3), "Mast", id(1));
    PrefabText ours;
    ours.root(id(1), "Jetty");
    ours.child(id(2), "Lamp", id(1));
    ours.child(id(3), "Mast", id(1));
    PrefabText theirs;
    theirs.root(id(1), "Pier");
    theirs.child(id(3), "Mast", id(1));
    PrefabText merged;
    merged.root(id(1), "Jetty");
    merged.child(id(3), "Mast", id(1));
    EXPECT_EQ(mergePrefabs(base.text(), ours.text(), theirs.text()).text, merged.text());
}

TEST(Merge, removalOfAnObjectThatTheOtherSideChanges_isAConflict) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    const MergeResult result =
        mergePrefabs(lampPrefab("Lamp", lamp("1")), removed.text(), lampPrefab("Lamp", lamp("2")));
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("game object " + OBJECT_2 +
                                                          ": one side has removed it, the other has changed it"));
    EXPECT_EQ(result.conflicts[0].ours, std::nullopt);
    EXPECT_THAT(result.conflicts[0].theirs, testing::Optional(testing::HasSubstr("<brightness>2</brightness>")));
}

TEST(Merge, removalOfAnObjectUnderWhichTheOtherSideAddsOne_isAConflictOfBoth) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    PrefabText theirs = removed;
    theirs.child(id(2), "Lamp", id(1));
    theirs.child(id(3), "Bulb", id(2));
    PrefabText base = removed;
    base.child(id(2), "Lamp", id(1));
    const MergeResult result = mergePrefabs(base.text(), removed.text(), theirs.text());
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("game object " + OBJECT_2 + ": " + NEEDED,
                                                          "game object " + OBJECT_3 + ": " + NEEDED));
}

TEST(Merge, removalOfAnObjectToWhichTheOtherSideAddsALink_isAConflictOfBoth) {
    PrefabText base;
    base.root(id(1), "Pier");
    PrefabText ours = base;
    ours.component("TagComponent", 0, element("target", OBJECT_2));
    ours.child(id(2), "Lamp", id(1));
    const std::string theirs = base.component("TagComponent", 0, element("target", "")).text();
    base.child(id(2), "Lamp", id(1));
    PrefabText linked;
    linked.root(id(1), "Pier");
    linked.component("TagComponent", 0, element("target", OBJECT_2));
    linked.child(id(2), "Lamp", id(1));
    const MergeResult result = mergePrefabs(base.text(), linked.text(), theirs);
    EXPECT_THAT(conflictsOf(result),
                testing::ElementsAre("game object " + OBJECT_2 + ": " + NEEDED,
                                     "TagComponent.target of " + id(1).toString() + ": " + NEEDED));
}

TEST(Merge, movesThatMakeACycleTogether_areConflicts) {
    const auto prefab = [](std::uint64_t parentOf2, std::uint64_t parentOf3) {
        PrefabText text;
        text.root(id(1), "Pier");
        text.child(id(2), "Lamp", id(parentOf2));
        text.child(id(3), "Mast", id(parentOf3));
        return text.text();
    };
    const MergeResult result = mergePrefabs(prefab(1, 1), prefab(3, 1), prefab(1, 2));
    const std::string reason = ": together with a change of the other side it makes a cycle of parents";
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("HierarchyComponent.parent of " + OBJECT_2 + reason,
                                                          "HierarchyComponent.parent of " + OBJECT_3 + reason));
}

TEST(Merge, rootsThatBothSidesAdd_areConflicts) {
    const auto prefab = [](std::uint64_t root) {
        PrefabText text;
        text.root(id(root), "Top");
        text.child(id(1), "Pier", id(root));
        return text.text();
    };
    PrefabText base;
    base.root(id(1), "Pier");
    const MergeResult result = mergePrefabs(base.text(), prefab(2), prefab(3));
    EXPECT_THAT(conflictsOf(result),
                testing::Contains("game object " + OBJECT_3 +
                                  ": together with a change of the other side it makes a second root"));
    EXPECT_THAT(conflictsOf(result),
                testing::Contains("HierarchyComponent.parent of " + id(1).toString() + ": " + BOTH));
}

TEST(Merge, aNewRoot_isTheFirstObject) {
    PrefabText base;
    base.root(id(1), "Pier");
    PrefabText ours;
    ours.root(id(1), "Jetty");
    PrefabText theirs;
    theirs.root(id(2), "Harbour");
    theirs.child(id(1), "Pier", id(2));
    PrefabText merged;
    merged.root(id(2), "Harbour");
    merged.child(id(1), "Jetty", id(2));
    EXPECT_EQ(mergePrefabs(base.text(), ours.text(), theirs.text()).text, merged.text());
}

TEST(Merge, aChangeOfAValueInAPoolOfAnotherVersion_isAConflict) {
    const MergeResult result =
        mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")), lampPrefab("Lamp", lamp("1"), 2));
    const std::string reason = ": one side has changed the version of the component's data, the other its data";
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("version of the pool of LampComponent" + reason,
                                                          "LampComponent.brightness of " + OBJECT_2 + reason));
}

TEST(Merge, commentsAndUnknownElements_areMerged) {
    const auto prefab = [](const std::string& rest) { return PrefabText().object(id(1), "Pier").raw(rest).text(); };
    const MergeResult result =
        mergePrefabs(prefab("<!-- a --><editor>1</editor>"), prefab("<!-- a --><!-- b --><editor>1</editor>"),
                     prefab("<editor>2</editor><!-- c -->"));
    EXPECT_EQ(result.text, prefab("<!-- b --><editor>2</editor><!-- c -->"));
}

TEST(Merge, indentationAndLineEndsOfTheirs_becomeThoseOfOurs) {
    const std::string before = "<prefab>\n  <formatVersion>1</formatVersion>\n  <gameObjects>\n";
    const std::string first = "    <gameObject>\n      <uuid>" + id(1).toString() + "</uuid>\n    </gameObject>\n";
    const std::string after = "  </gameObjects>\n</prefab>\n";
    const std::string renamed =
        "    <gameObject>\n      <uuid>" + id(1).toString() + "</uuid>\n      <name>Pier</name>\n    </gameObject>\n";
    const std::string theirs =
        "<prefab>\r\n<formatVersion>1</formatVersion>\r\n<gameObjects>\r\n<gameObject>\r\n<uuid>" + id(1).toString() +
        "</uuid>\r\n</gameObject>\r\n<gameObject>\r\n\t<uuid>" + OBJECT_2 +
        "</uuid>\r\n\t<name>two\r\nlines</name>\r\n</gameObject>\r\n</gameObjects>\r\n</prefab>";
    const MergeResult result = mergePrefabs(before + first + after, before + renamed + after, theirs);
    // It is a root, which comes first.
    EXPECT_EQ(result.text, before + "    <gameObject>\n    \t<uuid>" + OBJECT_2 +
                               "</uuid>\n    \t<name>two\r\nlines</name>\n    </gameObject>\n" + renamed + after);
}

TEST(Merge, aFileThatIsNotWellFormed_isAConflictAsAWhole) {
    const std::string broken = "<prefab><gameObjects>";
    const std::string ours = lampPrefab("Lamp", lamp("2"));
    const MergeResult result = mergePrefabs(lampPrefab("Lamp", lamp("1")), ours, broken);
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("the whole file: one side is not well-formed XML"));
    EXPECT_THAT(result.text, testing::StartsWith(ours));
    EXPECT_EQ(resolveConflicts(result.text, {Preference::THEIRS, std::nullopt}).text, broken);
    EXPECT_EQ(resolveConflicts(result.text, {Preference::OURS, std::nullopt}).text, ours + "\n");
}

TEST(Merge, objectsWithTheSameUuid_areAConflictAsAWhole) {
    const std::string twice = PrefabText().object(id(1), "Pier").object(id(1), "Copy").text();
    const MergeResult result =
        mergePrefabs(PrefabText().object(id(1), "Pier").text(), PrefabText().object(id(1), "Jetty").text(), twice);
    EXPECT_THAT(
        conflictsOf(result),
        testing::ElementsAre("the whole file: one side has several game objects with the UUID " + id(1).toString()));
}

TEST(Merge, componentsOfOneTypeOnOneObject_areToldApartByTheirOrder) {
    const auto prefab = [](const std::string& first, const std::string& second) {
        return PrefabText()
            .object(id(1), "Pier")
            .component("TagComponent", 0, element("tag", first))
            .component("TagComponent", 0, element("tag", second))
            .text();
    };
    EXPECT_EQ(mergePrefabs(prefab("a", "b"), prefab("c", "b"), prefab("a", "d")).text, prefab("c", "d"));
}

TEST(Merge, anEmptyBase_keepsTheObjectsOfBothSides) {
    PrefabText ours;
    ours.root(id(1), "Pier");
    PrefabText theirs = ours;
    theirs.child(id(2), "Lamp", id(1));
    const MergeResult result = mergePrefabs("", ours.text(), theirs.text());
    EXPECT_EQ(result.text, theirs.text());
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

/// The result of a merge in which the brightness 1 became 2 on one side and 3 on the other, which is a conflict.
[[nodiscard]] std::string undecidedLamp() {
    return mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")), lampPrefab("Lamp", lamp("3")))
        .text;
}

const std::string BASE_CONFLICT = "the common ancestor holds a conflict about it";

TEST(Merge, aBaseWithAConflict_isNotTheValueOfOneSide) {
    for (const auto& [ours, theirs] : {std::pair("2", "3"), std::pair("3", "2"), std::pair("2", "4")}) {
        const MergeResult result =
            mergePrefabs(undecidedLamp(), lampPrefab("Lamp", lamp(ours)), lampPrefab("Lamp", lamp(theirs)));
        EXPECT_THAT(conflictsOf(result),
                    testing::ElementsAre("LampComponent.brightness of " + OBJECT_2 + ": " + BASE_CONFLICT));
        EXPECT_THAT(result.text, testing::HasSubstr(element("brightness", ours)));
    }
}

TEST(Merge, aConflictOfTheBaseThatBothSidesHaveDecidedAlike_isNone) {
    const MergeResult result =
        mergePrefabs(undecidedLamp(), lampPrefab("Lamp", lamp("3", "blue")), lampPrefab("Lantern", lamp("3")));
    EXPECT_EQ(result.text, lampPrefab("Lantern", lamp("3", "blue")));
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

TEST(Merge, aConflictOfTheBaseThatOneSideKeeps_isDecidedByTheOther) {
    std::string kept = undecidedLamp();
    const std::string name = element("name", "Lamp");
    kept.replace(kept.find(name), name.size(), element("name", "Lantern"));
    const MergeResult result = mergePrefabs(undecidedLamp(), kept, lampPrefab("Lamp", lamp("3")));
    EXPECT_EQ(result.text, lampPrefab("Lantern", lamp("3")));
    EXPECT_THAT(conflictsOf(result), testing::IsEmpty());
}

TEST(Merge, aConflictOfTheBaseAboutAnObject_isOneOfItsParts) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    const std::string base =
        mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")), removed.text()).text;
    const MergeResult result = mergePrefabs(base, lampPrefab("Lamp", lamp("2")), lampPrefab("Lamp", lamp("3")));
    EXPECT_THAT(conflictsOf(result),
                testing::ElementsAre("LampComponent.brightness of " + OBJECT_2 + ": " + BASE_CONFLICT));
}

TEST(Merge, aConflictOfTheBaseThatCannotBeRead_concernsTheWholeFile) {
    std::string base = undecidedLamp();
    const std::string version = "{\"version\":1,";
    base.replace(base.find(version), version.size(), "{\"version\":99,");
    const MergeResult result = mergePrefabs(base, lampPrefab("Lamp", lamp("2", "blue")), lampPrefab("Lamp", lamp("2")));
    EXPECT_THAT(conflictsOf(result),
                testing::ElementsAre("LampComponent.colour of " + OBJECT_2 + ": " + BASE_CONFLICT));
}

TEST(Merge, aProblemThatNeitherSideHas_isAConflict) {
    MergeOptions options;
    options.findProblems = [](std::string_view text) {
        const bool isBoth =
            text.find("<brightness>2") != std::string_view::npos && text.find("<colour>blue") != std::string_view::npos;
        return isBoth ? std::vector<Problem>{{"bright", id(2), "too bright"}} : std::vector<Problem>{};
    };
    const MergeResult result = mergePrefabs(lampPrefab("Lamp", lamp("1")), lampPrefab("Lamp", lamp("2")),
                                            lampPrefab("Lamp", lamp("1", "blue")), options);
    const std::string reason = ": together with a change of the other side it brings the problem too bright";
    EXPECT_THAT(conflictsOf(result), testing::ElementsAre("LampComponent.brightness of " + OBJECT_2 + reason,
                                                          "LampComponent.colour of " + OBJECT_2 + reason));
}

TEST(Merge, removalOfAnIntegrationPointWhoseInsideIsAParentOnTheOtherSide_isAConflictOfBoth) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    PrefabText base = removed;
    base.nested(id(2), "Lamp", id(1), "lamp.prefab");
    PrefabText added = base;
    added.child(id(3), "Moth", Uuid::combine(id(2), id(9)));
    for (const auto& [ours, theirs] :
         {std::pair(removed.text(), added.text()), std::pair(added.text(), removed.text())}) {
        const MergeResult result = mergePrefabs(base.text(), ours, theirs);
        EXPECT_THAT(conflictsOf(result), testing::UnorderedElementsAre("game object " + OBJECT_2 + ": " + NEEDED,
                                                                       "game object " + OBJECT_3 + ": " + NEEDED));
    }
}

TEST(Merge, removalOfTheNestingOfAnObjectWhoseInsideIsAParentOnTheOtherSide_isAConflictOfBoth) {
    PrefabText removed;
    removed.root(id(1), "Pier");
    removed.child(id(2), "Lamp", id(1));
    PrefabText base = removed;
    base.nest(1, "lamp.prefab");
    PrefabText added = base;
    added.child(id(3), "Moth", Uuid::combine(id(2), id(9)));
    const MergeResult result = mergePrefabs(base.text(), removed.text(), added.text());
    EXPECT_THAT(conflictsOf(result), testing::Contains("PrefabComponent of " + OBJECT_2 + ": " + NEEDED));
    EXPECT_THAT(conflictsOf(result), testing::Contains("game object " + OBJECT_3 + ": " + NEEDED));
}

TEST(Merge, anOtherNestedPrefabWithoutTheParentOfTheOtherSide_isAConflictByTheCheck) {
    TestSupport::TemporaryDirectory directory;
    FS::Utils::addResourceRoot(directory.path().string());
    directory.writeFile("lamp.prefab", PrefabText().object(id(9), "Bulb").text());
    directory.writeFile("mast.prefab", PrefabText().object(id(8), "Mast").text());
    const auto nesting = [](const std::string& resource, bool hasMoth) {
        PrefabText prefab;
        prefab.root(id(1), "Pier");
        prefab.nested(id(2), "Lamp", id(1), resource);
        if (hasMoth) {
            prefab.child(id(3), "Moth", Uuid::combine(id(2), id(9)));
        }
        return prefab.text();
    };
    MergeOptions options;
    options.findProblems = checkingProblems("merged.prefab");
    const MergeResult result = mergePrefabs(nesting("lamp.prefab", false), nesting("mast.prefab", false),
                                            nesting("lamp.prefab", true), options);
    FS::Utils::clearResourceRoots();
    const std::string reason =
        ": together with a change of the other side it brings the problem KP0408 parent-not-found";
    EXPECT_THAT(conflictsOf(result), testing::UnorderedElementsAre("PrefabComponent.resource of " + OBJECT_2 + reason,
                                                                   "game object " + OBJECT_3 + reason));
}

} // namespace
} // namespace Kiln::PrefabMerging
