// Runs the commands that docs/uuids.md shows, and compares their output with that of the page.

#include "../kiln_prefab_fixture.h"

#include <support/documented_commands.h>

#include <filesystem>

namespace Kiln::PrefabToolTests {
namespace {

class DocumentedUuidCommands : public KilnPrefabFixture {};

TEST_F(DocumentedUuidCommands, haveTheOutputOfThePage) {
    namespace fs = std::filesystem;
    const fs::path source = KILN_SOURCE_DIR;
    fs::create_directory(m_directory.path("samples"));
    fs::copy(source / "samples/harbour", m_directory.path("samples/harbour"), fs::copy_options::recursive);
    fs::copy_file(source / "samples/harbour/props/lamp.prefab", m_directory.path("copy_of_lamp.prefab"));
    const std::vector<TestSupport::DocumentedCommand> commands =
        TestSupport::documentedCommands(source / "docs/uuids.md");
    EXPECT_EQ(commands.size(), 5U);
    for (const TestSupport::DocumentedCommand& documented : commands) {
        const TestSupport::ProcessResult result =
            TestSupport::runInShell(documented.line, KILN_BUILD_BIN_DIR, m_directory.path());
        EXPECT_EQ(result.output, documented.output) << documented.line;
        EXPECT_EQ(result.exitStatus, 0) << documented.line << '\n' << result;
    }
}

} // namespace
} // namespace Kiln::PrefabToolTests
