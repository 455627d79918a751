#include <kiln_prefab/kiln_prefab_fixture.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const std::string NEW_UUID = "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001";

/// A copy of the harbour.
class EditCommands : public KilnPrefabFixture {
protected:
    EditCommands() {
        fs::copy(fs::path(KILN_SOURCE_DIR) / "samples/harbour", m_directory.path("harbour"),
                 fs::copy_options::recursive);
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Runs a command with the component library.
    [[nodiscard]] TestSupport::ProcessResult edit(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin() + 1, {"--load", KILN_BUILD_LIB_DIR "/libharbour_components.so"});
        return run(arguments);
    }

    /// Expects that a command succeeds and that one part of the file is replaced, and everything else kept.
    void expectChange(const std::vector<std::string>& arguments, const std::string& file, const std::string& before,
                      const std::string& after) const {
        std::string expected = read(file);
        const std::size_t position = expected.find(before);
        ASSERT_NE(position, std::string::npos) << before;
        expected.replace(position, before.size(), after);
        EXPECT_EQ(edit(arguments), (TestSupport::ProcessResult{0, "", ""}));
        EXPECT_EQ(read(file), expected);
    }

    /// Expects that a command fails and changes nothing.
    void expectRefusal(const std::vector<std::string>& arguments, int exitStatus, const std::string& errors) const {
        const std::string before = read("harbour/quay.prefab");
        const TestSupport::ProcessResult result = edit(arguments);
        EXPECT_EQ(result.exitStatus, exitStatus) << result;
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors, StartsWith(errors));
        EXPECT_EQ(read("harbour/quay.prefab"), before);
    }

    void expectSound() const {
        EXPECT_EQ(edit({"check", "harbour"}),
                  (TestSupport::ProcessResult{0, "No findings in 10 checked files.\n", ""}));
    }
};

TEST_F(EditCommands, edit_changesOneValue) {
    expectChange({"edit", "harbour/quay.prefab", "Load limit plate", "SignComponent.text=50 t & more"},
                 "harbour/quay.prefab", "40 t at 32 m", "50 t &amp; more");
    expectSound();
}

TEST_F(EditCommands, edit_setsSeveralValuesInOneStep) {
    const TestSupport::ProcessResult result = edit({"edit", "--dry-run", "harbour/quay.prefab", "Load limit plate",
                                                    "SignComponent.text=a", "SignComponent.height=1.5"});
    EXPECT_EQ(result.exitStatus, 0) << result;
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("\n+\t\t\t\t\t<text>a</text>\n"), HasSubstr("\n+\t\t\t\t\t<height>1.5</height>\n")));
}

TEST_F(EditCommands, edit_refusesAValueOfAnotherType) {
    expectRefusal({"edit", "harbour/quay.prefab", "Load limit plate", "SignComponent.height=high"}, 1,
                  "kiln-prefab: The change is refused, because check would report 1 new finding:\n"
                  "harbour/quay.prefab:331:14: error: ");
}

TEST_F(EditCommands, edit_refusesUnknownNames) {
    expectRefusal({"edit", "harbour/quay.prefab", "Load limit plate", "SignComponent.hight=1"}, 2,
                  "kiln-prefab: 'SignComponent' has no value 'hight'; did you mean 'height'?\n");
    expectRefusal({"edit", "harbour/quay.prefab", "Toolbox", "SignComponent.height=1"}, 2,
                  "kiln-prefab: 'Toolbox' has no component 'SignComponent', only HierarchyComponent, "
                  "TransformComponent\n");
    expectRefusal({"edit", "harbour/quay.prefab", "Tolbox", "SignComponent.height=1"}, 2,
                  "kiln-prefab: No object is named 'Tolbox'; did you mean 'Toolbox'?\n");
    expectRefusal({"edit", "harbour/quay.prefab", "Toolbox", "height"}, 2, "kiln-prefab: ");
}

TEST_F(EditCommands, edit_refusesObjectsAndComponentsOfNestedPrefabs) {
    expectRefusal({"edit", "harbour/quay.prefab", "Quay/Crane/Tower", "TransformComponent.local=1"}, 2,
                  "kiln-prefab: 'Quay/Crane/Tower' is an object of 'harbour/crane.prefab'; change that file\n");
    expectRefusal(
        {"edit", "harbour/quay.prefab", "Quay/Crane", "CraneComponent.reach=1"}, 2,
        "kiln-prefab: 'Quay/Crane' has its 'CraneComponent' from 'harbour/crane.prefab'; change that file, or "
        "the overridesData of the integration point\n");
}

TEST_F(EditCommands, edit_withoutTheLibrary_changesOnlyValuesThatTheFileHas) {
    EXPECT_EQ(run({"edit", "harbour/quay.prefab", "Load limit plate", "SignComponent.text=a"}).exitStatus, 0);
    EXPECT_THAT(read("harbour/quay.prefab"), HasSubstr("<text>a</text>"));
    const TestSupport::ProcessResult result =
        run({"edit", "harbour/quay.prefab", "Load limit plate", "SignComponent.color=a"});
    EXPECT_EQ(result, (TestSupport::ProcessResult{2, "",
                                                  "kiln-prefab: 'SignComponent' has no 'color' in the file, and its "
                                                  "type is not known; --load its library\n"}));
}

TEST_F(EditCommands, rename_changesTheName) {
    expectChange({"rename", "harbour/quay.prefab", "Quay/Crane/Toolbox", "Box <1>"}, "harbour/quay.prefab",
                 "<name>Toolbox</name>", "<name>Box &lt;1&gt;</name>");
    expectSound();
}

TEST_F(EditCommands, rename_findsAnObjectByItsUuid) {
    expectChange({"rename", "harbour/quay.prefab", "d7b507c5-c9c8-43ee-86b9-34f70a25b85e", "Box"},
                 "harbour/quay.prefab", "<name>Toolbox</name>", "<name>Box</name>");
}

TEST_F(EditCommands, anAmbiguousName_isRefusedWithTheObjects) {
    expectRefusal({"rename", "harbour/quay.prefab", "Bulb", "Box"}, 2, "kiln-prefab: 'Bulb' means ");
}

TEST_F(EditCommands, anAmbiguousName_isRefusedWithWhatTellsTheObjectsApart) {
    const auto errors = [this](unsigned uuid, const char* name, const std::string& object) {
        write("two.prefab", PrefabText()
                                .object(id(1), "Root")
                                .object(id(2), "A")
                                .object(id(uuid), name)
                                .parent(1, id(1))
                                .parent(2, id(1)));
        return run({"rename", "two.prefab", object, "Z"}).errors;
    };
    EXPECT_THAT(errors(3, "A", "A"), StartsWith("kiln-prefab: 'A' means 2 objects; name one of them by its UUID:\n"));
    EXPECT_THAT(errors(2, "B", id(2).toString()),
                StartsWith("kiln-prefab: '" + id(2).toString() + "' means 2 objects; name one of them by its path:\n"));
    EXPECT_THAT(errors(2, "A", "A"),
                StartsWith("kiln-prefab: 'A' means 2 objects; give each of them a UUID of its own first:\n"));
}

TEST_F(EditCommands, move_changesTheParent) {
    expectChange({"move", "harbour/quay.prefab", "Toolbox", "Berth"}, "harbour/quay.prefab",
                 "<parent>af0b0a8f-8a66-41c1-a392-20c18b67c1ed</parent>",
                 "<parent>ffb98871-12cb-4e0a-b255-295cd65b6dad</parent>");
    EXPECT_THAT(run({"tree", "harbour/quay.prefab"}).output, HasSubstr("Berth\n│   └── Toolbox\n"));
    expectSound();
}

TEST_F(EditCommands, move_reachesObjectsOfNestedPrefabs) {
    expectChange({"move", "harbour/quay.prefab", "Toolbox", "Crane/Tower"}, "harbour/quay.prefab",
                 "<parent>af0b0a8f-8a66-41c1-a392-20c18b67c1ed</parent>",
                 "<parent>d9c83bff-44b2-cca0-11cd-5306e1a78659</parent>");
    expectSound();
}

TEST_F(EditCommands, move_refusesCyclesAndRoots) {
    expectRefusal({"move", "harbour/quay.prefab", "Crane", "Load limit plate"}, 2,
                  "kiln-prefab: 'Load limit plate' is the object itself or below it\n");
    expectRefusal({"move", "harbour/quay.prefab", "Berth", "Berth"}, 2,
                  "kiln-prefab: 'Berth' is the object itself or below it\n");
    expectRefusal({"move", "harbour/quay.prefab", "Quay", "Berth"}, 2,
                  "kiln-prefab: 'Quay' is a root, which has no parent\n");
}

TEST_F(EditCommands, remove_takesDescendantsEvenBelowNestedObjects) {
    EXPECT_EQ(edit({"remove", "harbour/quay.prefab", "Crane"}), (TestSupport::ProcessResult{0, "", ""}));
    const std::string tree = run({"tree", "harbour/quay.prefab"}).output;
    EXPECT_THAT(tree, HasSubstr("9 objects"));
    EXPECT_THAT(tree, testing::Not(HasSubstr("Load limit plate")));
    EXPECT_EQ(edit({"check", "harbour/quay.prefab"}).exitStatus, 0);
}

TEST_F(EditCommands, remove_refusesTheRoot) {
    expectRefusal({"remove", "harbour/quay.prefab", "Quay"}, 2,
                  "kiln-prefab: 'Quay' is the root, without which there is no prefab\n");
}

TEST_F(EditCommands, remove_refusesDanglingOverridesOfUsers) {
    const std::string before = read("harbour/crane.prefab");
    const TestSupport::ProcessResult result =
        edit({"remove", "--users", "harbour", "harbour/crane.prefab", "Jib lamp"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors,
                AllOf(StartsWith("kiln-prefab: The change is refused, because check would report "),
                      HasSubstr("[KP0702]"), HasSubstr("note: --force makes a change that brings only warnings\n")));
    EXPECT_EQ(read("harbour/crane.prefab"), before);
    EXPECT_EQ(edit({"remove", "--force", "--users", "harbour", "harbour/crane.prefab", "Jib lamp"}).exitStatus, 0);
    EXPECT_NE(read("harbour/crane.prefab"), before);
}

TEST_F(EditCommands, remove_ofAnIntegrationPointWhoseFileIsMissing_works) {
    fs::remove(m_directory.path("harbour/crane.prefab"));
    EXPECT_EQ(edit({"remove", "harbour/quay.prefab", "Crane"}).exitStatus, 0);
    EXPECT_THAT(read("harbour/quay.prefab"), testing::Not(HasSubstr("crane.prefab")));
}

TEST_F(EditCommands, addNested_printsTheUuidOfTheNewObject) {
    EXPECT_EQ(edit({"add-nested", "harbour/quay.prefab", "Berth", "harbour/props/lamp.prefab", "--uuid", NEW_UUID}),
              (TestSupport::ProcessResult{0, NEW_UUID + "\n", ""}));
    EXPECT_THAT(run({"tree", "harbour/quay.prefab"}).output,
                HasSubstr("Berth\n│   └── lamp nests harbour/props/lamp.prefab\n"));
    EXPECT_EQ(run({"rewrite", "--check", "harbour/quay.prefab"}).exitStatus, 0);
    expectSound();
    const TestSupport::ProcessResult other =
        edit({"add-nested", "harbour/quay.prefab", "Crane/Tower", "harbour/props/lamp.prefab", "--name", "Top lamp"});
    EXPECT_EQ(other.exitStatus, 0) << other;
    ASSERT_EQ(other.output.size(), NEW_UUID.size() + 1);
    EXPECT_THAT(read("harbour/quay.prefab"), HasSubstr("<uuid>" + other.output.substr(0, NEW_UUID.size()) + "</uuid>"));
    expectSound();
}

TEST_F(EditCommands, addNested_refusesCyclesMissingFilesAndUsedUuids) {
    const std::string refusal = "kiln-prefab: The change is refused, because check would report 1 new finding:\n";
    expectRefusal({"add-nested", "harbour/quay.prefab", "Berth", "harbour/harbour.prefab"}, 1, refusal);
    expectRefusal({"add-nested", "harbour/quay.prefab", "Berth", "harbour/none.prefab"}, 1, refusal);
    expectRefusal({"add-nested", "harbour/quay.prefab", "Berth", "harbour/props/lamp.prefab", "--uuid",
                   "ffb98871-12cb-4e0a-b255-295cd65b6dad"},
                  1, refusal);
}

TEST_F(EditCommands, dryRun_printsAPatchThatGitApplies) {
    const std::string before = read("harbour/quay.prefab");
    const TestSupport::ProcessResult result = edit({"remove", "--dry-run", "harbour/quay.prefab", "Toolbox"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(read("harbour/quay.prefab"), before);
    write("change.patch", result.output);
    EXPECT_EQ(TestSupport::runProcess("/usr/bin/git", {"apply", "change.patch"}, m_directory.path()).exitStatus, 0);
    const std::string patched = read("harbour/quay.prefab");
    write("harbour/quay.prefab", before);
    EXPECT_EQ(edit({"remove", "harbour/quay.prefab", "Toolbox"}).exitStatus, 0);
    EXPECT_EQ(read("harbour/quay.prefab"), patched);
}

TEST_F(EditCommands, errorsThatAFileHasAlready_preventNoChange) {
    write("old.prefab", PrefabText().object(id(1), "A").object(id(2), "B").object(id(3), "C").parent(1, id(1)));
    EXPECT_EQ(run({"rename", "old.prefab", "C", "D"}).exitStatus, 0);
    EXPECT_THAT(read("old.prefab"), HasSubstr("<name>D</name>"));
}

TEST_F(EditCommands, fileThatIsNotWellFormed_isRefused) {
    write("bad.prefab", "<prefab>");
    EXPECT_EQ(run({"rename", "bad.prefab", "A", "B"}).exitStatus, 2);
    EXPECT_EQ(read("bad.prefab"), "<prefab>");
}

} // namespace

} // namespace Kiln::PrefabToolTests
