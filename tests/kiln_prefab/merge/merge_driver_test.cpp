// Merges branches with the real git, which calls `kiln-prefab merge` as the set-up in docs/merge.md says.

#include <build_paths.h>
#include <support/process_runner.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {
namespace {

namespace fs = std::filesystem;
using TestSupport::ProcessResult;

constexpr const char* QUAY = "harbour/quay.prefab";
constexpr const char* LIBRARY = KILN_BUILD_LIB_DIR "/libharbour_components.so";

/// Two branches of a repository with the harbour sample: "lights", which is checked out, and "safety".
class MergeDriver : public testing::Test {
protected:
    void SetUp() override {
        fs::copy(KILN_SOURCE_DIR "/samples/harbour", m_directory.path() / "harbour", fs::copy_options::recursive);
        git({"init", "--quiet", "--initial-branch=base"});
        git({"config", "user.name", "Tester"});
        git({"config", "user.email", "tester@example.com"});
        git({"config", "commit.gpgsign", "false"});
        m_directory.writeFile(".gitattributes", "*.prefab merge=kiln-prefab\n");
        git({"config", "merge.kiln-prefab.name", "Merge of prefabs"});
        git({"config", "merge.kiln-prefab.driver",
             KILN_BUILD_BIN_DIR "/kiln-prefab merge %O %A %B -o %A --path %P --load " + std::string(LIBRARY)});
        commit("Add the harbour");
        git({"branch", "safety"});
        git({"checkout", "--quiet", "-b", "lights"});
    }

    /// Runs git, which must succeed.
    void git(std::vector<std::string> arguments) const {
        const ProcessResult result = tryGit(std::move(arguments));
        ASSERT_EQ(result.exitStatus, 0) << result;
    }

    [[nodiscard]] ProcessResult tryGit(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"-c", "core.autocrlf=false", "-c", "core.hooksPath=/dev/null"});
        return TestSupport::runProcess("git", arguments, m_directory.path());
    }

    [[nodiscard]] ProcessResult tool(const std::vector<std::string>& arguments) const {
        return TestSupport::runProcess(KILN_BUILD_BIN_DIR "/kiln-prefab", arguments, m_directory.path());
    }

    void commit(const std::string& message) const {
        git({"add", "--all"});
        git({"commit", "--quiet", "-m", message});
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Replaces a text that stands once in a file.
    void edit(const std::string& name, const std::string& before, const std::string& after) const {
        std::string text = read(name);
        const std::size_t found = text.find(before);
        if (found == std::string::npos || text.find(before, found + 1) != std::string::npos) {
            throw std::logic_error(name + " does not have once: " + before);
        }
        m_directory.writeFile(name, text.replace(found, before.size(), after));
    }

    /// Removes the object with that index and its components, which are its only mentions, and closes the gap.
    void removeLadder() const {
        std::string text = read(QUAY);
        const std::string object = "\t\t<gameObject>\n\t\t\t<uuid>31d43a37-10ba-487f-96a8-824ef2824f90</uuid>";
        text.erase(text.find(object), text.find("\t</gameObjects>") - text.find(object));
        for (std::size_t at = text.find("<gameObject>11<"); at != std::string::npos;
             at = text.find("<gameObject>11<")) {
            const std::size_t begin = text.rfind("\t\t\t<item>", at);
            const std::string end = "</item>\n";
            text.erase(begin, text.find(end, at) + end.size() - begin);
        }
        m_directory.writeFile(QUAY, text);
    }

    const TestSupport::TemporaryDirectory m_directory;
};

TEST_F(MergeDriver, twoBranchesThatChangeTheSameFiles_areMergedWithoutConflict) {
    // The lights: names, the override of the jib's lamp, a new sign on an object that exists.
    edit(QUAY, "<name>West lamp</name>", "<name>West light</name>");
    edit(QUAY, "&lt;brightness&gt;900&lt;", "&lt;brightness&gt;1100&lt;");
    edit(QUAY, "<text>Quay</text>", "<text>Quay of lights</text>");
    commit("Change the lights");
    git({"checkout", "--quiet", "safety"});
    // Safety: no ladder, another limit on the plate, the colour of the jib's lamp, a deeper berth, another mooring.
    removeLadder();
    edit(QUAY, "<text>40 t at 32 m</text>", "<text>36 t at 32 m</text>");
    edit(QUAY, "&lt;brightness&gt;900&lt;/brightness&gt;",
         "&lt;brightness&gt;900&lt;/brightness&gt;\n\t\t\t\t&lt;colour&gt;amber&lt;/colour&gt;");
    edit(QUAY, "<depth>9.5</depth>", "<depth>10.5</depth>");
    commit("Make the quay safer");
    git({"checkout", "--quiet", "lights"});

    const ProcessResult merge = tryGit({"merge", "--no-edit", "safety"});
    EXPECT_EQ(merge.exitStatus, 0) << merge;
    const std::string text = read(QUAY);
    for (const char* const expected :
         {"<name>West light</name>", "&lt;brightness&gt;1100&lt;", "&lt;colour&gt;amber&lt;",
          "<text>Quay of lights</text>", "<text>36 t at 32 m</text>", "<depth>10.5</depth>"}) {
        EXPECT_THAT(text, testing::HasSubstr(expected));
    }
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("Ladder")));
    const ProcessResult check = tool({"check", "--load", LIBRARY, "harbour"});
    EXPECT_EQ(check.exitStatus, 0) << check;
    const ProcessResult tree = tool({"tree", "--load", LIBRARY, QUAY});
    EXPECT_EQ(tree.exitStatus, 0) << tree;
    EXPECT_THAT(tree.output, testing::HasSubstr("West light"));
}

TEST_F(MergeDriver, conflicts_stayInTheFileUntilTheyAreResolved) {
    edit(QUAY, "<depth>9.5</depth>", "<depth>8</depth>");
    edit(QUAY, "<name>West lamp</name>", "<name>West light</name>");
    commit("Fill the berth up");
    git({"checkout", "--quiet", "safety"});
    edit(QUAY, "<depth>9.5</depth>", "<depth>10.5</depth>");
    edit(QUAY, "<text>40 t at 32 m</text>", "<text>36 t at 32 m</text>");
    commit("Deepen the berth");
    git({"checkout", "--quiet", "lights"});

    const ProcessResult merge = tryGit({"merge", "--no-edit", "safety"});
    EXPECT_EQ(merge.exitStatus, 1) << merge;
    EXPECT_THAT(merge.output,
                testing::HasSubstr("conflict: BerthComponent.depth of ffb98871-12cb-4e0a-b255-295cd65b6dad: "
                                   "both sides have changed it"));
    EXPECT_THAT(merge.output, testing::HasSubstr("CONFLICT (content): Merge conflict in harbour/quay.prefab"));
    EXPECT_EQ(tryGit({"diff", "--name-only", "--diff-filter=U"}).output, "harbour/quay.prefab\n");
    EXPECT_THAT(read(QUAY), testing::HasSubstr("<text>36 t at 32 m</text>"));
    EXPECT_THAT(tool({"check", "--load", LIBRARY, "harbour"}).output, testing::HasSubstr("[KP0110]"));

    EXPECT_EQ(tool({"resolve", QUAY, "--prefer", "theirs"}).exitStatus, 0);
    EXPECT_THAT(read(QUAY), testing::HasSubstr("<depth>10.5</depth>"));
    EXPECT_EQ(tool({"check", "--load", LIBRARY, "harbour"}).exitStatus, 0);
    commit("Merge safety");
    EXPECT_EQ(tryGit({"status", "--porcelain"}).output, "");
}

TEST_F(MergeDriver, aFileThatBothBranchesAdd_isMergedWithoutBase) {
    const std::string lamp = read("harbour/props/lamp.prefab");
    m_directory.writeFile("harbour/props/new.prefab", lamp);
    commit("Add a prop");
    git({"checkout", "--quiet", "safety"});
    m_directory.writeFile("harbour/props/new.prefab", lamp);
    edit("harbour/props/new.prefab", "<brightness>450</brightness>", "<brightness>500</brightness>");
    commit("Add the prop, too");
    git({"checkout", "--quiet", "lights"});
    const ProcessResult merge = tryGit({"merge", "--no-edit", "safety"});
    EXPECT_EQ(merge.exitStatus, 1) << merge;
    EXPECT_THAT(merge.output, testing::HasSubstr("LampComponent.brightness"));
}

TEST_F(MergeDriver, aDriverThatFails_leavesTheFileOfOurs) {
    edit(QUAY, "<depth>9.5</depth>", "<depth>8</depth>");
    commit("Fill the berth up");
    const std::string ours = read(QUAY);
    git({"checkout", "--quiet", "safety"});
    edit(QUAY, "<depth>9.5</depth>", "<depth>10.5</depth>");
    commit("Deepen the berth");
    git({"checkout", "--quiet", "lights"});
    git({"config", "merge.kiln-prefab.driver",
         KILN_BUILD_BIN_DIR "/kiln-prefab merge %O %A missing.prefab -o %A --path %P"});
    const ProcessResult merge = tryGit({"merge", "--no-edit", "safety"});
    EXPECT_NE(merge.exitStatus, 0);
    EXPECT_THAT(merge.errors + merge.output, testing::HasSubstr("Cannot read 'missing.prefab': it does not exist"));
    EXPECT_EQ(read(QUAY), ours);
}

} // namespace
} // namespace Kiln::PrefabToolTests
