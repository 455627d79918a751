#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

class ExplainCommand : public KilnPrefabFixture {
protected:
    ExplainCommand() {
        write("lamp.prefab", PrefabText()
                                 .object(id(11), "Lamp")
                                 .object(id(12), "Bulb")
                                 .parent(1, id(11))
                                 .component("NoteComponent", 1, "\n" + element("text", "file")));
        write("quay.prefab", PrefabText()
                                 .object(id(1), "Quay")
                                 .object(id(2), "North lamp")
                                 .object(id(3), "South lamp")
                                 .parent(1, id(1))
                                 .parent(2, id(1))
                                 .nest(1, "lamp.prefab",
                                       "\n\n" + TestSupport::OverridesText()
                                                    .record(id(12), "NoteComponent",
                                                            element("text", "override") + element("severity", "high"))
                                                    .text())
                                 .nest(2, "lamp.prefab"));
    }

    [[nodiscard]] TestSupport::ProcessResult explain(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"explain", "--load", TEST_COMPONENTS});
        return run(arguments);
    }
};

TEST_F(ExplainCommand, object_hasItsOriginsAndTheDerivationOfItsUuid) {
    const Uuid lamp = Uuid::combine(Uuid::ZERO, id(2));
    const Uuid bulb = Uuid::combine(lamp, id(12));
    const TestSupport::ProcessResult result = explain({"quay.prefab", "Quay/North lamp/Bulb"});
    EXPECT_EQ(result.output, "Quay/North lamp/Bulb\n"
                             "    from       lamp.prefab:1\n"
                             "    nested at  North lamp (quay.prefab:1)\n"
                             "    file UUID  00000000-0000-0000-0000-00000000000c\n"
                             "    live UUID  " +
                                 bulb.toString() +
                                 "\n"
                                 "UUID\n"
                                 "    00000000-0000-0000-0000-000000000000  instance of quay.prefab\n"
                                 "    " +
                                 lamp.toString() +
                                 "  combined with 00000000-0000-0000-0000-000000000002, North lamp (quay.prefab:1)\n"
                                 "    " +
                                 bulb.toString() +
                                 "  combined with 00000000-0000-0000-0000-00000000000c, Bulb (lamp.prefab:1)\n"
                                 "Components\n"
                                 "    HierarchyComponent from lamp.prefab:1\n"
                                 "    NoteComponent from lamp.prefab:1\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(ExplainCommand, integrationPoint_hasBothOrigins) {
    EXPECT_THAT(explain({"quay.prefab", "North lamp"}).output,
                HasSubstr("\n    from       quay.prefab:1 and lamp.prefab:1\n"));
}

TEST_F(ExplainCommand, value_hasEveryLayerAndTheWinner) {
    EXPECT_THAT(explain({"quay.prefab", "North lamp/Bulb", "NoteComponent.text"}).output,
                EndsWith("\nNoteComponent.text = override\n"
                         "    default: (empty)\n"
                         "    file lamp.prefab:2: file\n"
                         "  * override quay.prefab:3: override\n"));
    EXPECT_THAT(explain({"quay.prefab", "South lamp/Bulb", "NoteComponent.text"}).output,
                EndsWith("\nNoteComponent.text = file\n"
                         "    default: (empty)\n"
                         "  * file lamp.prefab:2: file\n"));
}

TEST_F(ExplainCommand, component_hasAllValues) {
    EXPECT_THAT(explain({"quay.prefab", "North lamp/Bulb", "NoteComponent"}).output,
                EndsWith("\nNoteComponent.severity = 3\n"
                         "  * default: 3\n"
                         "    override quay.prefab:3: high (unreadable, ignored)\n"));
}

TEST_F(ExplainCommand, link_hasThePathOfItsTarget) {
    EXPECT_THAT(explain({"quay.prefab", "North lamp/Bulb", "HierarchyComponent.parent"}).output,
                HasSubstr("\nHierarchyComponent.parent = 00000000-0000-0000-0000-00000000000b (Quay/North lamp)\n"));
}

TEST_F(ExplainCommand, objectByUuid_isFound) {
    const Uuid live = Uuid::combine(Uuid::combine(id(7), id(3)), id(12));
    EXPECT_THAT(explain({"quay.prefab", live.toString(), "--instance-uuid", id(7).toString()}).output,
                testing::StartsWith("Quay/South lamp/Bulb\n"));
    EXPECT_THAT(explain({"quay.prefab", id(3).toString()}).output, testing::StartsWith("Quay/South lamp\n"));
}

TEST_F(ExplainCommand, ambiguousName_listsTheObjects) {
    const TestSupport::ProcessResult result = explain({"quay.prefab", "Bulb"});
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors,
              "kiln-prefab: 'Bulb' means 2 objects; name one of them by its path or UUID:\n    " +
                  Uuid::combine(Uuid::combine(Uuid::ZERO, id(2)), id(12)).toString() + "  Quay/North lamp/Bulb\n    " +
                  Uuid::combine(Uuid::combine(Uuid::ZERO, id(3)), id(12)).toString() + "  Quay/South lamp/Bulb\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(ExplainCommand, ambiguousFileUuid_listsTheObjects) {
    EXPECT_THAT(explain({"quay.prefab", id(12).toString()}).errors,
                HasSubstr("'00000000-0000-0000-0000-00000000000c' means 2 objects"));
}

TEST_F(ExplainCommand, wholePath_winsOverEndsOfPaths) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "A").parent(1, id(1)));
    EXPECT_THAT(explain({"a.prefab", "A"}).output, testing::StartsWith("A\n"));
    EXPECT_THAT(explain({"a.prefab", "A/A"}).output, testing::StartsWith("A/A\n"));
}

TEST_F(ExplainCommand, unknownObject_suggestsSimilarNames) {
    TestSupport::ProcessResult result = explain({"quay.prefab", "North lmap"});
    EXPECT_EQ(result.errors,
              "kiln-prefab: No object is named 'North lmap'; did you mean 'North lamp' or 'South lamp'?\n");
    EXPECT_EQ(result.exitStatus, 2);
    result = explain({"quay.prefab", "Quay/Nord lamp"});
    EXPECT_EQ(
        result.errors,
        "kiln-prefab: No object is named 'Quay/Nord lamp'; did you mean 'Quay/North lamp' or 'Quay/South lamp'?\n");
}

TEST_F(ExplainCommand, unknownComponentOrProperty_suggestsSimilarNames) {
    EXPECT_EQ(explain({"quay.prefab", "North lamp/Bulb", "NotComponent.text"}).errors,
              "kiln-prefab: 'Quay/North lamp/Bulb' has no component 'NotComponent'; did you mean 'NoteComponent'?\n");
    EXPECT_EQ(explain({"quay.prefab", "North lamp/Bulb", "NoteComponent.tex"}).errors,
              "kiln-prefab: 'NoteComponent' has no value 'tex'; did you mean 'text'?\n");
}

TEST_F(ExplainCommand, json_hasObjectAndLayers) {
    const Json json =
        Json::parse(explain({"--format", "json", "quay.prefab", "North lamp/Bulb", "NoteComponent.text"}).output);
    EXPECT_EQ(json.at("path"), "Quay/North lamp/Bulb");
    EXPECT_EQ(json.at("fileUuid"), id(12).toString());
    EXPECT_EQ(json.at("chain")[0].at("name"), "North lamp");
    EXPECT_EQ(json.at("steps").size(), 2U);
    EXPECT_EQ(json.at("steps")[1].at("result"), json.at("uuid"));
    ASSERT_EQ(json.at("values").size(), 1U);
    EXPECT_EQ(json.at("values")[0].at("property"), "text");
    EXPECT_EQ(json.at("values")[0].at("layers")[2].at("kind"), "override");
    EXPECT_EQ(json.at("values")[0].at("layers")[2].at("effect"), "wins");
    EXPECT_EQ(json.at("values")[0].at("layers")[2].at("file"), "quay.prefab");
    EXPECT_EQ(json.at("values")[0].at("layers")[2].at("line"), 3);
}

TEST_F(ExplainCommand, objectOfAPrefabThatCannotBeCreated_isExplainedNevertheless) {
    write("a.prefab", PrefabText().object(id(1), "One").object(id(2), "Two"));
    const TestSupport::ProcessResult result = explain({"a.prefab", "Two"});
    EXPECT_THAT(result.output, testing::StartsWith("Two\n    from       a.prefab:1\n"));
    EXPECT_THAT(result.errors, HasSubstr("the prefab cannot be created: The prefab has more than one root"));
    EXPECT_EQ(result.exitStatus, 1);
}

} // namespace

} // namespace Kiln::PrefabToolTests
