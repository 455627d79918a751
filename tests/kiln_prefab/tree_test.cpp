#include "kiln_prefab_fixture.h"

#include <fstream>
#include <iterator>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TreeCommand : public KilnPrefabFixture {
protected:
    TreeCommand() {
        write("lamp.prefab", "<prefab><formatVersion>1</formatVersion>\n"
                             "<gameObjects>\n"
                             "<gameObject><uuid>00000000-0000-0000-0000-000000000011</uuid><name>Lamp</name>"
                             "<flags>2</flags></gameObject>\n"
                             "<gameObject><uuid>00000000-0000-0000-0000-000000000012</uuid><name>Bulb</name>"
                             "<flags>1</flags></gameObject>\n"
                             "</gameObjects><components>\n"
                             "<pool><type>HierarchyComponent</type><item><gameObject>1</gameObject><properties>\n"
                             "<parent>00000000-0000-0000-0000-000000000011</parent></properties></item></pool>\n"
                             "<pool><type>NoteComponent</type><item><gameObject>1</gameObject><properties>\n"
                             "<text>bright</text></properties></item></pool>\n"
                             "</components></prefab>\n");
        write("quay.prefab", PrefabText()
                                 .object(id(1), "Quay")
                                 .object(id(2), "North lamp")
                                 .object(id(3), "Sign")
                                 .object(id(4), "Bollard")
                                 .parent(1, id(1))
                                 .parent(2, Uuid::combine(id(2), id(0x12)))
                                 .parent(3, id(1))
                                 .nest(1, "lamp.prefab"));
    }

    [[nodiscard]] TestSupport::ProcessResult tree(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "tree");
        return run(arguments);
    }
};

TEST_F(TreeCommand, authoredView_isTheHierarchyOfTheFile) {
    const TestSupport::ProcessResult result = tree({"quay.prefab"});
    EXPECT_EQ(result.output, "quay.prefab\n"
                             "Quay\n"
                             "├── North lamp nests lamp.prefab\n"
                             "│   └── Sign (below Bulb)\n"
                             "└── Bollard\n"
                             "4 objects\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(TreeCommand, composedView_isTheInstanceWithItsOrigins) {
    const TestSupport::ProcessResult result = tree({"--composed", "--load", TEST_COMPONENTS, "quay.prefab"});
    EXPECT_EQ(result.output, "quay.prefab, instance 00000000-0000-0000-0000-000000000000\n"
                             "Quay from quay.prefab:1\n"
                             "├── North lamp (static) from quay.prefab:1 and lamp.prefab:3\n"
                             "│   └── Bulb (inactive) from lamp.prefab:4\n"
                             "│       └── Sign from quay.prefab:1\n"
                             "└── Bollard from quay.prefab:1\n"
                             "5 objects\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(TreeCommand, components_areInTheOrderOfCreation) {
    EXPECT_THAT(tree({"--components", "lamp.prefab"}).output,
                HasSubstr("\n└── Bulb [HierarchyComponent, NoteComponent (unknown)] (inactive)\n"));
    EXPECT_THAT(tree({"--composed", "--components", "--load", TEST_COMPONENTS, "lamp.prefab"}).output,
                HasSubstr("\nLamp [PrefabComponent] (static) from lamp.prefab:3\n"
                          "└── Bulb [HierarchyComponent, NoteComponent] (inactive) from lamp.prefab:4\n"));
}

TEST_F(TreeCommand, unknownComponentOfAnInstance_isNoted) {
    const TestSupport::ProcessResult result = tree({"--composed", "--components", "lamp.prefab"});
    EXPECT_THAT(result.output, HasSubstr("└── Bulb [HierarchyComponent] (inactive)"));
    EXPECT_EQ(result.errors, "note: skipped 1 component of unknown type 'NoteComponent'\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(TreeCommand, values_areThoseThatFilesSet) {
    EXPECT_EQ(tree({"--composed", "--values", "--load", TEST_COMPONENTS, "lamp.prefab"}).output,
              "lamp.prefab, instance 00000000-0000-0000-0000-000000000000\n"
              "Lamp [PrefabComponent] (static) from lamp.prefab:3\n"
              "│   PrefabComponent.resource = lamp.prefab\n"
              "└── Bulb [HierarchyComponent, NoteComponent] (inactive) from lamp.prefab:4\n"
              "        HierarchyComponent.parent = 00000000-0000-0000-0000-000000000011\n"
              "        NoteComponent.text = bright\n"
              "2 objects\n");
}

TEST_F(TreeCommand, uuids_areThoseOfTheFileOrOfTheInstance) {
    EXPECT_THAT(tree({"--uuids", "lamp.prefab"}).output,
                HasSubstr("\nLamp (static), UUID 00000000-0000-0000-0000-000000000011\n"));
    EXPECT_THAT(tree({"--uuids", "--composed", "--instance-uuid", id(7).toString(), "lamp.prefab"}).output,
                HasSubstr("\nLamp (static) from lamp.prefab:3, UUID " + Uuid::combine(id(7), id(0x11)).toString() +
                          ", in the file 00000000-0000-0000-0000-000000000011\n"));
}

TEST_F(TreeCommand, depth_cutsTheTreeAndCountsWhatIsBelow) {
    EXPECT_EQ(tree({"--depth", "1", "quay.prefab"}).output, "quay.prefab\n"
                                                            "Quay\n"
                                                            "├── North lamp nests lamp.prefab … 1 object below\n"
                                                            "└── Bollard\n"
                                                            "4 objects\n");
}

TEST_F(TreeCommand, find_showsMatchesWithTheObjectsAboveThem) {
    EXPECT_EQ(tree({"--find", "Sig", "quay.prefab"}).output, "quay.prefab\n"
                                                             "Quay\n"
                                                             "└── North lamp nests lamp.prefab\n"
                                                             "    └── Sign (below Bulb)\n"
                                                             "1 of 4 objects\n");
}

TEST_F(TreeCommand, findByUuid_matchesEitherCase) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(0xABCDEF), "B").parent(1, id(1)));
    EXPECT_EQ(tree({"--find", "AbcDEF", "a.prefab"}).output, "a.prefab\nA\n└── B\n1 of 2 objects\n");
}

TEST_F(TreeCommand, findWithoutMatch_hasExitStatus1) {
    const TestSupport::ProcessResult result = tree({"--find", "gone", "quay.prefab"});
    EXPECT_EQ(result.output, "quay.prefab\n0 of 4 objects\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(TreeCommand, json_listsTheObjects) {
    const Json json = Json::parse(tree({"--format", "json", "--components", "quay.prefab"}).output);
    EXPECT_EQ(json.at("file"), "quay.prefab");
    EXPECT_EQ(json.at("composed"), false);
    ASSERT_EQ(json.at("objects").size(), 4U);
    EXPECT_EQ(json.at("objects")[2].dump(),
              R"({"index":2,"name":"Sign","uuid":"00000000-0000-0000-0000-000000000003","parent":1,)"
              R"("position":"below nested","flags":[],"nested":null,"file":"quay.prefab","line":1,"remark":"Bulb",)"
              R"("components":["HierarchyComponent"]})");
}

TEST_F(TreeCommand, jsonOfAnInstance_hasBothOriginsOfAPoint) {
    const Json json = Json::parse(tree({"--format", "json", "--composed", "--quiet", "quay.prefab"}).output);
    EXPECT_EQ(json.at("instanceUuid"), "00000000-0000-0000-0000-000000000000");
    const Json& point = json.at("objects")[1];
    EXPECT_EQ(point.at("fileUuid"), id(2).toString());
    EXPECT_EQ(point.at("nested"), "lamp.prefab");
    EXPECT_EQ(point.at("rootFile"), "lamp.prefab");
    EXPECT_EQ(point.at("rootLine"), 3);
}

TEST_F(TreeCommand, severalRootsMissingParentsAndCycles_areShown) {
    write("a.prefab", PrefabText()
                          .object(id(1), "One")
                          .object(id(2), "Two")
                          .object(id(3), "Stray")
                          .object(id(4), "Snake")
                          .parent(2, id(77))
                          .parent(3, id(4)));
    EXPECT_EQ(tree({"a.prefab"}).output, "a.prefab\n"
                                         "One (root)\n"
                                         "Two (root)\n"
                                         "Stray (parent 00000000-0000-0000-0000-00000000004d not found)\n"
                                         "Snake (parent cycle: its parent is 'Snake')\n"
                                         "4 objects\n");
}

TEST_F(TreeCommand, instanceThatCannotBeCreated_isExplained) {
    write("a.prefab", PrefabText().object(id(1), "One").object(id(2), "Two"));
    const TestSupport::ProcessResult result = tree({"--composed", "a.prefab"});
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors, "kiln-prefab: a.prefab: the prefab cannot be created: The prefab has more than one root\n"
                             "note: a.prefab:1: 'One' is a root\n"
                             "note: a.prefab:1: 'Two' is a root\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(TreeCommand, pointThatIsLeftOut_isReported) {
    write("a.prefab", PrefabText().object(id(1), "A").object(id(2), "P").parent(1, id(1)).nest(1, "gone.prefab"));
    const TestSupport::ProcessResult result = tree({"--composed", "a.prefab"});
    EXPECT_EQ(result.output, "a.prefab, instance 00000000-0000-0000-0000-000000000000\nA from a.prefab:1\n1 object\n");
    EXPECT_EQ(result.errors, "kiln-prefab: a.prefab:1: 'P' is left out, because the nested prefab 'gone.prefab' is "
                             "missing\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(TreeCommand, missingOrBrokenFile_hasExitStatus2) {
    TestSupport::ProcessResult result = tree({"gone.prefab"});
    EXPECT_EQ(result.errors, "kiln-prefab: gone.prefab: the file is missing\n");
    EXPECT_EQ(result.exitStatus, 2);
    write("a.prefab", "<prefab>\n</gone>");
    result = tree({"a.prefab"});
    EXPECT_THAT(result.errors, testing::StartsWith("kiln-prefab: a.prefab:2: the file is not well formed: "));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(TreeCommand, fileBeneathARoot_isConvertedToItsResourcePath) {
    std::filesystem::create_directory(m_directory.path() / "content");
    write("content/a.prefab", simplePrefab());
    EXPECT_EQ(tree({"--root", "content", "content/a.prefab"}).output, "a.prefab\nRoot\n1 object\n");
    EXPECT_EQ(tree({"--root", "content", m_directory.path("content/a.prefab")}).output, "a.prefab\nRoot\n1 object\n");
}

TEST_F(TreeCommand, controlCharacters_areShownAsCodes) {
    write("a.prefab", PrefabText().object(id(1), "A\x1B[31m").component("No\nSuch", 0, element("a", "b\x1B")));
    EXPECT_THAT(tree({"--values", "a.prefab"}).output, HasSubstr("\nA\\x1b[31m [No\\x0aSuch (unknown)]\n"
                                                                 "    No\\x0aSuch.a = b\\x1b\n"));
    EXPECT_THAT(tree({"--values", "--format", "json", "a.prefab"}).output, HasSubstr(R"("name":"A\u001b[31m")"));
}

TEST_F(TreeCommand, deepHierarchy_isIndentedUpToDepth40) {
    PrefabText prefab;
    for (std::size_t level = 0; level < 60; ++level) {
        prefab.object(id(level + 1), "Level " + std::to_string(level));
        if (level > 0) {
            prefab.parent(level, id(level));
        }
    }
    write("deep.prefab", prefab);
    EXPECT_THAT(tree({"deep.prefab"}).output, HasSubstr("\n" + std::string(std::size_t{4} * 39, ' ') +
                                                        "└── Level 40\n(41) Level 41\n(42) Level 42\n"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
