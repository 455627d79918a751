#include "composition_fixture.h"

namespace Kiln::PrefabInspection {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* PLATE = "PlateComponent";

/// A prefab with the root "Lamp" that has a plate.
[[nodiscard]] PrefabText lamp(const std::string& properties = {}) {
    return PrefabText().object(id(31), "Lamp").component(PLATE, 0, properties);
}

/// A prefab with the root "Crane" and the integration point "Light" for lamp.prefab.
[[nodiscard]] PrefabText crane(const std::string& overrides = {}) {
    return PrefabText()
        .object(id(21), "Crane")
        .object(id(22), "Light")
        .parent(1, id(21))
        .nest(1, "lamp.prefab", overrides);
}

/// A prefab with the root "Quay" and the integration point "Tool" for crane.prefab.
[[nodiscard]] PrefabText quay(const std::string& overrides) {
    return PrefabText()
        .object(id(11), "Quay")
        .object(id(12), "Tool")
        .parent(1, id(11))
        .nest(1, "crane.prefab", overrides);
}

/// Override data for lamp.prefab.
[[nodiscard]] OverridesText forLamp(const std::string& properties) {
    return OverridesText().record(id(31), PLATE, properties);
}

/// Override data for crane.prefab that gives its integration point override data.
[[nodiscard]] std::string forLight(const OverridesText& inner) {
    return OverridesText().record(id(22), "PrefabComponent", element("overridesData", inner.escapedText())).text();
}

class ComposedValuesTest : public CompositionFixture {
protected:
    const std::string LIGHT = "Quay/Tool/Light";
};

TEST_F(ComposedValuesTest, valueThatNoFileSets_isTheDefault) {
    write("lamp.prefab", lamp());
    compose("lamp.prefab");
    EXPECT_THAT(layers("Lamp", PLATE, "text"), ElementsAre("default = plain, wins"));
    EXPECT_THAT(layers("Lamp", PLATE, "width"), ElementsAre("default = 3, wins"));
    EXPECT_EQ(text("Lamp", PLATE, "width"), "3");
}

TEST_F(ComposedValuesTest, layers_leadFromTheDefaultToTheOutermostOverride) {
    write("lamp.prefab", lamp("\n" + element("text", "file")));
    write("crane.prefab", crane("\n\n" + forLamp(element("text", "crane")).text()));
    write("quay.prefab", quay("\n\n\n" + forLight(forLamp(element("text", "quay")))));
    compose("quay.prefab");
    EXPECT_THAT(layers(LIGHT, PLATE, "text"),
                ElementsAre("default = plain, overridden", "file lamp.prefab:2 = file, overridden",
                            "override crane.prefab:3 = crane, overridden", "override quay.prefab:4 = quay, wins"));
    EXPECT_EQ(text(LIGHT, PLATE, "text"), "quay");
}

TEST_F(ComposedValuesTest, overridesOfThePointsFile_applyToWhatOuterOnesDoNotSet) {
    write("lamp.prefab", lamp());
    write("crane.prefab", crane(forLamp(element("width", "7") + element("text", "crane")).text()));
    write("quay.prefab", quay(forLight(forLamp(element("text", "quay")))));
    compose("quay.prefab");
    EXPECT_EQ(text(LIGHT, PLATE, "text"), "quay");
    EXPECT_EQ(text(LIGHT, PLATE, "width"), "7");
}

TEST_F(ComposedValuesTest, overrideDataThatAnOuterFileReplaces_hasNoEffect) {
    write("lamp.prefab", lamp());
    write("crane.prefab", crane());
    write("quay.prefab", quay(forLight(forLamp(element("width", "7") + element("text", "quay")))));
    write("town.prefab", PrefabText()
                             .object(id(1), "Town")
                             .object(id(2), "South")
                             .parent(1, id(1))
                             .nest(1, "quay.prefab",
                                   OverridesText()
                                       .record(id(12), "PrefabComponent",
                                               element("overridesData",
                                                       "&lt;overrides>&lt;gameObject>&lt;uuid>" + id(22).toString() +
                                                           "&lt;/uuid>&lt;component>&lt;type>PrefabComponent&lt;/type>"
                                                           "&lt;properties>&lt;overridesData>"
                                                           "&amp;lt;overrides>&amp;lt;gameObject>&amp;lt;uuid>" +
                                                           id(31).toString() +
                                                           "&amp;lt;/uuid>&amp;lt;component>&amp;lt;type>PlateComponent"
                                                           "&amp;lt;/type>&amp;lt;properties>&amp;lt;text>town&amp;lt;/"
                                                           "text>&amp;lt;/properties>&amp;lt;/component>&amp;lt;/"
                                                           "gameObject>&amp;lt;/overrides>"
                                                           "&lt;/overridesData>&lt;/properties>&lt;/component>"
                                                           "&lt;/gameObject>&lt;/overrides>"))
                                       .text()));
    compose("town.prefab");
    EXPECT_THAT(layers("Town/South/Tool/Light", PLATE, "text"),
                ElementsAre("default = plain, overridden", "override quay.prefab:1 = quay, replaced",
                            "override town.prefab:1 = town, wins"));
    EXPECT_THAT(layers("Town/South/Tool/Light", PLATE, "width"),
                ElementsAre("default = 3, wins", "override quay.prefab:1 = 7, replaced"));
}

TEST_F(ComposedValuesTest, unreadableText_isIgnored) {
    write("lamp.prefab", lamp(element("width", "wide")));
    compose("lamp.prefab");
    EXPECT_THAT(layers("Lamp", PLATE, "width"),
                ElementsAre("default = 3, wins", "file lamp.prefab:1 = wide, unreadable"));
    EXPECT_EQ(text("Lamp", PLATE, "width"), "3");
}

TEST_F(ComposedValuesTest, whiteSpace_belongsToStringsAlone) {
    write("lamp.prefab", lamp(element("width", " 5 ") + element("text", " a ")));
    compose("lamp.prefab");
    EXPECT_EQ(text("Lamp", PLATE, "width"), "5");
    EXPECT_EQ(text("Lamp", PLATE, "text"), " a ");
}

TEST_F(ComposedValuesTest, structure_isOverriddenByMember) {
    write("lamp.prefab", lamp(element("style", element("colour", "red") + element("size", "big"))));
    write("crane.prefab", crane(forLamp(element("style", element("size", "small"))).text()));
    compose("crane.prefab");
    EXPECT_EQ(text("Crane/Light", PLATE, "style.colour"), "red");
    EXPECT_EQ(text("Crane/Light", PLATE, "style.size"), "small");
    EXPECT_THAT(layers("Crane/Light", PLATE, "style.size"),
                ElementsAre("default = , overridden", "file lamp.prefab:1 = big, overridden",
                            "override crane.prefab:1 = small, wins"));
}

TEST_F(ComposedValuesTest, vector_isReplacedAsAWhole) {
    const std::string rows = element("value", element("colour", "red")) + element("value", element("size", "big"));
    write("lamp.prefab", lamp(element("rows", rows)));
    write("crane.prefab", crane(forLamp(element("rows", element("value", element("size", "small")))).text()));
    compose("lamp.prefab");
    EXPECT_EQ(text("Lamp", PLATE, "rows[0].colour"), "red");
    EXPECT_EQ(text("Lamp", PLATE, "rows[1].size"), "big");
    compose("crane.prefab");
    EXPECT_EQ(text("Crane/Light", PLATE, "rows[0].colour"), "");
    EXPECT_EQ(text("Crane/Light", PLATE, "rows[0].size"), "small");
    EXPECT_EQ(text("Crane/Light", PLATE, "rows[1].size"), "?");
    EXPECT_THAT(layers("Crane/Light", PLATE, "rows"),
                ElementsAre("default = 0, overridden", "file lamp.prefab:1 = 2, overridden",
                            "override crane.prefab:1 = 1, wins"));
}

TEST_F(ComposedValuesTest, resourceOfTheRoot_isSetByLoading) {
    write("lamp.prefab", lamp().component("PrefabComponent", 0, element("resource", "other.prefab")));
    compose("lamp.prefab");
    EXPECT_THAT(layers("Lamp", "PrefabComponent", "resource"),
                ElementsAre("default = , overridden", "file lamp.prefab:1 = other.prefab, overridden",
                            "loading = lamp.prefab, wins"));
}

TEST_F(ComposedValuesTest, outerOverrideOfAResource_nestsAnotherPrefab) {
    write("lamp.prefab", lamp());
    write("torch.prefab", PrefabText().object(id(41), "Torch").object(id(42), "Flame").parent(1, id(41)));
    write("crane.prefab", crane());
    write("quay.prefab",
          quay(OverridesText().record(id(22), "PrefabComponent", element("resource", "torch.prefab")).text()));
    compose("quay.prefab");
    EXPECT_THAT(paths(), ElementsAre("Quay", "Quay/Tool", "Quay/Tool/Light", "Quay/Tool/Light/Flame"));
    EXPECT_EQ(text(LIGHT, "PrefabComponent", "resource"), "torch.prefab");
}

TEST_F(ComposedValuesTest, overridesOfTheZeroUuid_applyToTheFirstObjectAlone) {
    write("lamp.prefab", lamp());
    const std::string zero = OverridesText().record(Uuid::ZERO, PLATE, element("text", "zero")).text();
    write("crane.prefab", PrefabText()
                              .object(id(21), "Light")
                              .object(id(22), "Crane")
                              .object(id(23), "Light 2")
                              .parent(0, id(22))
                              .parent(2, id(22))
                              .nest(0, "lamp.prefab", zero)
                              .nest(2, "lamp.prefab", zero));
    compose("crane.prefab");
    EXPECT_EQ(text("Crane/Light", PLATE, "text"), "zero");
    EXPECT_EQ(text("Crane/Light 2", PLATE, "text"), "plain");
}

TEST_F(ComposedValuesTest, overrideDataOfOneInstance_leavesOthersAlone) {
    write("lamp.prefab", lamp());
    write("crane.prefab", crane(forLamp(element("text", "changed")).text())
                              .object(id(23), "Light 2")
                              .parent(2, id(21))
                              .nest(2, "lamp.prefab"));
    compose("crane.prefab");
    EXPECT_EQ(text("Crane/Light", PLATE, "text"), "changed");
    EXPECT_EQ(text("Crane/Light 2", PLATE, "text"), "plain");
}

TEST_F(ComposedValuesTest, malformedOverrideData_isReportedOnceAndIgnored) {
    write("lamp.prefab", lamp());
    write("crane.prefab", crane("\n<overrides>"));
    write("quay.prefab", quay({}).object(id(13), "Tool 2").parent(2, id(11)).nest(2, "crane.prefab"));
    compose("quay.prefab");
    EXPECT_EQ(text(LIGHT, PLATE, "text"), "plain");
    EXPECT_THAT(problems(), ElementsAre(testing::StartsWith("crane.prefab:2: the override data is not well formed: ")));
}

TEST_F(ComposedValuesTest, overrideDataWithAnotherRoot_isIgnored) {
    write("lamp.prefab", lamp());
    write("crane.prefab", crane("<changes></changes>"));
    compose("crane.prefab");
    EXPECT_THAT(problems(), ElementsAre("crane.prefab:1: the root of the override data is 'changes' instead of "
                                        "'overrides'"));
}

TEST_F(ComposedValuesTest, pathsToNothing_findNothing) {
    write("lamp.prefab", lamp(element("rows", element("value", element("size", "big")))));
    compose("lamp.prefab");
    const std::vector<ComposedValue> all = values("Lamp", PLATE);
    for (const char* const path : {"", "rows[1]", "rows[x]", "rows[0", "rows.size", "rows[0].", "text[0]", "text.a",
                                   "style..size", "rows[0].size.x"}) {
        EXPECT_EQ(findValue(all, path), nullptr) << path;
    }
    EXPECT_NE(findValue(all, "rows[0].size"), nullptr);
    EXPECT_NE(findValue(all, "style"), nullptr);
}

TEST_F(ComposedValuesTest, componentThatTheRolesExclude_isLeftOut) {
    write("lamp.prefab", PrefabText().object(id(31), "Lamp").component(PLATE, 0, {}, 0U));
    compose("lamp.prefab");
    EXPECT_THAT(componentTypes("Lamp"), ElementsAre("added"));
    EXPECT_THAT(problems(), IsEmpty());
}

} // namespace

} // namespace Kiln::PrefabInspection
