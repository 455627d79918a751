#include "page_fixture.h"

namespace Kiln::PrefabToolTests {
namespace {

using TestSupport::DocumentedCommand;

class ReportPage : public PageFixture {};

TEST_F(ReportPage, example_printsWhatThePageShows) {
    copyHarbour("samples");
    linkLibrary("libharbour_components.so");
    const std::vector<DocumentedCommand> commands = commandsOf("report.md");
    ASSERT_EQ(commands.size(), 1U);
    EXPECT_EQ(runLine(commands[0].line + " 2>&1"), (TestSupport::ProcessResult{0, commands[0].output, ""}));
    EXPECT_TRUE(std::filesystem::exists(m_directory.path("report.html")));
}

} // namespace
} // namespace Kiln::PrefabToolTests
