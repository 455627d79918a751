#include "kiln_prefab_fixture.h"

#include <fstream>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class DepsCommand : public KilnPrefabFixture {
protected:
    /// Writes a prefab that nests others.
    void writeNesting(const std::string& name, const std::vector<std::string>& nested) const {
        PrefabText prefab;
        prefab.object(id(1), "Root");
        for (std::size_t i = 0; i < nested.size(); ++i) {
            prefab.object(id(i + 2), "Point " + std::to_string(i)).parent(i + 1, id(1)).nest(i + 1, nested[i]);
        }
        write(name, prefab);
    }

    /// town nests two quays and a lamp; each quay nests two lamps.
    void writeTown() const {
        writeNesting("town.prefab", {"quay.prefab", "lamp.prefab", "quay.prefab"});
        writeNesting("quay.prefab", {"lamp.prefab", "lamp.prefab"});
        writeNesting("lamp.prefab", {});
        writeNesting("spare.prefab", {"lamp.prefab"});
    }

    [[nodiscard]] TestSupport::ProcessResult deps(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "deps");
        return run(arguments);
    }
};

TEST_F(DepsCommand, file_isATreeOfWhatItNests) {
    writeTown();
    const TestSupport::ProcessResult result = deps({"town.prefab"});
    EXPECT_EQ(result.output, "town.prefab\n"
                             "├── quay.prefab, 2 times\n"
                             "│   └── lamp.prefab, 2 times\n"
                             "└── lamp.prefab\n");
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DepsCommand, folder_isATreePerFileThatNoOtherNests) {
    writeTown();
    EXPECT_EQ(deps({"."}).output, "spare.prefab\n"
                                  "└── lamp.prefab\n"
                                  "town.prefab\n"
                                  "├── quay.prefab, 2 times\n"
                                  "│   └── lamp.prefab, 2 times\n"
                                  "└── lamp.prefab\n");
    EXPECT_EQ(deps({}).output, deps({"."}).output);
}

TEST_F(DepsCommand, fileThatIsNestedInSeveral_isExpandedOnce) {
    writeNesting("a.prefab", {"b.prefab", "c.prefab"});
    writeNesting("b.prefab", {"c.prefab"});
    writeNesting("c.prefab", {"d.prefab"});
    writeNesting("d.prefab", {});
    EXPECT_EQ(deps({"a.prefab"}).output, "a.prefab\n"
                                         "├── b.prefab\n"
                                         "│   └── c.prefab\n"
                                         "│       └── d.prefab\n"
                                         "└── c.prefab, see above\n");
}

TEST_F(DepsCommand, fileThatAnOverrideNames_isMarked) {
    write(
        "a.prefab",
        PrefabText()
            .object(id(1), "A")
            .object(id(2), "B")
            .parent(1, id(1))
            .nest(
                1, "b.prefab",
                TestSupport::OverridesText().record(id(9), "PrefabComponent", element("resource", "c.prefab")).text()));
    writeNesting("b.prefab", {});
    writeNesting("c.prefab", {});
    EXPECT_EQ(deps({"a.prefab"}).output, "a.prefab\n"
                                         "├── b.prefab\n"
                                         "└── c.prefab, by an override at a.prefab:1\n");
}

TEST_F(DepsCommand, reverse_isATreeOfTheUsers) {
    writeTown();
    EXPECT_EQ(deps({".", "--reverse", "lamp.prefab"}).output, "lamp.prefab\n"
                                                              "├── quay.prefab, 2 times\n"
                                                              "│   └── town.prefab, 2 times\n"
                                                              "├── spare.prefab\n"
                                                              "└── town.prefab\n");
    EXPECT_EQ(deps({"--reverse", "lamp.prefab", "--format", "json"}).output,
              "{\"files\":[\"quay.prefab\",\"spare.prefab\",\"town.prefab\"]}\n");
}

TEST_F(DepsCommand, reverseOfAFileOutsideOfTheGraph_hasExitStatus2) {
    writeTown();
    const TestSupport::ProcessResult result = deps({"--reverse", "other.prefab"});
    EXPECT_EQ(result.errors, "kiln-prefab: 'other.prefab' is neither among the prefabs nor nested in one of them\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(DepsCommand, roots_areTheFilesThatNoOtherNests) {
    writeTown();
    EXPECT_EQ(deps({"--roots"}).output, "spare.prefab\ntown.prefab\n");
    EXPECT_EQ(deps({"--roots", "--format", "json"}).output, "{\"files\":[\"spare.prefab\",\"town.prefab\"]}\n");
}

TEST_F(DepsCommand, unused_areTheFilesOfAFolderThatTheNamedFilesDoNotNeed) {
    writeTown();
    EXPECT_EQ(deps({"--unused", ".", "quay.prefab"}).output, "spare.prefab\ntown.prefab\n");
    EXPECT_EQ(deps({"--unused", ".", "town.prefab", "spare.prefab"}).output, "");
    EXPECT_EQ(deps({"--unused", "."}).output, "spare.prefab\ntown.prefab\n");
}

TEST_F(DepsCommand, cycles_areChainsAndHaveExitStatus1) {
    writeNesting("a.prefab", {"lamp.prefab", "b.prefab"});
    writeNesting("b.prefab", {"a.prefab"});
    writeNesting("lamp.prefab", {});
    TestSupport::ProcessResult result = deps({"--cycles"});
    EXPECT_EQ(result.output, "cycle of 2 files:\n"
                             "    a.prefab:1: 'Point 1' nests b.prefab\n"
                             "    b.prefab:1: 'Point 0' nests a.prefab\n");
    EXPECT_EQ(result.exitStatus, 1);
    result = deps({"--cycles", "lamp.prefab"});
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(Json::parse(deps({"--cycles", "--format", "json"}).output).at("cycles")[0].size(), 2U);
}

TEST_F(DepsCommand, cyclesWithoutTheOption_areShownInTheTree) {
    writeNesting("a.prefab", {"b.prefab"});
    writeNesting("b.prefab", {"a.prefab"});
    const TestSupport::ProcessResult result = deps({});
    EXPECT_EQ(result.output, "a.prefab\n└── b.prefab\n    └── a.prefab, see above\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(DepsCommand, missingAndBrokenFiles_areReportedWithTheFirstUser) {
    writeNesting("a.prefab", {"gone.prefab", "b.prefab"});
    write("b.prefab", "<prefab>\n</gone>");
    const TestSupport::ProcessResult result = deps({"a.prefab"});
    EXPECT_THAT(result.output, testing::StartsWith("a.prefab\n├── gone.prefab (missing), named at a.prefab:1\n"
                                                   "└── b.prefab (not well formed: "));
    EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: b.prefab:2: the file is not well formed: "));
    EXPECT_THAT(result.errors,
                HasSubstr("kiln-prefab: gone.prefab: the file is missing; 'Point 0' at a.prefab:1 nests it\n"));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(DepsCommand, json_isSortedByPath) {
    writeTown();
    const Json json = Json::parse(deps({"--format", "json", "town.prefab"}).output);
    ASSERT_EQ(json.at("files").size(), 3U);
    EXPECT_EQ(json.at("files")[0].dump(),
              R"({"path":"lamp.prefab","target":false,"status":"read","problem":null,"nested":[]})");
    EXPECT_EQ(json.at("files")[2].at("nested")[1].at("path"), "lamp.prefab");
    EXPECT_EQ(json.at("files")[2].at("nested")[1].at("object"), "Point 1");
}

TEST_F(DepsCommand, dot_hasEscapedNames) {
    writeNesting("a.prefab", {"say \"hi\" \\ there.prefab", "say \"hi\" \\ there.prefab"});
    EXPECT_EQ(deps({"--format", "dot", "a.prefab"}).output,
              "digraph prefabs {\n"
              "    \"a.prefab\";\n"
              "    \"say \\\"hi\\\" \\\\ there.prefab\" [color=red, label=\"say \\\"hi\\\" \\\\ there.prefab "
              "(missing)\"];\n"
              "    \"a.prefab\" -> \"say \\\"hi\\\" \\\\ there.prefab\";\n"
              "}\n");
}

TEST_F(DepsCommand, mermaid_hasEscapedNames) {
    writeNesting("a.prefab", {"#1 \"b\".prefab"});
    EXPECT_EQ(deps({"--format", "mermaid", "a.prefab"}).output, "flowchart LR\n"
                                                                "    f0[\"#35;1 #34;b#34;.prefab (missing)\"]\n"
                                                                "    f1[\"a.prefab\"]\n"
                                                                "    f1 --> f0\n");
}

TEST_F(DepsCommand, make_isARulePerTarget) {
    writeTown();
    EXPECT_EQ(deps({"--format", "make", "town.prefab"}).output, "town.prefab: \\\n  lamp.prefab \\\n  quay.prefab\n");
    EXPECT_EQ(deps({"--format", "make", "lamp.prefab"}).output, "lamp.prefab:\n");
}

TEST_F(DepsCommand, make_namesFilesBeneathTheirRoot) {
    std::filesystem::create_directory(m_directory.path() / "content");
    writeNesting("content/a.prefab", {"b.prefab"});
    writeNesting("content/b.prefab", {});
    EXPECT_EQ(deps({"--root", "content", "--format", "make", "a.prefab"}).output,
              "content/a.prefab: \\\n  content/b.prefab\n");
}

TEST_F(DepsCommand, makeReadsTheRules_whateverTheNames) {
    const std::vector<std::string> names{"with space.prefab",  "$dollar.prefab",      "#hash.prefab",
                                         "back\\slash.prefab", "back\\ space.prefab", "colon:.prefab"};
    writeNesting("a.prefab", names);
    for (const std::string& name : names) {
        writeNesting(name, {});
    }
    const TestSupport::ProcessResult rules = deps({"--format", "make", "a.prefab"});
    EXPECT_EQ(rules.exitStatus, 0);
    write("Makefile", rules.output + "\ta rule that is not run\n");
    // Make would fail because of a prerequisite that does not exist.
    const TestSupport::ProcessResult make =
        TestSupport::runProcess("/usr/bin/env", {"make", "--dry-run", "--always-make", "a.prefab"}, m_directory.path());
    if (make.exitStatus == 127) {
        GTEST_SKIP() << "There is no make";
    }
    EXPECT_EQ(make.exitStatus, 0) << make.errors;
    EXPECT_THAT(make.output, HasSubstr("a rule that is not run"));
}

TEST_F(DepsCommand, partOfTheGraphInAFormatOfTheWhole_isAUsageError) {
    writeTown();
    const TestSupport::ProcessResult result = deps({"--roots", "--format", "dot"});
    EXPECT_EQ(result.errors, "kiln-prefab: --format dot shows the whole graph; use text or json for a part of it\n");
    EXPECT_EQ(result.exitStatus, 2);
}

} // namespace

} // namespace Kiln::PrefabToolTests
