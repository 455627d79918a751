#include "page_fixture.h"

#include <regex>

namespace Kiln::PrefabToolTests {
namespace {

using TestSupport::DocumentedCommand;
using TestSupport::ProcessResult;

/// The address with '#' for the port and the token, which differ each time.
[[nodiscard]] std::string withoutPortAndToken(const std::string& output) {
    static const std::regex parts(":[0-9]+/\\?token=[0-9a-f]+(…)?");
    return std::regex_replace(output, parts, ":#/?token=#");
}

class ExplorePage : public PageFixture {};

TEST_F(ExplorePage, example_printsAnAddressLikeThatOfThePage) {
    copyHarbour("content");
    linkLibrary("libgame_components.so");
    const std::vector<DocumentedCommand> commands = commandsOf("explore.md");
    ASSERT_EQ(commands.size(), 1U);
    // The shortest time in which no page is opened ends the program.
    const ProcessResult result = runLine(commands[0].line + " --idle 0.0005");
    EXPECT_EQ(withoutPortAndToken(result.output), withoutPortAndToken(commands[0].output)) << result;
    EXPECT_EQ(result.exitStatus, 0);
}

} // namespace
} // namespace Kiln::PrefabToolTests
