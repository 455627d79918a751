// Runs the examples of docs/editing.md and compares what they print with what the page shows.

#include <build_paths.h>
#include <support/documented_commands.h>
#include <support/temporary_directory.h>

#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::PrefabToolTests {

namespace {

namespace fs = std::filesystem;

TEST(EditingPage, examples_printWhatThePageShows) {
    const TestSupport::TemporaryDirectory directory;
    fs::copy(fs::path(KILN_SOURCE_DIR) / "samples/harbour", directory.path("harbour"), fs::copy_options::recursive);
    fs::create_symlink(KILN_BUILD_LIB_DIR "/libharbour_components.so", directory.path("libharbour_components.so"));
    const std::vector<TestSupport::DocumentedCommand> commands =
        TestSupport::documentedCommands(KILN_SOURCE_DIR "/docs/editing.md");
    EXPECT_EQ(commands.size(), 11U);
    for (const TestSupport::DocumentedCommand& command : commands) {
        const TestSupport::ProcessResult result =
            TestSupport::runInShell("{ " + command.line + "; } 2>&1", KILN_BUILD_BIN_DIR, directory.path());
        EXPECT_EQ(result.output, command.output) << command.line;
    }
}

} // namespace

} // namespace Kiln::PrefabToolTests
