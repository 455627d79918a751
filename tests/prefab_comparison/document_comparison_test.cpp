#include "comparison_fixture.h"

namespace Kiln::PrefabComparisonTests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

[[nodiscard]] PrefabText twoObjects() {
    return PrefabText().object(id(1), "Harbour").object(id(2), "Lamp").parent(1, id(1));
}

/// Two objects and a component of the second one.
[[nodiscard]] PrefabText withPlate(const std::string& properties) {
    return twoObjects().component("PlateComponent", 1, properties);
}

/// Two objects and a component of a type that is not registered.
[[nodiscard]] PrefabText withUnknown(const std::string& properties) {
    return twoObjects().component("LanternComponent", 1, properties);
}

[[nodiscard]] PrefabText nesting(const std::string& overrides) {
    return PrefabText()
        .object(id(1), "Harbour")
        .object(id(2), "Point")
        .parent(1, id(1))
        .nest(1, "lamp.prefab", overrides);
}

TEST(DocumentComparison, sameText_hasNoChange) {
    EXPECT_THAT(changesBetween(withPlate(element("width", "7")), withPlate(element("width", "7"))), IsEmpty());
}

TEST(DocumentComparison, orderOfObjectsPoolsAndItems_doesNotCount) {
    PrefabText a;
    a.object(id(1), "A").object(id(2), "B").object(id(3), "C").parent(1, id(1)).parent(2, id(1));
    a.component("PlateComponent", 1, element("width", "1")).component("PlateComponent", 2, element("width", "2"));
    PrefabText b;
    b.object(id(1), "A").object(id(3), "C").object(id(2), "B");
    b.component("PlateComponent", 1, element("width", "2")).component("PlateComponent", 2, element("width", "1"));
    b.parent(2, id(1)).newPool("HierarchyComponent").parent(1, id(1));
    EXPECT_THAT(changesBetween(a, b), IsEmpty());
}

TEST(DocumentComparison, spelling_doesNotCount) {
    const std::string a = "<prefab><formatVersion>1</formatVersion><gameObjects><gameObject><uuid>"
                          "0000000A-0000-0000-0000-000000000001</uuid><name>A &amp; B</name></gameObject></gameObjects>"
                          "<components><pool><type>PlateComponent</type><item><gameObject>0</gameObject><properties>"
                          "<width>7</width><text>t</text></properties></item></pool></components></prefab>";
    const std::string b =
        "<?xml version=\"1.0\"?>\n<other note=\"1\">\n <formatVersion> 01 </formatVersion>\n <!-- comment -->\n"
        "<gameObjects><gameObject><name><![CDATA[A & B]]></name>\n<uuid> 0000000a-0000-0000-0000-000000000001\n</uuid>"
        "<flags>0</flags></gameObject></gameObjects><components><pool a=\"b\"><version>1</version>"
        "<type>PlateComponent</type><item><properties><text>t</text>\n<width> 007 </width></properties>"
        "<options>35</options><gameObject>00</gameObject></item></pool></components></other>\n";
    EXPECT_THAT(changesBetween(a, b), IsEmpty());
}

TEST(DocumentComparison, name_isARename) {
    EXPECT_THAT(
        changesBetween(twoObjects(), PrefabText().object(id(1), "Harbour").object(id(2), "Lantern").parent(1, id(1))),
        ElementsAre("object-renamed 2 Harbour/Lantern: Lamp -> Lantern"));
}

TEST(DocumentComparison, whiteSpaceInAName_counts) {
    EXPECT_THAT(
        changesBetween(twoObjects(), PrefabText().object(id(1), "Harbour").object(id(2), "Lamp ").parent(1, id(1))),
        ElementsAre("object-renamed 2 Harbour/Lamp : Lamp -> Lamp "));
}

TEST(DocumentComparison, flags_areAChangeOfFlags) {
    EXPECT_THAT(changesBetween(PrefabText().object(id(1), "A", 2), PrefabText().object(id(1), "A", 6)),
                ElementsAre("flags-changed 1 A: 2 -> 6"));
}

TEST(DocumentComparison, parent_isAMove) {
    const auto text = [](std::uint64_t parent) {
        return PrefabText()
            .object(id(1), "A")
            .object(id(2), "B")
            .object(id(3), "C")
            .parent(1, id(1))
            .parent(2, id(parent));
    };
    EXPECT_THAT(changesBetween(text(1), text(2)), ElementsAre("object-moved 3 A/B/C: 1 -> 2"));
}

TEST(DocumentComparison, newHierarchyComponent_isAMoveAndAComponent) {
    EXPECT_THAT(changesBetween(PrefabText().object(id(1), "A").object(id(2), "B"),
                               PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1))),
                ElementsAre("object-moved 2 A/B: none -> 1", "component-added 2 A/B HierarchyComponent"));
}

TEST(DocumentComparison, objects_areAddedAndRemovedByUuid) {
    EXPECT_THAT(
        changesBetween(twoObjects(), PrefabText().object(id(1), "Harbour").object(id(3), "Lamp").parent(1, id(1))),
        ElementsAre("object-added 3 Harbour/Lamp", "object-removed 2 Harbour/Lamp"));
}

TEST(DocumentComparison, components_areAddedAndRemovedByType) {
    EXPECT_THAT(changesBetween(withPlate(element("width", "3")), withUnknown("")),
                ElementsAre("component-added 2 Harbour/Lamp LanternComponent",
                            "component-removed 2 Harbour/Lamp PlateComponent"));
}

TEST(DocumentComparison, value_hasOldAndNew) {
    EXPECT_THAT(changesBetween(withPlate(element("width", "3") + element("text", "t")),
                               withPlate(element("text", "t") + element("width", "4"))),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .width: 3 -> 4"));
}

TEST(DocumentComparison, valueThatIsAbsent_differsFromTheDefault) {
    EXPECT_THAT(changesBetween(withPlate(""), withPlate(element("width", "3"))),
                ElementsAre("value-added 2 Harbour/Lamp PlateComponent .width: none -> 3"));
}

TEST(DocumentComparison, unreadableValue_equalsOnlyTheSameText) {
    EXPECT_THAT(changesBetween(withPlate(element("width", "wide")), withPlate(element("width", "wider"))),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .width: wide -> wider"));
    EXPECT_THAT(changesBetween(withPlate(element("width", "wide")), withPlate(element("width", " wide "))), IsEmpty());
}

TEST(DocumentComparison, whiteSpaceInAStringCounts) {
    EXPECT_THAT(changesBetween(withPlate(element("text", "a")), withPlate(element("text", "a "))),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .text: a -> a "));
}

TEST(DocumentComparison, membersAndElements_haveTheirPath) {
    const auto text = [](const char* colour, const char* size) {
        return withPlate(
            element("rows", element("value", element("colour", "red")) + element("value", element("colour", colour))) +
            element("style", element("size", size)));
    };
    EXPECT_THAT(changesBetween(text("red", "small"), text("green", "large")),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .rows[1].colour: red -> green",
                            "value-changed 2 Harbour/Lamp PlateComponent .style.size: small -> large"));
}

TEST(DocumentComparison, elementsOfAVector_areAddedAtItsEnd) {
    const std::string one = element("value", element("colour", "red"));
    EXPECT_THAT(changesBetween(withPlate(element("rows", one)), withPlate(element("rows", one + one))),
                ElementsAre("value-added 2 Harbour/Lamp PlateComponent .rows[1]: none -> {colour: red}"));
}

TEST(DocumentComparison, orderOfMembers_doesNotCount) {
    EXPECT_THAT(changesBetween(withPlate(element("style", element("size", "1") + element("colour", "2"))),
                               withPlate(element("style", element("colour", "2") + element("size", "1")))),
                IsEmpty());
}

TEST(DocumentComparison, numbersOfAnUnknownType_areTexts) {
    EXPECT_THAT(changesBetween(withUnknown(element("width", "3")), withUnknown(element("width", "3.0"))),
                ElementsAre("value-changed 2 Harbour/Lamp LanternComponent .width: 3 -> 3.0"));
}

TEST(DocumentComparison, indentationInAnUnknownType_doesNotCount) {
    EXPECT_THAT(changesBetween(withUnknown("<a><b>1</b><c/></a>"), withUnknown("<a>\n  <b>1</b>\n  <c>\n</c>\n</a>")),
                IsEmpty());
}

TEST(DocumentComparison, whiteSpaceAroundATextOfAnUnknownType_counts) {
    EXPECT_THAT(changesBetween(withUnknown("<a>1</a>"), withUnknown("<a>1 </a>")),
                ElementsAre("value-changed 2 Harbour/Lamp LanternComponent .a: 1 -> 1 "));
}

TEST(DocumentComparison, unknownPropertyOfAKnownType_isCompared) {
    EXPECT_THAT(changesBetween(withPlate(element("gloss", "1")), withPlate(element("gloss", "2"))),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .gloss: 1 -> 2"));
}

TEST(DocumentComparison, repeatedProperty_isComparedByItsNumber) {
    EXPECT_THAT(
        changesBetween(withPlate("<width>1</width><width>2</width>"), withPlate("<width>2</width><width>1</width>")),
        ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .width: 1 -> 2",
                    "value-changed 2 Harbour/Lamp PlateComponent .width: 2 -> 1"));
}

TEST(DocumentComparison, optionsAndVersion_areChangesOfTheirOwn) {
    const auto text = [](unsigned options, unsigned version) {
        return twoObjects().component("PlateComponent", 1, "", options).poolVersion("PlateComponent", version);
    };
    EXPECT_THAT(changesBetween(text(35, 1), text(1, 2)),
                ElementsAre("version-changed PlateComponent .version: 1 -> 2",
                            "options-changed 2 Harbour/Lamp PlateComponent .options: 35 -> 1"));
}

TEST(DocumentComparison, versionsOfSeveralPools_areComparedItemByItem) {
    const auto text = [](unsigned second) {
        PrefabText prefab = twoObjects();
        prefab.component("PlateComponent", 0).poolVersion("PlateComponent", 1);
        prefab.newPool("PlateComponent").component("PlateComponent", 1).poolVersion("PlateComponent", second);
        return prefab;
    };
    EXPECT_THAT(changesBetween(text(1), text(2)),
                ElementsAre("version-changed 2 Harbour/Lamp PlateComponent .version: 1 -> 2"));
}

TEST(DocumentComparison, emptyPool_counts) {
    PrefabText other = twoObjects();
    other.newPool("PlateComponent");
    EXPECT_THAT(changesBetween(twoObjects(), other),
                ElementsAre("document-changed PlateComponent .empty pool: none -> 1"));
}

TEST(DocumentComparison, nestedPrefab_isAKindOfItsOwn) {
    EXPECT_THAT(changesBetween(PrefabText().object(id(1), "A").nest(0, "a.prefab"),
                               PrefabText().object(id(1), "A").nest(0, "b.prefab")),
                ElementsAre("nested-prefab-changed 1 A PrefabComponent .resource: a.prefab -> b.prefab"));
}

TEST(DocumentComparison, overrides_areComparedByRecord) {
    const auto text = [](const char* width, std::uint64_t object) {
        return nesting(TestSupport::OverridesText()
                           .record(id(7), "PlateComponent", element("width", width))
                           .record(id(object), "PlateComponent", element("text", "t"))
                           .text());
    };
    EXPECT_THAT(changesBetween(text("1", 8), text("2", 9)),
                ElementsAre("override-changed 2 Harbour/Point PrefabComponent .width (7 PlateComponent width): 1 -> 2",
                            "override-removed 2 Harbour/Point PrefabComponent .text (8 PlateComponent text): t -> none",
                            "override-added 2 Harbour/Point PrefabComponent .text (9 PlateComponent text): none -> t"));
}

TEST(DocumentComparison, orderAndSpellingOfOverrides_doNotCount) {
    TestSupport::OverridesText a;
    a.record(id(7), "PlateComponent", element("width", "1") + element("text", "t")).record(id(8), "PlateComponent", "");
    TestSupport::OverridesText b;
    b.record(id(8), "PlateComponent", "").record(id(7), "PlateComponent", element("text", "t"));
    b.record(id(7), "PlateComponent", element("width", " 01\n"));
    EXPECT_THAT(changesBetween(nesting(a.text()), nesting("\n" + b.text() + "\n")), IsEmpty());
}

TEST(DocumentComparison, overridesInsideOfOverrides_areComparedByRecord) {
    const auto text = [](const char* width) {
        TestSupport::OverridesText inner;
        inner.record(id(9), "PlateComponent", element("width", width));
        TestSupport::OverridesText outer;
        return nesting(outer.record(id(7), "PrefabComponent", element("overridesData", inner.escapedText())).text());
    };
    EXPECT_THAT(changesBetween(text("1"), text("2")),
                ElementsAre("override-changed 2 Harbour/Point PrefabComponent .width (7 PrefabComponent overridesData) "
                            "(9 PlateComponent width): 1 -> 2"));
}

TEST(DocumentComparison, malformedOverrides_areAPlainText) {
    EXPECT_THAT(
        changesBetween(nesting("<overrides>"), nesting("<overrides/>")),
        ElementsAre("value-changed 2 Harbour/Point PrefabComponent .overridesData: <overrides> -> <overrides/>"));
    EXPECT_THAT(changesBetween(nesting("<overrides>"), nesting("<overrides>")), IsEmpty());
}

TEST(DocumentComparison, elementsThatAreIgnoredInOverrides_count) {
    const auto text = [](const char* note) {
        return nesting(element("overrides", element("note", note) + element("gameObject", element("note", note))));
    };
    EXPECT_THAT(changesBetween(text("1"), text("2")),
                ElementsAre("unused-content-changed 2 Harbour/Point PrefabComponent .note: 1 -> 2",
                            "unused-content-changed 2 Harbour/Point PrefabComponent .note: 1 -> 2"));
}

TEST(DocumentComparison, recordWithUnreadableUuid_isCompared) {
    const auto text = [](const char* width) {
        return nesting("<overrides><gameObject><uuid>lamp</uuid><component><type>PlateComponent</type><properties>" +
                       element("width", width) + "</properties></component></gameObject></overrides>");
    };
    EXPECT_THAT(
        changesBetween(text("1"), text("2")),
        ElementsAre("override-changed 2 Harbour/Point PrefabComponent .width (lamp PlateComponent width): 1 -> 2"));
}

TEST(DocumentComparison, repeatedOverride_isComparedByItsNumber) {
    const auto text = [](const char* first, const char* second) {
        return nesting(TestSupport::OverridesText()
                           .record(id(7), "PlateComponent", element("width", first))
                           .record(id(7), "PlateComponent", element("width", second))
                           .text());
    };
    EXPECT_THAT(
        changesBetween(text("1", "2"), text("2", "1")),
        ElementsAre("override-changed 2 Harbour/Point PrefabComponent .width (7 PlateComponent width): 1 -> 2",
                    "override-changed 2 Harbour/Point PrefabComponent .width (7 PlateComponent width #1): 2 -> 1"));
}

TEST(DocumentComparison, objectsWithTheSameUuid_areComparedByNameAndThenInOrder) {
    const auto text = [](const char* first, const char* second, unsigned flags) {
        return PrefabText().object(id(1), "A").object(id(2), first).object(id(2), second, flags);
    };
    EXPECT_THAT(changesBetween(text("B", "C", 0), text("C", "B", 0)), IsEmpty());
    EXPECT_THAT(changesBetween(text("B", "B", 0), text("B", "B", 2)), ElementsAre("flags-changed 2 B: 0 -> 2"));
    EXPECT_THAT(changesBetween(text("B", "C", 0), text("B", "D", 0)), ElementsAre("object-renamed 2 D: C -> D"));
}

TEST(DocumentComparison, objectsWithZeroOrUnreadableUuid_areCompared) {
    const auto text = [](const char* uuid, const char* name) {
        return "<prefab><formatVersion>1</formatVersion><gameObjects><gameObject><uuid>" + std::string(uuid) +
               "</uuid><name>" + name + "</name></gameObject></gameObjects></prefab>";
    };
    const char* const zero = "00000000-0000-0000-0000-000000000000";
    EXPECT_THAT(changesBetween(text(zero, "A"), text(zero, "B")), ElementsAre("object-renamed 0 B: A -> B"));
    EXPECT_THAT(changesBetween(text("lamp", "A"), text("lamp", "B")), ElementsAre("object-renamed lamp B: A -> B"));
    EXPECT_THAT(changesBetween(text("lamp", "A"), text(zero, "A")),
                ElementsAre("document-changed .first object: A lamp -> A 00000000-0000-0000-0000-000000000000",
                            "object-added 0 A", "object-removed lamp A"));
}

TEST(DocumentComparison, componentsOfOneType_areComparedInOrder) {
    const auto text = [](const char* first, const char* second) {
        return twoObjects()
            .component("PlateComponent", 1, element("width", first))
            .component("PlateComponent", 1, element("width", second));
    };
    EXPECT_THAT(changesBetween(text("1", "2"), text("2", "1")),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent .width: 1 -> 2",
                            "value-changed 2 Harbour/Lamp PlateComponent#1 .width: 2 -> 1"));
}

TEST(DocumentComparison, manyComponentsOfOneObject_areCompared) {
    const auto text = [](std::size_t changed) {
        PrefabText prefab = twoObjects();
        for (std::size_t i = 0; i < 40; ++i) {
            prefab.component("PlateComponent", 1, element("width", std::to_string(i == changed ? 99 : i)));
        }
        return prefab;
    };
    EXPECT_THAT(changesBetween(text(40), text(30)),
                ElementsAre("value-changed 2 Harbour/Lamp PlateComponent#30 .width: 30 -> 99"));
}

TEST(DocumentComparison, componentsOfMissingObjects_areComparedByTheirIndex) {
    const auto text = [](std::size_t index, const char* width) {
        return twoObjects().component("PlateComponent", index, element("width", width));
    };
    EXPECT_THAT(changesBetween(text(9, "1"), text(9, "2")),
                ElementsAre("value-changed 9 PlateComponent .width: 1 -> 2"));
    EXPECT_THAT(changesBetween(text(9, "1"), text(8, "1")),
                ElementsAre("component-added 8 PlateComponent", "component-removed 9 PlateComponent"));
}

TEST(DocumentComparison, documentsThatAreNotLoaded_areCompared) {
    EXPECT_THAT(changesBetween(twoObjects(), twoObjects().formatVersion(2)),
                ElementsAre("document-changed .format version: 1 -> 2"));
    EXPECT_THAT(changesBetween(twoObjects().formatVersion(2), twoObjects().formatVersion(2)), IsEmpty());
    EXPECT_THAT(changesBetween(PrefabText(), PrefabText().withoutGameObjectPool()),
                ElementsAre("document-changed .list of game objects: present -> absent"));
}

TEST(DocumentComparison, firstObject_counts) {
    EXPECT_THAT(changesBetween(PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)),
                               PrefabText().object(id(2), "B").object(id(1), "A").parent(0, id(1))),
                ElementsAre("document-changed .first object: A 00000000-0000-0000-0000-000000000001 -> A/B "
                            "00000000-0000-0000-0000-000000000002"));
}

TEST(DocumentComparison, elementsThatTheLoaderIgnores_count) {
    const auto text = [](const char* note) {
        const std::string added = element("note", note);
        return "<prefab><formatVersion>1</formatVersion>" + added + "<gameObjects>" + added + "<gameObject>" +
               element("uuid", id(1).toString()) + added + "</gameObject></gameObjects><components><pool>" + added +
               "<type>PlateComponent</type><item><gameObject>0</gameObject>" + added +
               "</item></pool></components></prefab>";
    };
    EXPECT_THAT(
        changesBetween(text("1"), text("2")),
        ElementsAre("unused-content-changed .note: 1 -> 2", "unused-content-changed .note: 1 -> 2",
                    "unused-content-changed PlateComponent .note: 1 -> 2",
                    "unused-content-changed 1 00000000-0000-0000-0000-000000000001 .note: 1 -> 2",
                    "unused-content-changed 1 00000000-0000-0000-0000-000000000001 PlateComponent .note: 1 -> 2"));
    EXPECT_THAT(changesBetween(text("1"), text("1")), IsEmpty());
}

TEST(DocumentComparison, byteOrderMark_doesNotCount) {
    const std::string text = withPlate(element("width", "3")).text();
    EXPECT_THAT(changesBetween(text, "\xEF\xBB\xBF" + text), IsEmpty());
}

TEST(DocumentComparison, insertedObject_doesNotChangeTheOthers) {
    PrefabText a = twoObjects();
    a.object(id(4), "C").parent(2, id(1)).component("PlateComponent", 1, element("width", "1"));
    a.component("PlateComponent", 2, element("width", "2"));
    PrefabText b;
    b.object(id(1), "Harbour").object(id(3), "New").object(id(2), "Lamp").object(id(4), "C");
    b.parent(1, id(1)).parent(2, id(1)).parent(3, id(1));
    b.component("PlateComponent", 2, element("width", "1")).component("PlateComponent", 3, element("width", "2"));
    EXPECT_THAT(changesBetween(a, b), ElementsAre("object-added 3 Harbour/New"));
}

TEST(LoadedDocument, textThatIsNotWellFormed_isAProblemWithItsLine) {
    const LoadedDocument document("a.prefab", FileContent::copyOf("<prefab>\n</gone>"));
    EXPECT_THAT(document.problem(), testing::StartsWith("a.prefab:2: the file is not well formed: "));
}

} // namespace

} // namespace Kiln::PrefabComparisonTests
