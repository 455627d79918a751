#include "../kiln_prefab_fixture.h"

#include <fstream>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class DiffCommand : public KilnPrefabFixture {
protected:
    [[nodiscard]] TestSupport::ProcessResult diff(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "diff");
        return run(arguments);
    }

    [[nodiscard]] static PrefabText harbour(const std::string& lampName, const std::string& brightness) {
        return PrefabText()
            .object(id(1), "Harbour")
            .object(id(2), lampName)
            .parent(1, id(1))
            .component("LampComponent", 1, element("brightness", brightness));
    }

    void writeBoth() const {
        write("a.prefab", harbour("Lamp", "450"));
        write("b.prefab", harbour("Gate lamp", "600"));
    }
};

TEST_F(DiffCommand, sameContent_hasExitStatus0AndNoOutput) {
    write("a.prefab", harbour("Lamp", "450"));
    write("b.prefab", "<!-- copy -->" + harbour("Lamp", "450").text());
    const TestSupport::ProcessResult result = diff({"a.prefab", "b.prefab"});
    EXPECT_EQ(result, (TestSupport::ProcessResult{0, "", ""}));
}

TEST_F(DiffCommand, differences_areATreeAndHaveExitStatus1) {
    writeBoth();
    const TestSupport::ProcessResult result = diff({"a.prefab", "b.prefab"});
    EXPECT_EQ(result.output, "~ Harbour/Gate lamp (00000000-0000-0000-0000-000000000002)\n"
                             "    ~ renamed: Lamp -> Gate lamp\n"
                             "    ~ LampComponent.brightness: 450 -> 600\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(DiffCommand, everyKind_hasALine) {
    TestSupport::OverridesText before;
    before.record(id(9), "LampComponent", element("brightness", "1")).record(id(8), "LampComponent", element("a", "1"));
    TestSupport::OverridesText after;
    after.record(id(9), "LampComponent", element("brightness", "2")).record(id(7), "LampComponent", element("a", ""));
    PrefabText a;
    a.object(id(1), "Harbour", 2).object(id(2), "Lamp").object(id(3), "Gone").object(id(4), "Point");
    a.parent(1, id(1)).parent(2, id(1)).parent(3, id(1)).nest(3, "a.prefab", before.text());
    a.component("OldComponent", 1, element("oil", "full")).component("LampComponent", 1, element("glow", "1"), 35);
    PrefabText b;
    b.object(id(1), "Harbour", 6).object(id(2), "Lamp").object(id(5), "New").object(id(4), "Point");
    b.parent(1, id(4)).parent(2, id(1)).parent(3, id(1)).nest(3, "b.prefab", after.text());
    b.component("NewComponent", 1, element("gas", " low")).component("LampComponent", 1, element("dim", "2"), 3);
    b.component("LampComponent", 30).poolVersion("LampComponent", 2).formatVersion(2).raw("<note>x</note>");
    write("a.prefab", a);
    write("b.prefab", b);
    EXPECT_EQ(diff({"a.prefab", "b.prefab"}).output,
              "~ the document\n"
              "    ~ format version: 1 -> 2\n"
              "    ~ element that is not used, note: none -> x\n"
              "    ~ LampComponent.version: 1 -> 2\n"
              "~ Harbour (00000000-0000-0000-0000-000000000001)\n"
              "    ~ flags: static -> static, hidden\n"
              "~ Harbour/Point/Lamp (00000000-0000-0000-0000-000000000002)\n"
              "    ~ moved: Harbour (00000000-0000-0000-0000-000000000001) -> Harbour/Point "
              "(00000000-0000-0000-0000-000000000004)\n"
              "    + NewComponent\n"
              "        + gas = ' low'\n"
              "    ~ LampComponent.options: 35 -> 3\n"
              "    - LampComponent.glow = 1\n"
              "    + LampComponent.dim = 2\n"
              "    - OldComponent\n"
              "        - oil = full\n"
              "+ Harbour/New (00000000-0000-0000-0000-000000000005): HierarchyComponent\n"
              "~ Harbour/Point (00000000-0000-0000-0000-000000000004)\n"
              "    ~ nested prefab: a.prefab -> b.prefab\n"
              "    ~ override 00000000-0000-0000-0000-000000000009 LampComponent.brightness: 1 -> 2\n"
              "    - override 00000000-0000-0000-0000-000000000008 LampComponent.a = 1\n"
              "    + override 00000000-0000-0000-0000-000000000007 LampComponent.a = ''\n"
              "- Harbour/Gone (00000000-0000-0000-0000-000000000003): HierarchyComponent\n"
              "~ missing object 30\n"
              "    + LampComponent\n");
}

TEST_F(DiffCommand, overrideRecordsWithoutProperties_haveNoValue) {
    const auto nesting = [](const std::string& overrides) {
        return PrefabText()
            .object(id(1), "Harbour")
            .object(id(2), "Lamp")
            .parent(1, id(1))
            .nest(1, "l.prefab", overrides);
    };
    write("a.prefab", nesting("<overrides/>"));
    write("b.prefab", nesting(element("overrides", element("gameObject", element("uuid", id(8).toString())))));
    write("c.prefab", nesting(TestSupport::OverridesText().record(id(9), "LampComponent", "").text()));
    const std::string object = "~ Harbour/Lamp (00000000-0000-0000-0000-000000000002)\n";
    EXPECT_EQ(diff({"a.prefab", "b.prefab"}).output,
              object + "    + override 00000000-0000-0000-0000-000000000008 without components\n");
    EXPECT_EQ(diff({"c.prefab", "a.prefab"}).output,
              object + "    - override 00000000-0000-0000-0000-000000000009 LampComponent without properties\n");
}

TEST_F(DiffCommand, textBesideElements_isShown) {
    const auto text = [](const std::string& stray) {
        return PrefabText().object(id(1), "Harbour").component("X", 0, element("zz", stray + element("q", "1")));
    };
    write("a.prefab", text(" old "));
    write("b.prefab", text("new"));
    EXPECT_EQ(diff({"a.prefab", "b.prefab"}).output, "~ Harbour (00000000-0000-0000-0000-000000000001)\n"
                                                     "    ~ X.zz: {'old', q: 1} -> {'new', q: 1}\n");
}

TEST_F(DiffCommand, brief_isOneLineWithTheNumberOfEachKind) {
    writeBoth();
    const TestSupport::ProcessResult result = diff({"--brief", "a.prefab", "b.prefab"});
    EXPECT_EQ(result.output, "b.prefab: 1 object-renamed, 1 value-changed\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(diff({"--brief", "a.prefab", "a.prefab"}).output, IsEmpty());
}

TEST_F(DiffCommand, json_hasKindsValuesAndLines) {
    writeBoth();
    const TestSupport::ProcessResult result = diff({"--format", "json", "a.prefab", "b.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    const Json json = Json::parse(result.output);
    EXPECT_EQ(json.at("schemaVersion"), 1);
    EXPECT_EQ(json.at("before"), "a.prefab");
    EXPECT_EQ(json.at("after"), "b.prefab");
    EXPECT_EQ(json.at("same"), false);
    ASSERT_EQ(json.at("changes").size(), 2U);
    EXPECT_EQ(json.at("changes")[1].dump(),
              R"({"kind":"value-changed","object":{"uuid":"00000000-0000-0000-0000-000000000002",)"
              R"("path":"Harbour/Gate lamp","missingIndex":null},"component":"LampComponent","occurrence":0,)"
              R"("overrides":[],"property":"brightness","before":"450","after":"600","beforePath":null,)"
              R"("afterPath":null,"content":[],"beforeLine":1,"afterLine":1,"from":null})");
}

TEST_F(DiffCommand, jsonOfSameFiles_hasNoChanges) {
    write("a.prefab", harbour("Lamp", "450"));
    EXPECT_EQ(diff({"--format", "json", "a.prefab", "a.prefab"}).output,
              "{\"schemaVersion\":1,\"before\":\"a.prefab\",\"after\":\"a.prefab\",\"composed\":false,\"same\":true,"
              "\"changes\":[]}\n");
}

TEST_F(DiffCommand, jsonOfEveryKind_followsTheSchema) {
    writeBoth();
    std::ifstream stream(KILN_SOURCE_DIR "/docs/diff.schema.json");
    const Json schema = Json::parse(stream);
    const Json json = Json::parse(diff({"--format", "json", "a.prefab", "b.prefab"}).output);
    const auto expectKeys = [](const Json& value, const Json& described) {
        for (const auto& key : described.at("required")) {
            EXPECT_TRUE(value.contains(key)) << key;
        }
        for (const auto& [key, unused] : value.items()) {
            EXPECT_TRUE(described.at("properties").contains(key)) << key;
        }
    };
    expectKeys(json, schema);
    const Json& change = schema.at("properties").at("changes").at("items");
    expectKeys(json.at("changes")[0], change);
    expectKeys(json.at("changes")[0].at("object"), change.at("properties").at("object"));
    EXPECT_THAT(change.at("properties").at("kind").at("enum"), testing::Contains(json.at("changes")[0].at("kind")));
}

TEST_F(DiffCommand, colours_followTheMarks) {
    write("a.prefab", PrefabText().object(id(1), "A"));
    write("b.prefab", PrefabText().object(id(1), "A").object(id(2), "B").parent(1, id(1)));
    EXPECT_EQ(diff({"--color", "always", "a.prefab", "b.prefab"}).output,
              "\x1B[32m+ A/B (00000000-0000-0000-0000-000000000002): HierarchyComponent\x1B[0m\n");
}

TEST_F(DiffCommand, controlCharacters_areNotPrinted) {
    write("a.prefab", PrefabText().object(id(1), "A"));
    write("b.prefab", PrefabText().object(id(1), "A\x1B[2J"));
    EXPECT_THAT(diff({"a.prefab", "b.prefab"}).output, testing::Not(HasSubstr("\x1B")));
}

TEST_F(DiffCommand, nameBeneathARoot_isFound) {
    write("content/a.prefab", harbour("Lamp", "450"));
    write("b.prefab", harbour("Lamp", "450"));
    EXPECT_EQ(diff({"--root", "content", "a.prefab", "b.prefab"}).exitStatus, 0);
}

TEST_F(DiffCommand, missingFile_hasExitStatus2) {
    write("a.prefab", harbour("Lamp", "450"));
    const TestSupport::ProcessResult result = diff({"a.prefab", "gone.prefab"});
    EXPECT_EQ(result, (TestSupport::ProcessResult{2, "", "kiln-prefab: gone.prefab: the file is missing\n"}));
}

TEST_F(DiffCommand, malformedFile_hasExitStatus2AndItsLine) {
    write("a.prefab", harbour("Lamp", "450"));
    write("b.prefab", "<prefab>\n</gone>");
    const TestSupport::ProcessResult result = diff({"a.prefab", "b.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.errors, StartsWith("kiln-prefab: b.prefab:2: the file is not well formed: "));
}

TEST_F(DiffCommand, oneFile_isAUsageError) {
    write("a.prefab", harbour("Lamp", "450"));
    EXPECT_EQ(diff({"a.prefab"}), (TestSupport::ProcessResult{2, "", "kiln-prefab: diff needs 2 files, not 1\n"}));
    EXPECT_EQ(diff({"--git", "HEAD", "a.prefab", "b.prefab"}),
              (TestSupport::ProcessResult{2, "", "kiln-prefab: diff needs 1 file with --git, not 2\n"}));
}

TEST_F(DiffCommand, composed_marksInheritedChanges) {
    write("new/outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "in.prefab"));
    write("old/outer.prefab",
          PrefabText().object(id(1), "Outer").object(id(2), "Point").parent(1, id(1)).nest(1, "in.prefab"));
    write("old/in.prefab", PrefabText().object(id(5), "Inner").object(id(6), "Lamp").parent(1, id(5)));
    write("new/in.prefab", PrefabText().object(id(5), "Inner").object(id(6), "Sign").parent(1, id(5)));
    TestSupport::ProcessResult result =
        diff({"--composed", "--old-root", "old", "--root", "new", "old/outer.prefab", "new/outer.prefab"});
    EXPECT_THAT(lines(result.output), ElementsAre(StartsWith("~ Outer/Point/Sign ("),
                                                  "    ~ renamed: Lamp -> Sign (inherited from in.prefab)"));
    EXPECT_EQ(result.exitStatus, 1);
    result = diff({"--composed", "--old-root", "old", "--root", "new", "--format", "json", "old/outer.prefab",
                   "new/outer.prefab"});
    const Json change = Json::parse(result.output).at("changes")[0];
    EXPECT_EQ(change.at("kind"), "inherited-object-renamed");
    EXPECT_EQ(change.at("from").dump(), R"({"file":"in.prefab","by":"nested-file"})");
}

TEST_F(DiffCommand, composedPrefabThatCannotBeCreated_hasExitStatus2) {
    write("a.prefab", PrefabText().object(id(1), "A"));
    write("b.prefab", PrefabText().object(id(1), "A").object(id(2), "B"));
    const TestSupport::ProcessResult result = diff({"--composed", "a.prefab", "b.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: b.prefab: the prefab cannot be created: "));
}

TEST_F(DiffCommand, loadedLibrary_makesTheSpellingOfNumbersNotCount) {
    const auto text = [](const char* severity) {
        return PrefabText().object(id(1), "A").component("NoteComponent", 0, element("severity", severity));
    };
    write("a.prefab", text("3"));
    write("b.prefab", text("03"));
    EXPECT_EQ(diff({"a.prefab", "b.prefab"}).exitStatus, 1);
    EXPECT_EQ(
        diff({"--load", KILN_BUILD_LIB_DIR "/libkiln_prefab_test_components.so", "a.prefab", "b.prefab"}).exitStatus,
        0);
}

TEST_F(DiffCommand, textconv_hasALineForEachValue) {
    write("a.prefab", harbour("Lamp", "450"));
    EXPECT_EQ(diff({"--textconv", "a.prefab"}).output, "format version 1\n"
                                                       "first object 00000000-0000-0000-0000-000000000001 Harbour\n"
                                                       "root 00000000-0000-0000-0000-000000000001 Harbour\n"
                                                       "object 00000000-0000-0000-0000-000000000001\n"
                                                       "    name Harbour\n"
                                                       "    flags 0\n"
                                                       "object 00000000-0000-0000-0000-000000000002\n"
                                                       "    name Lamp\n"
                                                       "    flags 0\n"
                                                       "    HierarchyComponent, version 1, options 35\n"
                                                       "        parent = 00000000-0000-0000-0000-000000000001\n"
                                                       "    LampComponent, version 1, options 35\n"
                                                       "        brightness = 450\n");
}

TEST_F(DiffCommand, textconvOfAMalformedFile_isItsText) {
    write("a.prefab", "<prefab>\n<<<<<<< ours\n</prefab>\n");
    const TestSupport::ProcessResult result = diff({"--textconv", "a.prefab"});
    EXPECT_EQ(result.output, "<prefab>\n<<<<<<< ours\n</prefab>\n");
    EXPECT_THAT(result.errors, HasSubstr("a.prefab:2: the file is not well formed"));
    EXPECT_EQ(result.exitStatus, 0);
}

} // namespace

} // namespace Kiln::PrefabToolTests
