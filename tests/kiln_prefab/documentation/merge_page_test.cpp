#include "page_fixture.h"

#include <support/prefab_text.h>

#include <fstream>
#include <iterator>

namespace Kiln::PrefabToolTests {
namespace {

class MergePage : public PageFixture {};

TEST_F(MergePage, commands_printWhatThePageShows) {
    std::ifstream stream(KILN_SOURCE_DIR "/samples/harbour/props/lamp.prefab", std::ios::binary);
    const std::string lamp(std::istreambuf_iterator<char>(stream), {});
    const std::string brightness = TestSupport::element("brightness", "450");
    ASSERT_NE(lamp.find(brightness), std::string::npos);
    const auto write = [&](const std::string& name, const std::string& value) {
        std::string text = lamp;
        m_directory.writeFile(
            name, text.replace(text.find(brightness), brightness.size(), TestSupport::element("brightness", value)));
    };
    write("base.prefab", "450");
    write("ours.prefab", "600");
    write("theirs.prefab", "300");
    const std::vector<TestSupport::DocumentedCommand> commands = commandsOf("merge.md");
    EXPECT_EQ(commands.size(), 3U);
    for (const TestSupport::DocumentedCommand& command : commands) {
        EXPECT_EQ(runLine(command.line + " 2>&1").output, command.output) << command.line;
    }
}

} // namespace
} // namespace Kiln::PrefabToolTests
