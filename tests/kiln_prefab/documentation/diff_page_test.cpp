#include "page_fixture.h"

#include <support/prefab_text.h>

#include <cstdlib>
#include <fstream>

namespace Kiln::PrefabToolTests {
namespace {

using testing::HasSubstr;
using TestSupport::DocumentedCommand;
using TestSupport::element;
using TestSupport::id;
using TestSupport::PrefabText;
using TestSupport::ProcessResult;

/// A repository with two revisions of a prefab of the page.
class DiffPage : public PageFixture {
protected:
    DiffPage() {
        setenv("GIT_CONFIG_GLOBAL", "/dev/null", 1);
        setenv("GIT_CONFIG_SYSTEM", "/dev/null", 1);
        for (const char* const name : {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE", "GIT_EXTERNAL_DIFF"}) {
            unsetenv(name);
        }
    }

    void SetUp() override {
        runWell("git init --quiet && git config user.name Test && git config user.email test@example.com");
        write("content/harbour.prefab",
              PrefabText().object(id(1), "Harbour").object(id(2), "Gate lamp").parent(1, id(1)).nest(1, "lamp.prefab"));
        write("content/lamp.prefab", PrefabText().object(id(5), "Lamp"));
        commit();
        write("content/lamp.prefab", PrefabText().object(id(5), "Lamp", 2));
        commit();
        writeBothVersions();
    }

    void write(const std::string& name, const PrefabText& prefab) const { m_directory.writeFile(name, prefab.text()); }

    void runWell(const std::string& line) const {
        const ProcessResult result = runLine(line);
        EXPECT_EQ(result.exitStatus, 0) << line << '\n' << result;
    }

    void commit() const { runWell("git add --all && git commit --quiet -m Revision"); }

    /// The files of the first example.
    void writeBothVersions() const {
        const auto uuid = [](const char* end) {
            return *Uuid::fromString(std::string("5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c") + end);
        };
        PrefabText before;
        before.object(uuid("001"), "Harbour").object(uuid("002"), "Lamp").parent(1, uuid("001"));
        before.component("LampComponent", 1, element("brightness", "450"));
        PrefabText after;
        after.object(uuid("001"), "Harbour").object(uuid("002"), "Gate lamp").object(uuid("003"), "Gate");
        after.parent(1, uuid("003")).parent(2, uuid("001")).component("LampComponent", 1, element("brightness", "600"));
        after.component("TagComponent", 1, element("tag", "lit"));
        write("old/harbour.prefab", before);
        write("harbour.prefab", after);
    }

    /// The indented lines below a heading of the page.
    [[nodiscard]] static std::vector<std::string> linesBelow(const std::string& heading) {
        std::vector<std::string> lines;
        std::ifstream stream(KILN_SOURCE_DIR "/docs/diff.md");
        bool isBelow = false;
        for (std::string line; std::getline(stream, line);) {
            if (line.starts_with("## ")) {
                isBelow = line == "## " + heading;
            } else if (isBelow && line.starts_with("    ")) {
                lines.push_back(line.substr(4));
            }
        }
        return lines;
    }
};

TEST_F(DiffPage, examples_printWhatThePageShows) {
    const std::vector<DocumentedCommand> commands = commandsOf("diff.md");
    ASSERT_EQ(commands.size(), 2U);
    for (const DocumentedCommand& command : commands) {
        EXPECT_EQ(runLine(command.line), (ProcessResult{1, command.output, ""})) << command.line;
    }
}

TEST_F(DiffPage, threeLines_areTheSetUp) {
    const std::vector<std::string> lines = linesBelow("Set-up in git");
    ASSERT_EQ(lines.size(), 3U);
    for (const std::string& line : lines) {
        runWell(line);
    }
    EXPECT_EQ(runLine("git diff HEAD~1 HEAD").output, "prefab content/lamp.prefab\n"
                                                      "~ Lamp (00000000-0000-0000-0000-000000000005)\n"
                                                      "    ~ flags: none -> static\n");
    EXPECT_THAT(runLine("git show HEAD").output, HasSubstr("\n-    flags"));
}

} // namespace
} // namespace Kiln::PrefabToolTests
